/// The rows of the nouns that tell of the process itself.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>

#include "agent/Agent.h"
#include "agent/SystemState.h"
#include "platform/statehub/Store.h"
#include "view/Json.h"

namespace Routing::Pim::Bsr {

/// How it went with the configuration file.
struct Loading {
  std::string file;
  std::string at;     ///< when the configuration in force was loaded, as "2024-05-01T12:34:56Z"
  std::string error;  ///< of a later reload; empty when there was none or it went well
};
/// What runs.
struct ProcessView {
  const Agent &agent;
  const SystemState &system;
  const Statehub::Store &store;
  std::map<L3::VrfName, std::string> vrfs;  ///< configured, with what the platform of each waits for; empty for nothing
  const Loading &loading;
};

Rows agentRows(const ProcessView &view);
/// Every configured VRF, or the one named; throws std::invalid_argument when there is none.
Rows vrfRows(const ProcessView &view, const std::string &vrf);
/// The paths of the store; or what stands under the path, or further in; throws std::invalid_argument
/// when that is nothing.
Rows stateRows(const ProcessView &view, const std::string &path);

}  // namespace Routing::Pim::Bsr
