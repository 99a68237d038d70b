#include "daemon/Answers.h"

#include <array>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "daemon/Options.h"
#include "daemon/VrfHost.h"
#include "daemon/control/Nouns.h"
#include "daemon/control/Request.h"
#include "daemon/file/Effective.h"
#include "daemon/file/SystemWarnings.h"
#include "platform/tracelet/Sinks.h"
#include "view/Process.h"
#include "view/Show.h"

namespace Routing::Pim::Bsr {

namespace {

std::string joined(const std::vector<std::string> &lines) {
  std::string all;
  for (const std::string &line : lines) all += (all.empty() ? "" : "\n") + line;
  return all;
}

template <class Lines>
Rows rowsOfLines(const Lines &lines) {
  Rows rows = Rows::array();
  for (const std::string &line : lines) rows.push_back({{"line", line}});
  return rows;
}

std::invalid_argument needs(const std::string &verb) {
  return std::invalid_argument("'" + verb + "' needs '" + Control::verbOf(verb)->operands + "'");
}

}  // namespace

// How each verb is answered.
class Answers::Reply {
 public:
  explicit Reply(const Process &process) : process_(process) {}

  Rows to(const Control::Request &request) const;

 private:
  Rows show(const Control::Request &request) const;
  Rows reload(const Control::Request &request) const;
  Rows check(const Control::Request &request) const;
  Rows clear(const Control::Request &request) const;
  Rows traceLevels(const Control::Request &request) const;
  Rows redundancy(const Control::Request &request) const;
  Rows stage(const Control::Request &request) const;
  ProcessView processView() const;
  std::vector<VrfView> views(const std::string &vrf) const;

  const Process &process_;
};

std::string Answers::reply(std::string_view line) const {
  try {
    return Control::rowsLine(Reply(process_).to(Control::requestFromLine(line)));
  } catch (const std::exception &error) {
    return Control::errorLine(error.what());
  }
}

Rows Answers::Reply::to(const Control::Request &request) const {
  const Control::Verb *verb = Control::verbOf(request.verb);
  if (!verb) throw std::invalid_argument("there is no verb '" + request.verb + "'");
  if (!verb->takesNoun && !*verb->operands && !request.argument.empty()) {
    throw std::invalid_argument("'" + request.verb + "' takes no argument");
  }
  struct Handler {
    const char *verb;
    Rows (Reply::*rows)(const Control::Request &request) const;
  };
  static constexpr std::array handlers{
      Handler{"reload", &Reply::reload},     Handler{"check", &Reply::check}, Handler{"clear", &Reply::clear},
      Handler{"trace", &Reply::traceLevels}, Handler{"stage", &Reply::stage}, Handler{"redundancy", &Reply::redundancy},
  };
  for (const Handler &handler : handlers) {
    if (request.verb == handler.verb) return (this->*handler.rows)(request);
  }
  return show(request);
}

Rows Answers::Reply::traceLevels(const Control::Request &request) const {
  const std::string &level = request.argument;
  std::string error;
  if (!level.empty() && !traceLevelIs(traceLevelFrom(level), error)) throw std::invalid_argument(error);
  Rows rows = Rows::array();
  for (const auto &[module, level] : Tracelet::Registry::instance().levels()) {
    rows.push_back({{"module", module}, {"level", level}});
  }
  return rows;
}

Rows Answers::Reply::show(const Control::Request &request) const {
  const std::string &noun = request.noun;
  const Control::Noun *known = Control::nounOf(noun);
  if (!known) throw std::invalid_argument("there is no noun '" + noun + "'");
  if (!*known->operand && !request.argument.empty()) throw std::invalid_argument("'" + noun + "' takes no argument");
  if (noun == "config") return Rows::array({configurationJson(process_.configuration)});
  if (noun == "log") return rowsOfLines(process_.log.lines());
  if (noun == "agent") return agentRows(processView());
  if (noun == "vrf") return vrfRows(processView(), request.vrf);
  if (noun == "state") return stateRows(processView(), request.argument);
  return rowsOf(noun, views(request.vrf), request.argument);
}

ProcessView Answers::Reply::processView() const {
  std::map<L3::VrfName, std::string> vrfs;
  for (const auto &[vrf, host] : process_.hosts) vrfs.emplace(vrf, host->reason());
  return {process_.agent, process_.system, process_.store, std::move(vrfs), process_.loading};
}

Rows Answers::Reply::redundancy(const Control::Request &request) const {
  const bool standby = request.argument == "standby";
  if (!standby && request.argument != "active") throw needs(request.verb);
  process_.system.standbyIs(standby);
  return Rows::array({{{"redundancy", request.argument}}});
}

Rows Answers::Reply::stage(const Control::Request &request) const {
  const size_t blank = request.argument.find(' ');
  const std::string kind = request.argument.substr(0, blank);
  const std::string name = blank == std::string::npos ? "" : request.argument.substr(blank + 1);
  const bool boot = kind == "boot";
  if (name.empty() || (!boot && kind != "shutdown")) throw needs(request.verb);
  const SystemState &system = process_.system;
  (boot ? system.bootStageInput : system.shutdownStageInput)->stageIs(name);
  const auto &status = boot ? system.bootStageStatus : system.shutdownStageStatus;
  return Rows::array({{{"kind", kind}, {"stage", name}, {"complete", status->completeStage(name)}}});
}

Rows Answers::Reply::reload(const Control::Request &) const {
  if (!process_.reload()) throw std::invalid_argument(process_.loading.error);
  return Rows::array();
}

Rows Answers::Reply::check(const Control::Request &) const {
  const std::string &file = process_.loading.file;
  const Findings findings = configurationForHere(file, process_.system.af).findings;
  std::vector<std::string> lines;
  for (const Finding &error : findings.errors) lines.push_back(toText(file, error));
  for (const Finding &warning : findings.warnings) lines.push_back("warning: " + toText(file, warning));
  if (!findings.errors.empty()) throw std::invalid_argument(joined(lines));
  return rowsOfLines(lines);
}

Rows Answers::Reply::clear(const Control::Request &request) const {
  if (request.argument != "counters") throw needs(request.verb);
  const auto &coll = *process_.system.clearConfigColl;
  bool found = request.vrf.empty();
  for (const L3::VrfName &vrf : coll.vrfClearConfig().keys()) {
    if (!request.vrf.empty() && vrf.text() != request.vrf) continue;
    coll.vrfClearConfig(vrf)->countersCountInc(1);
    found = true;
  }
  if (!found) throw std::invalid_argument("there is no VRF '" + request.vrf + "'");
  return Rows::array();
}

std::vector<VrfView> Answers::Reply::views(const std::string &vrf) const {
  std::vector<VrfView> views;
  for (const auto &[name, host] : process_.hosts) {
    if (!vrf.empty() && name.text() != vrf) continue;
    if (!process_.system.statusColl->vrfStatus(name)) continue;
    const auto pim = process_.configuration.pim.find(name);
    views.push_back(
        viewOf(process_.system, name, process_.agent.containerSm(name), process_.clock.now(),
               pim == process_.configuration.pim.end() ? std::vector<Pax::IntfId>() : pim->second.interfaces));
  }
  if (!vrf.empty() && views.empty()) throw std::invalid_argument("there is no VRF '" + vrf + "'");
  return views;
}

}  // namespace Routing::Pim::Bsr
