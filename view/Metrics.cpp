#include "view/Metrics.h"

#include <array>
#include <sstream>

#include "platform/kiv/Value.h"
#include "view/LimitTable.h"

namespace Routing::Pim::Bsr {

namespace {

using Type = MetricFamily::Type;
using Labels = MetricsText::Labels;
using Kiv::toText;

struct AgentFamily {
  MetricFamily family;
  void (*samples)(const AgentFigures &agent, MetricsText &text);
};
const std::array agentFamilies{
    AgentFamily{{"pimbsr_build", Type::info, "", "The program that runs."},
                [](const AgentFigures &agent, MetricsText &text) {
                  text.sample({{"agent", agent.agent}, {"version", PIMBSR_VERSION}}, 1);
                }},
    AgentFamily{{"pimbsr_active", Type::gauge, "", "1 while the agent is active, 0 on standby."},
                [](const AgentFigures &agent, MetricsText &text) { text.sample({}, agent.active ? 1 : 0); }},
    AgentFamily{{"pimbsr_reload_failed", Type::gauge, "", "1 while the last reload of the configuration was refused."},
                [](const AgentFigures &agent, MetricsText &text) { text.sample({}, agent.reloadFailed ? 1 : 0); }},
    AgentFamily{{"pimbsr_loop_turn_seconds", Type::histogram, "seconds",
                 "How long the agent was busy with one thing before it turned to the next."},
                [](const AgentFigures &agent, MetricsText &text) { text.histogram(agent.turns); }},
    AgentFamily{{"pimbsr_state_save_duration_seconds", Type::gauge, "seconds", "How long the last save took."},
                [](const AgentFigures &agent, MetricsText &text) { text.seconds({}, agent.saves.duration); }},
    AgentFamily{{"pimbsr_state_saves", Type::counter, "", "Saves of the state file, by result."},
                [](const AgentFigures &agent, MetricsText &text) {
                  text.sample({{"result", "saved"}}, agent.saves.succeeded);
                  text.sample({{"result", "failed"}}, agent.saves.failed);
                }},
    AgentFamily{{"pimbsr_events", Type::counter, "", "Events by kind."},
                [](const AgentFigures &agent, MetricsText &text) {
                  for (size_t i = 0; i < eventKindWords().size(); ++i) {
                    const auto counted = agent.events.find(static_cast<EventKind>(i));
                    text.sample({{"kind", eventKindWords()[i]}}, counted == agent.events.end() ? 0 : counted->second);
                  }
                }},
    AgentFamily{{"pimbsr_dropped_traces", Type::counter, "", "Trace lines that nobody took from standard error."},
                [](const AgentFigures &agent, MetricsText &text) { text.sample({}, agent.droppedTraces); }},
};

using Zone = VrfFigures::Zone;

Labels labelsOf(const VrfFigures &vrf, Labels more = {}) {
  more.emplace(more.begin(), "vrf", toText(vrf.vrf));
  return more;
}
// Calls `sample` with the labels of each zone and the zone.
template <class Sample>
void eachZone(const VrfFigures &vrf, const Sample &sample) {
  for (const auto &[prefix, zone] : vrf.zones) sample(labelsOf(vrf, {{"zone", toText(prefix)}}), zone);
}
void limits(const VrfFigures &vrf, bool inBytes, MetricsText &text) {
  for (const LimitEntry &limit : limitTable) {
    if (limit.inBytes == inBytes) text.sample(labelsOf(vrf, {{"limit", limit.name}}), vrf.limits.*limit.most);
  }
}

void runningOf(const VrfFigures &vrf, MetricsText &text) { text.sample(labelsOf(vrf), vrf.running ? 1 : 0); }
void bsrOf(const VrfFigures &vrf, MetricsText &text) {
  eachZone(vrf, [&](Labels labels, const Zone &zone) {
    if (zone.bsr.isZero()) return;
    labels.emplace_back("address", toText(zone.bsr));
    labels.emplace_back("priority", std::to_string(zone.priority));
    text.sample(labels, 1);
  });
}
void electedOf(const VrfFigures &vrf, MetricsText &text) {
  eachZone(vrf, [&](const Labels &labels, const Zone &zone) { text.sample(labels, zone.elected ? 1 : 0); });
}
void upTimeOf(const VrfFigures &vrf, MetricsText &text) {
  eachZone(vrf, [&](const Labels &labels, const Zone &zone) {
    if (!zone.bsr.isZero()) text.seconds(labels, zone.upTime);
  });
}
void messageAgeOf(const VrfFigures &vrf, MetricsText &text) {
  eachZone(vrf, [&](const Labels &labels, const Zone &zone) {
    if (zone.messageAge) text.seconds(labels, *zone.messageAge);
  });
}
void rpsOf(const VrfFigures &vrf, MetricsText &text) {
  eachZone(vrf, [&](const Labels &labels, const Zone &zone) {
    for (const auto &[mode, number] : zone.rps) {
      Labels all = labels;
      all.emplace_back("mode", toText(Mode(mode)));
      text.sample(all, number);
    }
  });
}
void digestOf(const VrfFigures &vrf, MetricsText &text) {
  eachZone(vrf, [&](const Labels &labels, const Zone &zone) { text.sample(labels, zone.digest.value()); });
}
void neighborsOf(const VrfFigures &vrf, MetricsText &text) {
  for (const auto &[intfId, number] : vrf.neighbors) {
    text.sample(labelsOf(vrf, {{"interface", std::string(intfId.name())}}), number);
  }
}
void messagesOf(const VrfFigures &vrf, MetricsText &text) {
  for (const auto &[direction, type, result, reason, number] : vrf.messages) {
    text.sample(labelsOf(vrf, {{"direction", direction}, {"type", type}, {"result", result}, {"reason", reason}}),
                number);
  }
}
void entryLimitsOf(const VrfFigures &vrf, MetricsText &text) {
  limits(vrf, false, text);
  text.sample(labelsOf(vrf, {{"limit", "neighbors"}}), vrf.limits.neighbors);
}
void bytesOf(const VrfFigures &vrf, MetricsText &text) { limits(vrf, true, text); }
void refusedOf(const VrfFigures &vrf, MetricsText &text) {
  for (const LimitEntry &limit : limitTable) {
    text.sample(labelsOf(vrf, {{"limit", limit.name}}), vrf.refusals.*limit.refused);
  }
  text.sample(labelsOf(vrf, {{"limit", "neighbors"}}), vrf.refusedNeighbors);
}
void echoesOf(const VrfFigures &vrf, MetricsText &text) { text.sample(labelsOf(vrf), vrf.echoes); }
struct VrfFamily {
  MetricFamily family;
  void (*samples)(const VrfFigures &vrf, MetricsText &text);
};
constexpr std::array vrfFamilies{
    VrfFamily{{"pimbsr_vrf_running", Type::gauge, "", "1 while the agent runs in the VRF."}, runningOf},
    VrfFamily{{"pimbsr_bsr", Type::info, "", "The elected BSR of the zone; no sample while there is none."}, bsrOf},
    VrfFamily{{"pimbsr_bsr_elected", Type::gauge, "", "1 while this router is the BSR of the zone."}, electedOf},
    VrfFamily{{"pimbsr_bsr_uptime_seconds", Type::gauge, "seconds", "How long the BSR of the zone has been the same."},
              upTimeOf},
    VrfFamily{{"pimbsr_bsr_message_age_seconds", Type::gauge, "seconds",
               "Seconds since the last message of the BSR was accepted, or sent where it is this router."},
              messageAgeOf},
    VrfFamily{{"pimbsr_rp_set_rps", Type::gauge, "",
               "RPs that are published from the set of the zone, one for each of its ranges, by mode."},
              rpsOf},
    VrfFamily{{"pimbsr_rp_set_digest", Type::gauge, "",
               "A number for what is published from the set of the zone: equal where the RPs, their ranges, modes, "
               "priorities and hash mask lengths are."},
              digestOf},
    VrfFamily{{"pimbsr_neighbors", Type::gauge, "", "PIM neighbors by interface."}, neighborsOf},
    VrfFamily{{"pimbsr_messages", Type::counter, "", "PIM messages by direction, type, result and reason."},
              messagesOf},
    VrfFamily{{"pimbsr_echoes", Type::counter, "",
               "Of the refused messages, copies of what this router had accepted or sent, which is no fault."},
              echoesOf},
    VrfFamily{{"pimbsr_limit", Type::gauge, "", "What is held at most, by limit."}, entryLimitsOf},
    VrfFamily{{"pimbsr_limit_bytes", Type::gauge, "bytes", "Memory for messages at most, by limit."}, bytesOf},
    VrfFamily{{"pimbsr_limit_refusals", Type::counter, "", "What was refused because a limit was reached."}, refusedOf},
};

}  // namespace

bool Metrics::writeOn(std::string &text) {
  const size_t agents = agentFamilies.size();
  if (family_ < agents) {
    text_.familyIs(agentFamilies[family_].family);
    agentFamilies[family_++].samples(agent_, text_);
  } else if (family_ - agents < vrfFamilies.size()) {
    const VrfFamily &each = vrfFamilies[family_ - agents];
    if (vrf_ == 0) text_.familyIs(each.family);
    if (vrf_ < vrfs_.size()) each.samples(vrfs_[vrf_++], text_);
    if (vrf_ == vrfs_.size()) ++family_, vrf_ = 0;
  } else {
    text_.end();
    text += text_.take();
    return false;
  }
  text += text_.take();
  return true;
}

std::vector<MetricFamily> Metrics::families() {
  std::vector<MetricFamily> families;
  families.reserve(agentFamilies.size() + vrfFamilies.size());
  for (const AgentFamily &each : agentFamilies) families.push_back(each.family);
  for (const VrfFamily &each : vrfFamilies) families.push_back(each.family);
  return families;
}

void addLines(const std::string &text, Rows &rows) {
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) rows.push_back({{"line", line}});
}

Rows metricsRows(const AgentFigures &agent, const std::vector<VrfView> &views) {
  std::vector<VrfFigures> vrfs;
  for (const VrfView &view : views) {
    vrfs.emplace_back(view.vrf);
    while (vrfs.back().readOn(view)) {
    }
  }
  Metrics metrics(agent, std::move(vrfs), MetricsFormat::openMetrics);
  std::string text;
  while (metrics.writeOn(text)) {
  }
  Rows rows = Rows::array();
  addLines(text, rows);
  return rows;
}

}  // namespace Routing::Pim::Bsr
