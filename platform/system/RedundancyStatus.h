/// Whether this controller is the active or the standby one of a redundant pair.
#pragma once

#include "platform/kiv/Attributes.h"

namespace Redundancy {

/// How two controllers share the router. The numbers are those of the platform.
enum class Protocol : uint8_t {
  none = 0,
  hotStandby = 3,  ///< the standby controller runs its agents and keeps their state
};
std::ostream &operator<<(std::ostream &out, Protocol protocol);

/// The part that this controller has in the pair.
enum class ControllerMode : uint8_t { unknown = 0, standby = 4, active = 5 };
std::ostream &operator<<(std::ostream &out, ControllerMode mode);

/// Written by the platform; agents only read. To change both attributes set `mode` first, or a reader would take
/// an active controller for a standby one in between.
class RedundancyStatus : public Kiv::Entity {
#define ATTRIBUTES(ATTRIBUTE)                                    \
  ATTRIBUTE(value, Protocol, protocol, Protocol, Protocol::none) \
  ATTRIBUTE(value, ControllerMode, mode, Mode, ControllerMode::unknown)
  KIV_ENTITY(RedundancyStatus, ATTRIBUTES)
#undef ATTRIBUTES

 public:
  /// Whether agents stand by, which means that they keep state but neither send nor decide. Only in a hot-standby
  /// pair do they; without one a mode that is not `active` means nothing.
  bool standby() const { return protocol() == Protocol::hotStandby && mode() != ControllerMode::active; }
};

}  // namespace Redundancy
