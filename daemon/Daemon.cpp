#include "daemon/Daemon.h"

#include <unistd.h>

#include <boost/asio/post.hpp>
#include <boost/asio/signal_set.hpp>
#include <chrono>
#include <csignal>
#include <ctime>
#include <random>
#include <stdexcept>

#include "agent/Agent.h"
#include "agent/RootSm.h"
#include "daemon/Answers.h"
#include "daemon/Changeover.h"
#include "daemon/ControlServer.h"
#include "daemon/MetricsServer.h"
#include "daemon/ServiceManager.h"
#include "daemon/ServiceStatus.h"
#include "daemon/file/Difference.h"
#include "daemon/file/Effective.h"
#include "daemon/file/Forms.h"
#include "daemon/file/SystemWarnings.h"
#include "daemon/state/StateFile.h"
#include "platform/linux/LineWriter.h"
#include "platform/linux/RegularFile.h"
#include "platform/linux/Worker.h"
#include "platform/tracelet/Require.h"
#include "view/EventReporter.h"

namespace Routing::Pim::Bsr {

namespace {

Tracelet::Module trace("Pim::Bsr::Daemon");

constexpr size_t logLines = 1000;

// The time of day, as "2024-05-01T12:34:56Z".
std::string timestamp() {
  const std::time_t now = std::time(nullptr);
  std::tm utc{};
  char text[sizeof "2024-05-01T12:34:56Z"];
  std::strftime(text, sizeof text, "%FT%TZ", ::gmtime_r(&now, &utc));
  return text;
}

double wallClock() {
  return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

}  // namespace

// What the daemon owns, in the order in which it is made.
struct Daemon::Process {
  Daemon &daemon;
  const Pax::AddressFamily family;
  const Options options;
  Tracelet::RingSink log{logLines};
  EventLog events{wallClock};
  EventLines lines{events};
  Drops drops{};
  const Linux::PathLock stateLock{options.state};
  const Linux::PathLock socketLock{options.socket};
  Linux::EventLoop loop{};
  Linux::NamespaceWatcher watcher{loop};
  Linux::NetlinkMonitors monitors{loop, family};
  Orb::Random random{std::random_device()()};
  const Kiv::Ptr<Orb::TimerWheel> wheel = Kiv::make<Orb::TimerWheel>(loop, loop);
  Statehub::Store store{};
  SystemState system{store, family};
  boost::asio::signal_set signals{loop.context(), SIGTERM, SIGINT, SIGHUP};
  std::optional<ControlServer> control{};
  Configuration configuration{};
  std::string effective{};        // the text of the configuration
  std::string effectiveWanted{};  // and of the one that is applied
  Loading loading{options.config, {}, {}};
  Troubles troubles{};
  VrfHosts hosts{};
  std::optional<Changeover> changeover{};  // while a configuration is applied
  std::string warning{};                   // of that one, as its event tells it
  Reloaded changed{};                      // when it is
  std::vector<Reloaded> waiting{};         // for the reload after it
  EventReporter reporter{{events, drops, system, wheel, [this](const L3::VrfName &vrf) { return interfacesOf(vrf); },
                          [this](const L3::VrfName &vrf) { return awaitedBy(vrf); }}};
  std::unique_ptr<Agent> agent = makeAgent(family, {store, loop, loop, random});
  ConfigReader reader{loop, options.config, family, monitors};
  Linux::Worker stateWriter{loop};
  StateFile stateFile{{options.state, family, StateFile::thisBoot()},
                      {system.statusColl, system.rpCandidateStatusColl, system.allVrfStatusLocal},
                      loop,
                      wheel,
                      stateWriter};
  Answers answers{{loop, wheel, store, system, hosts, *agent, loading, configuration, effective, log, events, lines,
                   drops, stateFile.saves(), troubles, reader,
                   [this](Reloaded done) { daemon.reload(std::move(done)); }}};
  MetricsServer metrics{loop.context(), [this](MetricsFormat format) { return answers.metrics(format); },
                        [this](const Endpoint &endpoint, const std::string &error) { metricsAre(endpoint, error); }};
  ServiceManager serviceManager{wheel, events, [this] { return serviceStatus(system, allAwaited()); }};

