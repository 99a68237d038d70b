/// Status of the group-to-RP mapping of a VRF and mode, for the groups and for the group prefixes
/// that PIM keeps mapped. The agent keeps none: its RpHashSm answers when it is asked.
#pragma once

#include "platform/kiv/Attributes.h"

namespace Routing::Pim {

#define NO_ATTRIBUTES(ATTRIBUTE)
class RpHashStatus : public Kiv::NamedEntity {
 public:
  using NamedEntity::NamedEntity;
  KIV_ENTITY(RpHashStatus, NO_ATTRIBUTES)
};

class RpPrefixHashStatus : public Kiv::NamedEntity {
 public:
  using NamedEntity::NamedEntity;
  KIV_ENTITY(RpPrefixHashStatus, NO_ATTRIBUTES)
};
#undef NO_ATTRIBUTES

}  // namespace Routing::Pim
