/// A directory: entities of one type, each under a name that whoever adds it chooses. It owns what is in it.
#pragma once

#include <string>

#include "platform/kiv/Attributes.h"

namespace Kiv {

template <class Type>
class Dir : public Entity {
  KIV_ENTITY_WITH(Dir, map, std::string, Type, entry, Entry)
};

}  // namespace Kiv
