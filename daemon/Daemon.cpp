#include "daemon/Daemon.h"

#include <csignal>
#include <ctime>
#include <random>
#include <stdexcept>

#include "daemon/file/ConfigApply.h"
#include "daemon/file/SystemWarnings.h"

namespace Routing::Pim::Bsr {

namespace {

Tracelet::Module trace("Pim::Bsr::Daemon");

constexpr size_t logLines = 1000;

/// The time of day, as "2024-05-01T12:34:56Z".
std::string timestamp() {
  const std::time_t now = std::time(nullptr);
  std::tm utc{};
  char text[sizeof "2024-05-01T12:34:56Z"];
  std::strftime(text, sizeof text, "%FT%TZ", ::gmtime_r(&now, &utc));
  return text;
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
      agent_(makeAgent(family, {store_, loop_, loop_, random_})),
      stateFile_({options.state, family, StateFile::thisBoot()}, {system_.statusColl, system_.rpCandidateStatusColl},
                 loop_, wheel_),
      answers_({loop_, store_, system_, hosts_, *agent_, loading_, configuration_, log_, [this] { return reload(); }}) {
  Tracelet::Registry::instance().sinkAdd(log_);
  control_.emplace(loop_.context(), options.socket, [this](std::string_view line) { return reply(line); });
  loading_.file = options.config;
  if (options_.standby) system_.standbyIs(true);  // before anything could be sent
  apply(configuration);
  for (const auto &[vrf, host] : hosts_) {
    if (host->isForbidden()) throw std::runtime_error("VRF " + vrf.text() + ": " + host->reason());
  }
  stateFile_.load();
  agent_->doInit();
  awaitSignal();
  TRACELET(trace, 3, "Started with " << hosts_.size() << " VRFs");
}

Daemon::~Daemon() {
  TRACELET(trace, 3, "Stopping");
  control_.reset();
  stateFile_.save();
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

bool Daemon::reload() {
  const LoadedConfiguration loaded = configurationForHere(options_.config, family_);
  if (!loaded.good()) {
    loading_.error.clear();
    for (const Finding &error : loaded.findings.errors) {
      const std::string line = toText(options_.config, error);
      TRACELET(trace, 1, line);
      loading_.error += (loading_.error.empty() ? "" : "\n") + line;
    }
    TRACELET(trace, 1, "The configuration stays as it was");
    return false;
  }
  for (const Finding &warning : loaded.findings.warnings) {
    TRACELET(trace, 2, "warning: " << toText(options_.config, warning));
  }
  apply(loaded.configuration);
  TRACELET(trace, 3, "Configuration loaded from " << options_.config);
  return true;
}

// VRFs that go do so first: another may take over their namespace.
void Daemon::apply(const Configuration &configuration) {
  for (const auto &[vrf, pim] : std::exchange(configuration_, configuration).pim) {
    if (!configuration_.pim.contains(vrf)) vrfDel(vrf);
  }
  configurationApply(configuration_, *system_.configColl, *system_.aclCli);
  loading_.at = timestamp();
  loading_.error.clear();
  const VrfHost::Process process{loop_, watcher_, wheel_, random_, system_};
  for (const auto &[vrf, pim] : configuration_.pim) {
    if (const auto host = hosts_.find(vrf); host != hosts_.end()) {
      host->second->pimIs(pim);
    } else {
      hosts_.emplace(vrf, std::make_unique<VrfHost>(process, vrf, pim));
    }
  }
}

// The agent says goodbye there, then PIM does.
void Daemon::vrfDel(const L3::VrfName &vrf) {
  system_.vrfDel(vrf);
  hosts_.erase(vrf);
}

}  // namespace Routing::Pim::Bsr
