#include "daemon/Answers.h"

#include <stdexcept>

#include "daemon/SystemWarnings.h"
#include "daemon/control/Nouns.h"
#include "daemon/file/Effective.h"

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

}  // namespace

std::string Answers::reply(std::string_view line) {
  try {
    return Control::rowsLine(answer(Control::requestFromLine(line)));
  } catch (const std::exception &error) {
    return Control::errorLine(error.what());
  }
}

Rows Answers::answer(const Control::Request &request) {
  const Control::Verb *verb = Control::verbOf(request.verb);
  if (!verb) throw std::invalid_argument("there is no verb '" + request.verb + "'");
  if (!verb->takesNoun && !*verb->operands && !request.argument.empty()) {
    throw std::invalid_argument("'" + request.verb + "' takes no argument");
  }
  if (request.verb == "reload") return reload();
  if (request.verb == "check") return check();
  if (request.verb == "clear") return clear(request);
  if (request.verb == "trace") return traceLevels(request.argument);
  return show(request);
}

Rows Answers::traceLevels(const std::string &level) {
  std::string error;
  if (!level.empty() && !traceLevelIs(traceLevelFrom(level), error)) throw std::invalid_argument(error);
  Rows rows = Rows::array();
  for (const auto &[module, level] : Tracelet::Registry::instance().levels()) {
    rows.push_back({{"module", module}, {"level", level}});
  }
  return rows;
}

Rows Answers::show(const Control::Request &request) const {
  const bool ofAgent = request.noun == "log" || request.noun == "config";
  if (!ofAgent) return rowsOf(request.noun, views(request.vrf), request.argument);
  if (!request.argument.empty()) throw std::invalid_argument("'" + request.noun + "' takes no argument");
  if (request.noun == "config") return Rows::array({configurationJson(process_.configuration)});
  return rowsOfLines(process_.log.lines());
}

Rows Answers::reload() {
  const std::vector<std::string> errors = process_.reload();
  if (!errors.empty()) throw std::invalid_argument(joined(errors));
  return Rows::array();
}

Rows Answers::check() const {
  const std::string &file = process_.options.config;
  const Findings findings = configurationForHere(file, process_.system.af).findings;
  std::vector<std::string> lines;
  for (const Finding &error : findings.errors) lines.push_back(toText(file, error));
  for (const Finding &warning : findings.warnings) lines.push_back("warning: " + toText(file, warning));
  if (!findings.errors.empty()) throw std::invalid_argument(joined(lines));
  return rowsOfLines(lines);
}

Rows Answers::clear(const Control::Request &request) {
  if (request.argument != "counters") throw std::invalid_argument("'clear' needs 'counters'");
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

std::vector<VrfView> Answers::views(const std::string &vrf) const {
  std::vector<VrfView> views;
  for (const auto &[name, host] : process_.hosts) {
    if (!vrf.empty() && name.text() != vrf) continue;
    if (process_.system.statusColl->vrfStatus(name)) views.push_back(view(name, *host));
  }
  if (!vrf.empty() && views.empty()) throw std::invalid_argument("there is no VRF '" + vrf + "'");
  return views;
}

VrfView Answers::view(const L3::VrfName &vrf, const VrfHost &host) const {
  const SystemState &system = process_.system;
  VrfView view;
  view.vrf = vrf;
  view.af = system.af;
  view.now = process_.clock.now();
  view.config = system.configColl->vrfConfig(vrf);
  for (const auto &[intfId, config] : system.configColl->intfConfig()) {
    if (intfId.vrf() == vrf.text()) view.intfConfig.emplace(intfId, config);
  }
  view.ipAclConfig = system.aclCli;
  view.status = system.statusColl->vrfStatus(vrf);
  if (const auto *platform = host.platform()) {
    view.interfaces = platform->interfaces();
    view.pimStatus = platform->pimStatus();
    view.packets = &platform->port()->counters();
  }
  if (const auto *containerSm = process_.agent.containerSm(vrf)) {
    view.configSm = &containerSm->configSm();
    view.bsrSm = &containerSm->bsrSm();
    view.rpHashSm = &containerSm->rpHashSm();
    view.bidirRpHashSm = containerSm->bidirRpHashSm();
  }
  return view;
}

}  // namespace Routing::Pim::Bsr
