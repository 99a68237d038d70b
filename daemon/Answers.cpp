#include "daemon/Answers.h"

#include <array>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "daemon/Options.h"
#include "daemon/control/Nouns.h"
#include "daemon/control/Request.h"
#include "daemon/file/Effective.h"
#include "daemon/file/SystemWarnings.h"
#include "view/Show.h"

namespace Routing::Pim::Bsr {

namespace {

using Process = Answers::Process;

template <class Lines>
Rows rowsOfLines(const Lines &lines) {
  Rows rows = Rows::array();
  for (const std::string &line : lines) rows.push_back({{"line", line}});
  return rows;
}

std::invalid_argument needs(const std::string &verb) {
  return std::invalid_argument("'" + verb + "' needs '" + Control::verbOf(verb)->operands + "'");
}

ProcessView processView(const Process &process) {
  std::map<L3::VrfName, std::string> vrfs;
  for (const auto &[vrf, host] : process.hosts) vrfs.emplace(vrf, host->reason());
  return {process.agent, process.system, process.store, std::move(vrfs), process.loading, process.loop.longestTurn()};
}

std::vector<VrfView> viewsOf(const Process &process, const std::string &vrf) {
  std::vector<VrfView> views;
  for (const auto &[name, host] : process.hosts) {
    if (!vrf.empty() && name.text() != vrf) continue;
    if (!process.system.statusColl->vrfStatus(name)) continue;
    views.push_back(viewOf(process.system, name, process.agent.containerSm(name), process.loop.now(),
                           process.configuration.pim.at(name).interfaces));
  }
  if (!vrf.empty() && views.empty()) throw std::invalid_argument("there is no VRF '" + vrf + "'");
  return views;
}

Rows show(const Process &process, const Control::Request &request) {
  const std::string &noun = request.noun;
  const Control::Noun *known = Control::nounOf(noun);
  if (!known) throw std::invalid_argument("there is no noun '" + noun + "'");
  if (!*known->operand && !request.argument.empty()) throw std::invalid_argument("'" + noun + "' takes no argument");
  if (noun == "config") return Rows::array({configurationJson(process.configuration)});
  if (noun == "log") return rowsOfLines(process.log.lines());
  if (noun == "agent") return agentRows(processView(process));
  if (noun == "vrf") return vrfRows(processView(process), request.vrf);
  if (noun == "state") return stateRows(processView(process), request.argument);
  return rowsOf(noun, viewsOf(process, request.vrf), request.argument);
}

Rows reload(const Process &process, const Control::Request &) {
  if (!process.reload()) throw std::invalid_argument(process.loading.error);
  return Rows::array();
}

Rows check(const Process &process, const Control::Request &) {
  const std::string &file = process.loading.file;
  const Findings findings = configurationForHere(file, process.system.af).findings;
  std::vector<std::string> lines;
  for (const Finding &error : findings.errors) lines.push_back(toText(file, error));
  for (const Finding &warning : findings.warnings) lines.push_back("warning: " + toText(file, warning));
  if (!findings.errors.empty()) throw std::invalid_argument(joined(lines, "\n"));
  return rowsOfLines(lines);
}

Rows clear(const Process &process, const Control::Request &request) {
  if (request.argument != "counters") throw needs(request.verb);
  const auto &coll = *process.system.clearConfigColl;
  if (request.vrf.empty()) process.loop.longestTurnClear();
  bool found = request.vrf.empty();
  for (const L3::VrfName &vrf : coll.vrfClearConfig().keys()) {
    if (!request.vrf.empty() && vrf.text() != request.vrf) continue;
    coll.vrfClearConfig(vrf)->countersCountInc(1);
    found = true;
  }
  if (!found) throw std::invalid_argument("there is no VRF '" + request.vrf + "'");
  return Rows::array();
}

Rows traceLevels(const Process &, const Control::Request &request) {
  const std::string &level = request.argument;
  if (!level.empty()) traceLevelIs(traceLevelFrom(level));
  Rows rows = Rows::array();
  for (const auto &[module, level] : Tracelet::Registry::instance().levels()) {
    rows.push_back({{"module", module}, {"level", level}});
  }
  return rows;
}

Rows redundancy(const Process &process, const Control::Request &request) {
  const bool standby = request.argument == "standby";
  if (!standby && request.argument != "active") throw needs(request.verb);
  process.system.standbyIs(standby);
  return Rows::array({{{"redundancy", request.argument}}});
}

Rows stage(const Process &process, const Control::Request &request) {
  const size_t blank = request.argument.find(' ');
  const std::string kind = request.argument.substr(0, blank);
  const std::string name = blank == std::string::npos ? "" : request.argument.substr(blank + 1);
  const bool boot = kind == "boot";
  if (name.empty() || (!boot && kind != "shutdown")) throw needs(request.verb);
  // What is asked for is kept; only what can be run is.
  const std::string known(boot ? Agent::bootStage : Agent::shutdownStage);
  if (name != known) {
    throw std::invalid_argument("there is no " + kind + " stage '" + name + "'; the stages are: " + known);
  }
  const SystemState &system = process.system;
  (boot ? system.bootStageInput : system.shutdownStageInput)->stageIs(name);
  const auto &status = boot ? system.bootStageStatus : system.shutdownStageStatus;
  return Rows::array({{{"kind", kind}, {"stage", name}, {"complete", status->completeStage(name)}}});
}

Rows answer(const Process &process, const Control::Request &request) {
  const Control::Verb *verb = Control::verbOf(request.verb);
  if (!verb) throw std::invalid_argument("there is no verb '" + request.verb + "'");
  if (!verb->takesNoun && !*verb->operands && !request.argument.empty()) {
    throw std::invalid_argument("'" + request.verb + "' takes no argument");
  }
  struct Handler {
    const char *verb;
    Rows (*rows)(const Process &process, const Control::Request &request);
  };
  static constexpr std::array handlers{
      Handler{"reload", reload},     Handler{"check", check}, Handler{"clear", clear},
      Handler{"trace", traceLevels}, Handler{"stage", stage}, Handler{"redundancy", redundancy},
  };
  for (const Handler &handler : handlers) {
    if (request.verb == handler.verb) return handler.rows(process, request);
  }
  return show(process, request);
}

}  // namespace

std::string Answers::reply(std::string_view line) const {
  try {
    return Control::rowsLine(answer(process_, Control::requestFromLine(line)));
  } catch (const std::exception &error) {
    return Control::errorLine(error.what());
  }
}

}  // namespace Routing::Pim::Bsr
