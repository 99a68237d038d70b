#include "platform/system/RedundancyStatus.h"

#include <ostream>

namespace Redundancy {

std::ostream &operator<<(std::ostream &out, Protocol protocol) {
  return out << (protocol == Protocol::hotStandby ? "hotStandby" : "none");
}

std::ostream &operator<<(std::ostream &out, ControllerMode mode) {
  return out << (mode == ControllerMode::active ? "active" : mode == ControllerMode::standby ? "standby" : "unknown");
}

}  // namespace Redundancy
