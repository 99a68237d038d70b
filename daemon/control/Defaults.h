/// What the agent and its client both take for granted, by family.
#pragma once

#include <string>

#include "platform/pax/IpGenAddr.h"

namespace Control {

inline std::string programName(Pax::AddressFamily family) {
  return family == Pax::AddressFamily::ipv6 ? "PimBsr6" : "PimBsr";
}
inline std::string defaultSocket(Pax::AddressFamily family) { return "/run/pimbsr/" + programName(family) + ".sock"; }
inline std::string defaultStateFile(Pax::AddressFamily family) {
  return "/run/pimbsr/" + programName(family) + ".state";
}
inline std::string defaultConfigFile(Pax::AddressFamily family) {
  return "/etc/pimbsr/" + programName(family) + ".json";
}

}  // namespace Control
