#include "daemon/Daemon.h"

#include <csignal>
#include <random>
#include <stdexcept>

#include "daemon/ConfigApply.h"
#include "daemon/SystemWarnings.h"
#include "daemon/control/Nouns.h"
#include "daemon/file/Effective.h"

namespace Routing::Pim::Bsr {

namespace {

Tracelet::Module trace("Pim::Bsr::Daemon");

constexpr size_t logLines = 1000;

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

Daemon::Daemon(Pax::AddressFamily family, const Options &options, const Configuration &configuration)
    : family_(family),
      options_(options),
      log_(logLines),
      watcher_(loop_),
      random_(std::random_device()()),
      wheel_(Kiv::make<Orb::TimerWheel>(loop_, loop_)),
      system_(store_, family),
      signals_(loop_.context(), SIGTERM, SIGINT, SIGHUP),
      agent_(makeAgent(family, {store_, loop_, loop_, random_})) {
  Tracelet::Registry::instance().sinkAdd(log_);
  control_.emplace(loop_.context(), options.socket, [this](std::string_view line) { return reply(line); });
  apply(configuration);
  for (const auto &[vrf, host] : hosts_) {
    if (host->isForbidden()) throw std::runtime_error("VRF " + vrf.text() + ": " + host->reason());
  }
  agent_->doInit();
  awaitSignal();
  TRACELET(trace, 3, "Started with " << hosts_.size() << " VRFs");
}

Daemon::~Daemon() {
  TRACELET(trace, 3, "Stopping");
  control_.reset();
  agent_.reset();
  hosts_.clear();
}

void Daemon::awaitSignal() {
  signals_.async_wait([this](const boost::system::error_code &error, int signal) {
    if (error) return;
    if (signal != SIGHUP) return stop();
    reload();
    awaitSignal();
  });
}

std::vector<std::string> Daemon::reload() {
  const LoadedConfiguration loaded = configurationForHere(options_.config, family_);
  std::vector<std::string> errors;
  for (const Finding &error : loaded.findings.errors) errors.push_back(toText(options_.config, error));
  for (const std::string &error : errors) TRACELET(trace, 1, error);
  if (!errors.empty()) {
    TRACELET(trace, 1, "The configuration stays as it was");
    return errors;
  }
  for (const Finding &warning : loaded.findings.warnings) {
    TRACELET(trace, 2, "warning: " << toText(options_.config, warning));
  }
  apply(loaded.configuration);
  TRACELET(trace, 3, "Configuration loaded from " << options_.config);
  return errors;
}

// VRFs that go do so first: another may take over their namespace.
void Daemon::apply(const Configuration &configuration) {
  for (const auto &[vrf, pim] : std::exchange(configuration_, configuration).pim) {
    if (!configuration_.pim.contains(vrf)) vrfDel(vrf);
  }
  configurationApply(configuration_, *system_.configColl, *system_.aclCli);
  const VrfHost::Process process{loop_, watcher_, wheel_, random_, system_};
  for (const auto &[vrf, pim] : configuration_.pim) {
    std::unique_ptr<VrfHost> &host = hosts_[vrf];
    if (host) {
      host->pimIs(pim);
    } else {
      host = std::make_unique<VrfHost>(process, vrf, pim);
    }
  }
}

void Daemon::vrfDel(const L3::VrfName &vrf) {
  hosts_.erase(vrf);
  system_.vrfDel(vrf);
}

std::string Daemon::reply(std::string_view line) {
  try {
    return Control::rowsLine(answer(Control::requestFromLine(line)));
  } catch (const std::exception &error) {
    return Control::errorLine(error.what());
  }
}

Rows Daemon::answer(const Control::Request &request) {
  const Control::Verb *verb = Control::verbOf(request.verb);
  if (!verb) throw std::invalid_argument("there is no verb '" + request.verb + "'");
  if (!verb->takesNoun && !*verb->operands && !request.argument.empty()) {
    throw std::invalid_argument("'" + request.verb + "' takes no argument");
  }
  if (request.verb == "reload") return reloadRows();
  if (request.verb == "check") return checkRows();
  if (request.verb == "clear") return clear(request);
  if (request.verb == "trace") return traceRows(request.argument);
  return show(request);
}

Rows Daemon::traceRows(const std::string &level) {
  std::string error;
  if (!level.empty() && !traceLevelIs(traceLevelFrom(level), error)) throw std::invalid_argument(error);
  Rows rows = Rows::array();
  for (const auto &[module, level] : Tracelet::Registry::instance().levels()) {
    rows.push_back({{"module", module}, {"level", level}});
  }
  return rows;
}

Rows Daemon::show(const Control::Request &request) {
  const bool ofAgent = request.noun == "log" || request.noun == "config";
  if (!ofAgent) return rowsOf(request.noun, views(request.vrf), request.argument);
  if (!request.argument.empty()) throw std::invalid_argument("'" + request.noun + "' takes no argument");
  if (request.noun == "config") return Rows::array({configurationJson(configuration_)});
  return rowsOfLines(log_.lines());
}

Rows Daemon::reloadRows() {
  const std::vector<std::string> errors = reload();
  if (!errors.empty()) throw std::invalid_argument(joined(errors));
  return Rows::array();
}

Rows Daemon::checkRows() const {
  const Findings findings = configurationForHere(options_.config, family_).findings;
  std::vector<std::string> lines;
  for (const Finding &error : findings.errors) lines.push_back(toText(options_.config, error));
  for (const Finding &warning : findings.warnings) lines.push_back("warning: " + toText(options_.config, warning));
  if (!findings.errors.empty()) throw std::invalid_argument(joined(lines));
  return rowsOfLines(lines);
}

Rows Daemon::clear(const Control::Request &request) {
  if (request.argument != "counters") throw std::invalid_argument("'clear' needs 'counters'");
  bool found = request.vrf.empty();
  for (const L3::VrfName &vrf : system_.clearConfigColl->vrfClearConfig().keys()) {
    if (!request.vrf.empty() && vrf.text() != request.vrf) continue;
    system_.clearConfigColl->vrfClearConfig(vrf)->countersCountInc(1);
    found = true;
  }
  if (!found) throw std::invalid_argument("there is no VRF '" + request.vrf + "'");
  return Rows::array();
}

std::vector<VrfView> Daemon::views(const std::string &vrf) const {
  std::vector<VrfView> views;
  for (const auto &[name, host] : hosts_) {
    if (!vrf.empty() && name.text() != vrf) continue;
    if (!system_.statusColl->vrfStatus(name)) continue;
    VrfView view;
    view.vrf = name;
    view.af = family_;
    view.now = loop_.now();
    view.config = system_.configColl->vrfConfig(name);
    for (const auto &[intfId, config] : system_.configColl->intfConfig()) {
      if (intfId.vrf() == name.text()) view.intfConfig.emplace(intfId, config);
    }
    view.ipAclConfig = system_.aclCli;
    view.status = system_.statusColl->vrfStatus(name);
    if (const auto *platform = host->platform()) {
      view.interfaces = platform->interfaces();
      view.pimStatus = platform->pimStatus();
      view.packets = &platform->port()->counters();
    }
    if (const auto *containerSm = agent_->containerSm(name)) {
      view.configSm = &containerSm->configSm();
      view.bsrSm = &containerSm->bsrSm();
      view.rpHashSm = &containerSm->rpHashSm();
      view.bidirRpHashSm = containerSm->bidirRpHashSm();
    }
    views.push_back(std::move(view));
  }
  if (!vrf.empty() && views.empty()) throw std::invalid_argument("there is no VRF '" + vrf + "'");
  return views;
}

}  // namespace Routing::Pim::Bsr
