#include "view/Process.h"

#include <stdexcept>

#include "agent/RootSm.h"
#include "platform/tracelet/Tracelet.h"
#include "view/EntityJson.h"

namespace Routing::Pim::Bsr {

namespace {

Rows pendingVrfs(const Agent &agent) {
  Rows pending = Rows::array();
  if (!agent.shutdown()) return pending;
  for (const auto &[vrf, containerSm] : agent.containerSm()) {
    if (!containerSm->container().hitlessClientVrfStatus->completedVrf(vrf)) pending.push_back(vrf.text());
  }
  return pending;
}

Rows orNull(const std::string &text) { return text.empty() ? Rows() : Rows(text); }

const char *stateOf(const Agent &agent, const L3::VrfName &vrf) {
  if (agent.containerSm(vrf)) return "running";
  return agent.container(vrf) ? "known" : "unknown";
}

std::string reasonOf(const Agent &agent, const L3::VrfName &vrf, const std::string &awaited) {
  if (!awaited.empty()) return awaited;
  if (agent.standbyMode()) return "the agent is on standby";
  return agent.rootSm() ? agent.rootSm()->reason(vrf) : "";
}

}  // namespace

Rows agentRows(const ProcessView &view) {
  const Agent &agent = view.agent;
  return Rows::array({{{"agent", agent.name()},
                       {"version", PIMBSR_VERSION},
                       {"redundancy", agent.standbyMode() ? "standby" : "active"},
                       {"shutdown", agent.shutdown()},
                       {"pendingVrfs", pendingVrfs(agent)},
                       {"file", view.loading.file},
                       {"loadedAt", view.loading.at},
                       {"lastError", orNull(view.loading.error)},
                       {"droppedTraces", Tracelet::Registry::instance().dropped() + view.droppedLines},
                       {"longestTurn", secondsBetween(1, 1 + view.longestTurn)}}});
}

Rows vrfRows(const ProcessView &view, const std::string &vrf) {
  Rows rows = Rows::array();
  for (const auto &[name, awaited] : view.vrfs) {
    if (!vrf.empty() && name.text() != vrf) continue;
    const auto status = view.system.allVrfStatusLocal->vrfStatus(name);
    rows.push_back({{"vrf", name.text()},
                    {"namespace", status ? status->namespaceName().text() : ""},
                    {"device", status ? status->device() : ""},
                    {"state", stateOf(view.agent, name)},
                    {"reason", orNull(reasonOf(view.agent, name, awaited))}});
  }
  return rows;
}

Rows stateRows(const ProcessView &view, const std::string &path) {
  Rows rows = Rows::array();
  for (const std::string &known : view.store.paths()) {
    const auto entity = view.store.entity(known);
    if (path.empty()) {
      rows.push_back({{"path", known}, {"type", entity->fwkType()}});
    } else if (path == known || path.starts_with(known + "/")) {
      const nlohmann::json json = toJson(*entity);
      const auto *member = memberAt(json, std::string_view(path).substr(std::min(path.size(), known.size() + 1)));
      if (member) return Rows::array({*member});
    }
  }
  if (!path.empty()) throw std::out_of_range("there is no state under '" + path + "'");
  return rows;
}

}  // namespace Routing::Pim::Bsr
