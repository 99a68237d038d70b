/// A directory: entities of one type, each under a name that whoever adds it chooses. It owns what is in it.
#pragma once

#include <string>

#include "platform/kiv/Attributes.h"

namespace Kiv {

template <class Type>
class Dir : public Entity {
#define ATTRIBUTES(ATTRIBUTE) ATTRIBUTE(map, std::string, Type, entry, Entry)
  KIV_ENTITY(Dir, ATTRIBUTES)
#undef ATTRIBUTES
};

}  // namespace Kiv