  std::vector<Pax::IntfId> interfacesOf(const L3::VrfName &vrf) const {
    const auto pim = configuration.pim.find(vrf);
    return pim == configuration.pim.end() ? std::vector<Pax::IntfId>() : pim->second.interfaces;
  }
  // What keeps the VRF from running.
  std::string awaitedBy(const L3::VrfName &vrf) const {
    const auto host = hosts.find(vrf);
    if (host != hosts.end() && !host->second->reason().empty()) return host->second->reason();
    return agent && agent->rootSm() ? agent->rootSm()->reason(vrf) : "";
  }
  std::map<L3::VrfName, std::string> allAwaited() const {
    std::map<L3::VrfName, std::string> all;
    for (const auto &[vrf, host] : hosts) all.emplace(vrf, awaitedBy(vrf));
    return all;
  }
  void metricsAre(const Endpoint &endpoint, const std::string &error) {
    Event event{.kind = error.empty() ? EventKind::metricsServed : EventKind::metricsFailed};
    event.severity = error.empty() ? Severity::notice : Severity::error;
    event.cause = error;
    const std::string where = " served on " + endpoints().write(endpoint);
    const std::string how = error.empty() ? " are" + where : " cannot be" + where + ": " + error;
    event.text = "Metrics" + how;
    troubles.metrics = error.empty() ? "" : "metrics" + how;
    events.tell(event);
  }
};

Daemon::Daemon(Pax::AddressFamily family, const Options &options, const Configuration &configuration)
    : process_(new Process{*this, family, options}) {
  Tracelet::Registry::instance().sinkAdd(process_->log);
  std::string remark;
  for (const Linux::PathLock *lock : {&process_->stateLock, &process_->socketLock}) {
    if (lock->error().empty()) continue;
    remark = "another agent would not be noticed: " + lock->error();
    TRACELET(trace, 1, "Another agent would not be noticed: " << lock->error());
  }
  process_->control.emplace(process_->loop.context(), options.socket, [this](std::string_view line) {
    process_->loop.workBegins();
    return reply(line);
  });
  if (options.standby) process_->system.standbyIs(true);  // before anything could be sent
  changeoverIs(configuration, effectiveText(configuration), "", [](const std::string &) {});
  while (!process_->changeover->goOn()) {
  }
  changeoverDone();
  for (const auto &[vrf, host] : process_->hosts) {
    if (host->isForbidden()) throw std::runtime_error("VRF " + vrf.text() + ": " + host->reason());
  }
  const auto mayBeIn = [&](const L3::VrfName &vrf, const std::string &networkNamespace, const std::string &device) {
    const auto pim = configuration.pim.find(vrf);
    if (pim == configuration.pim.end() || !isHome(homesOf(vrf, pim->second), networkNamespace, device)) return false;
    process_->system.vrfIs(vrf, networkNamespace, device);  // it is known to have been there last
    return true;
  };
  if (const std::string error = process_->stateFile.load(mayBeIn); !error.empty()) {
    remark += (remark.empty() ? "" : "; ") + ("the state in " + options.state + " is ignored: " + error);
  }
  process_->stateFile.watcherIs([this](const std::string &error) { tellSaved(error); });
  process_->reporter.started(process_->agent->name(), PIMBSR_VERSION, remark);
  process_->agent->watcherIs(&process_->reporter);
  process_->agent->doInit();
  Tracelet::beforeAbortIs([this](const std::string &text) {
    Linux::LineWriter(STDERR_FILENO).line(text);
    process_->stateFile.save();
  });
  awaitSignal();
  process_->serviceManager.started();
  TRACELET(trace, 3, "Started with " << process_->hosts.size() << " VRFs");
}

Daemon::~Daemon() {
  TRACELET(trace, 3, "Stopping");
  process_->serviceManager.stops();
  process_->reporter.stopping(process_->agent->name());
  process_->control.reset();
  process_->stateFile.save();
  Tracelet::beforeAbortIs(nullptr);
  process_->agent.reset();
  process_->hosts.clear();
}

void Daemon::run() { process_->loop.run(); }

Linux::EventLoop &Daemon::loop() { return process_->loop; }

Control::Reply Daemon::reply(std::string_view line) { return process_->answers.reply(line); }

const ConfigColl &Daemon::configColl() const { return *process_->system.configColl; }

const Configuration &Daemon::configuration() const { return process_->configuration; }

void Daemon::awaitSignal() {
  process_->signals.async_wait([this](const boost::system::error_code &error, int signal) {
    if (error) return;
    process_->loop.workBegins();
    if (signal != SIGHUP) return process_->loop.stop();
    reload([](const std::string &) {});
    awaitSignal();
  });
}

void Daemon::reload(Reloaded done) {
  if (process_->changeover) return process_->waiting.push_back(std::move(done));
  process_->serviceManager.reloadBegins();
  process_->reader.read([this, done = std::move(done)](const LoadedConfiguration &loaded) {
    loadedIs(loaded, [this, done](const std::string &errors) {
      process_->serviceManager.reloadEnds();
      done(errors);
    });
  });
}

void Daemon::loadedIs(const LoadedConfiguration &loaded, const Reloaded &done) {
  if (process_->changeover) return process_->waiting.push_back(done);
  const std::string &file = process_->options.config;
  if (!loaded.good()) {
    const std::vector<std::string> errors = firstOf(loaded.findings.errors, file);
    for (const std::string &error : errors) TRACELET(trace, 1, error);
    process_->loading.error = joined(errors, "\n");
    TRACELET(trace, 1, "The configuration stays as it was");
    process_->reporter.tell(EventKind::configurationRefused, Severity::error,
                            "The configuration stays as it was: " + oneOf(loaded.findings.errors, file, "error"),
                            errors.front());
    return done(process_->loading.error);
  }
  const std::vector<Finding> &warnings = loaded.findings.warnings;
  for (const std::string &warning : firstOf(warnings, file)) TRACELET(trace, 2, "warning: " << warning);
  changeoverIs(loaded.configuration, loaded.effective, oneOf(warnings, file, "warning"), done);
  changeInSlices();
}

void Daemon::changeoverIs(const Configuration &wanted, const std::string &effective, const std::string &warning,
                          Reloaded done) {
  Process &process = *process_;
  const VrfHost::Process shared{process.loop,  process.watcher, process.monitors,
                                process.wheel, process.random,  process.system};
  process.changeover.emplace(shared, process.hosts, process.configuration, wanted);
  process.effectiveWanted = effective;
  process.warning = warning;
  process.changed = std::move(done);
}

void Daemon::changeInSlices() {
  boost::asio::post(process_->loop.context(), [this] {
    process_->loop.workBegins();
    process_->changeover->goOn() ? changeoverDone() : changeInSlices();
  });
}

void Daemon::changeoverDone() {
  Process &process = *process_;
  const Configuration before = std::exchange(process.configuration, process.changeover->wanted());
  process.effective = std::exchange(process.effectiveWanted, {});
  if (process.configuration.metrics.listen != before.metrics.listen) process.troubles.metrics.clear();
  process.metrics.endpointIs(process.configuration.metrics.listen);
  process.loading.at = timestamp();
  process.loading.error.clear();
  process.changeover.reset();
  TRACELET(trace, 3, "Configuration loaded from " << process.options.config);
  tellLoaded(before);
  std::exchange(process.changed, nullptr)({});
  if (process.waiting.empty()) return;
  reload([all = std::exchange(process.waiting, {})](const std::string &errors) {
    for (const Reloaded &done : all) done(errors);
  });
}

void Daemon::tellLoaded(const Configuration &before) {
  Process &process = *process_;
  process.lines.leastIs(process.options.logLevel.value_or(process.configuration.logLevel));
  std::string text =
      "Configuration loaded from " + process.options.config + ": " + differenceOf(before, process.configuration);
  const bool warns = !process.warning.empty();
  if (warns) text += "; warning: " + process.warning;
  process.reporter.tell(EventKind::configurationLoaded, warns ? Severity::warning : Severity::notice, text);
  process.reporter.handleConfig();
}

void Daemon::tellSaved(const std::string &error) {
  const std::string &file = process_->options.state;
  const std::string how = " state cannot be saved in " + file + ": " + error;
  process_->troubles.saving = error.empty() ? "" : "the" + how;
  if (error.empty()) {
    process_->reporter.tell(EventKind::stateSaved, Severity::notice, "The state is saved again in " + file);
  } else {
    process_->reporter.tell(EventKind::stateSaveFailed, Severity::error, "The" + how, error);
  }
}

}  // namespace Routing::Pim::Bsr
