/// The rows of the nouns that are about the process itself.
#pragma once

#include <map>
#include <string>

#include "agent/Agent.h"
#include "agent/SystemState.h"
#include "platform/statehub/Store.h"
#include "view/EventLog.h"
#include "view/Json.h"

namespace Routing::Pim::Bsr {

/// What became of the configuration file.
struct Loading {
  std::string file;
  std::string at;     ///< when the configuration in force was loaded, as "2024-05-01T12:34:56Z"
  std::string error;  ///< of a later reload; empty if there was none or it succeeded
};
/// What the process cannot do at present, in words that stand alone; empty where it can.
struct Troubles {
  std::string saving;   ///< its state
  std::string metrics;  ///< serving them where the configuration says
};
/// What runs; made for one answer, and read only.
struct ProcessView {
  const Agent &agent;
  const SystemState &system;
  const Statehub::Store &store;
  std::map<L3::VrfName, std::string> vrfs;  ///< configured, each with what its platform waits for; empty if for nothing
  const Loading &loading;
  double longestTurn;  ///< of the loop, in seconds
  const EventLog &events;
  uint64_t droppedLines;  ///< of events, that nobody read
  const Troubles &troubles;
};

Rows agentRows(const ProcessView &view);
/// Every configured VRF, or the one named.
Rows vrfRows(const ProcessView &view, const std::string &vrf);
/// The paths of the store, or the contents of what is under the path, which may go on into an entity; throws
/// std::out_of_range when there is nothing.
Rows stateRows(const ProcessView &view, const std::string &path);

}  // namespace Routing::Pim::Bsr
