#include "daemon/Daemon.h"

#include <boost/asio/signal_set.hpp>
#include <csignal>
#include <ctime>
#include <optional>
#include <random>
#include <stdexcept>

#include "agent/Agent.h"
#include "daemon/Answers.h"
#include "daemon/ControlServer.h"
#include "daemon/file/ConfigApply.h"
#include "daemon/file/SystemWarnings.h"
#include "daemon/state/StateFile.h"
#include "platform/linux/RegularFile.h"
#include "platform/linux/Worker.h"
#include "platform/tracelet/Require.h"

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

}  // namespace

// What the daemon owns, in the order in which it is made.
struct Daemon::Process {
  Daemon &daemon;
  const Pax::AddressFamily family;
  const Options options;
  Tracelet::RingSink log{logLines};
  const Linux::PathLock stateLock{options.state};
  const Linux::PathLock socketLock{options.socket};
  Linux::EventLoop loop{};
  Linux::NamespaceWatcher watcher{loop};
  Orb::Random random{std::random_device()()};
  const Kiv::Ptr<Orb::TimerWheel> wheel = Kiv::make<Orb::TimerWheel>(loop, loop);
  Statehub::Store store{};
  SystemState system{store, family};
  boost::asio::signal_set signals{loop.context(), SIGTERM, SIGINT, SIGHUP};
  std::optional<ControlServer> control{};
  Configuration configuration{};
  Loading loading{options.config, {}, {}};
  VrfHosts hosts{};
  std::unique_ptr<Agent> agent = makeAgent(family, {store, loop, loop, random});
  ConfigReader reader{loop, options.config, family,
                      [this](const L3::VrfName &vrf, const PimVrf &pim) { return knownOf(vrf, pim); }};
  Linux::Worker stateWriter{loop};
  StateFile stateFile{{options.state, family, StateFile::thisBoot()},
                      {system.statusColl, system.rpCandidateStatusColl},
                      loop,
                      wheel,
                      stateWriter};
  Answers answers{{loop, store, system, hosts, *agent, loading, configuration, log, reader,
                   [this](std::function<void(const std::string &errors)> done) { daemon.reload(std::move(done)); }}};

  // The interfaces of a VRF that is open, if it stays in its namespace.
  std::optional<SystemView> knownOf(const L3::VrfName &vrf, const PimVrf &pim) const {
    const auto host = hosts.find(vrf);
    const Linux::VrfPlatform *platform = host == hosts.end() ? nullptr : host->second->platform();
    if (!platform || !platform->complete()) return std::nullopt;
    if (configuration.pim.at(vrf).networkNamespace != pim.networkNamespace) return std::nullopt;
    return SystemView{platform->interfaces(),
                      [platform](const Pax::IntfId &intfId) { return platform->inVrfDevice(intfId); }};
  }
};

Daemon::Daemon(Pax::AddressFamily family, const Options &options, const Configuration &configuration)
    : process_(new Process{*this, family, options}) {
  Tracelet::Registry::instance().sinkAdd(process_->log);
  for (const Linux::PathLock *lock : {&process_->stateLock, &process_->socketLock}) {
    if (!lock->error().empty()) TRACELET(trace, 1, "Another agent would not be noticed: " << lock->error());
  }
  process_->control.emplace(process_->loop.context(), options.socket, [this](std::string_view line) {
    process_->loop.workBegins();
    return reply(line);
  });
  if (options.standby) process_->system.standbyIs(true);  // before anything could be sent
  apply(configuration);
  for (const auto &[vrf, host] : process_->hosts) {
    if (host->isForbidden()) throw std::runtime_error("VRF " + vrf.text() + ": " + host->reason());
  }
  process_->stateFile.load();
  process_->agent->doInit();
  Tracelet::beforeAbortIs([this] { process_->stateFile.save(); });
  awaitSignal();
  TRACELET(trace, 3, "Started with " << process_->hosts.size() << " VRFs");
}

Daemon::~Daemon() {
  TRACELET(trace, 3, "Stopping");
  process_->control.reset();
  process_->stateFile.save();
  Tracelet::beforeAbortIs(nullptr);
  process_->agent.reset();
  process_->hosts.clear();
}

void Daemon::run() { process_->loop.run(); }

Linux::EventLoop &Daemon::loop() { return process_->loop; }

Control::Reply Daemon::reply(std::string_view line) const { return process_->answers.reply(line); }

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

void Daemon::reload(std::function<void(const std::string &errors)> done) {
  process_->reader.read(
      [this, done = std::move(done)](const LoadedConfiguration &loaded) { done(reloadedIs(loaded)); });
}

std::string Daemon::reloadedIs(const LoadedConfiguration &loaded) {
  const std::string &file = process_->options.config;
  if (!loaded.good()) {
    std::vector<std::string> errors;
    for (const Finding &error : loaded.findings.errors) {
      errors.push_back(toText(file, error));
      TRACELET(trace, 1, errors.back());
    }
    process_->loading.error = joined(errors, "\n");
    TRACELET(trace, 1, "The configuration stays as it was");
    return process_->loading.error;
  }
  for (const Finding &warning : loaded.findings.warnings) {
    TRACELET(trace, 2, "warning: " << toText(file, warning));
  }
  apply(loaded.configuration);
  TRACELET(trace, 3, "Configuration loaded from " << file);
  return {};
}

// VRFs that go do so first: another may take over their namespace.
void Daemon::apply(const Configuration &configuration) {
  Process &process = *process_;
  for (const auto &[vrf, pim] : std::exchange(process.configuration, configuration).pim) {
    if (configuration.pim.contains(vrf)) continue;
    process.system.vrfDel(vrf);  // the agent says goodbye there, and then PIM does
    process.hosts.erase(vrf);
  }
  configurationApply(configuration, *process.system.configColl, *process.system.aclCli);
  process.loading.at = timestamp();
  process.loading.error.clear();
  const VrfHost::Process shared{process.loop, process.watcher, process.wheel, process.random, process.system};
  for (const auto &[vrf, pim] : configuration.pim) {
    if (const auto host = process.hosts.find(vrf); host != process.hosts.end()) {
      host->second->pimIs(pim);
    } else {
      process.hosts.emplace(vrf, std::make_unique<VrfHost>(shared, vrf, pim));
    }
  }
}

}  // namespace Routing::Pim::Bsr
