/// Where the agent of a family and its client expect one another, unless they are told otherwise.
#pragma once

#include <string>

#include "platform/system/AgentName.h"

namespace Control {

using Routing::Pim::Bsr::agentName;

inline std::string defaultSocket(Pax::AddressFamily family) {
  return std::string("/run/pimbsr/") + agentName(family) + ".sock";
}
inline std::string defaultStateFile(Pax::AddressFamily family) {
  return std::string("/run/pimbsr/") + agentName(family) + ".state";
}
inline std::string defaultConfigFile(Pax::AddressFamily family) {
  return std::string("/etc/pimbsr/") + agentName(family) + ".json";
}

}  // namespace Control
