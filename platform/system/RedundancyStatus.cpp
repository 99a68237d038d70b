#include "platform/system/RedundancyStatus.h"

#include <ostream>

namespace Redundancy {

std::ostream &operator<<(std::ostream &out, Protocol protocol) {
  switch (protocol) {
    case Protocol::hotStandby: return out << "hotStandby";
    case Protocol::none: break;
  }
  return out << "none";
}

std::ostream &operator<<(std::ostream &out, ControllerMode mode) {
  switch (mode) {
    case ControllerMode::standby: return out << "standby";
    case ControllerMode::active: return out << "active";
    case ControllerMode::unknown: break;
  }
  return out << "unknown";
}

}  // namespace Redundancy
