/// The agent as a process: its configuration, its VRFs, its control socket.
#pragma once

#include <boost/asio/signal_set.hpp>
#include <memory>
#include <optional>

#include "daemon/Answers.h"
#include "daemon/ControlServer.h"
#include "daemon/Options.h"
#include "daemon/state/StateFile.h"

namespace Routing::Pim::Bsr {

/// Owns the loop and everything on it. SIGTERM and SIGINT stop it in order, SIGHUP reloads; a reload
/// that fails changes nothing.
class Daemon {
 public:
  /// Takes the socket before it touches any VRF, so that a second agent does no harm. Throws
  /// std::runtime_error when there is one, or when the system does not let an agent run.
  Daemon(Pax::AddressFamily family, const Options &options, const Configuration &configuration);
  ~Daemon();

  /// Until a signal, or stop().
  void run() { loop_.run(); }
  void stop() { loop_.stop(); }
  Linux::EventLoop &loop() { return loop_; }

  /// Reads the file again. False when it has errors and was not applied.
  bool reload();
  /// The reply line to a request line of the control protocol.
  std::string reply(std::string_view line) { return answers_.reply(line); }

  const ConfigColl &configColl() const { return *system_.configColl; }
  const Configuration &configuration() const { return configuration_; }

 private:
  void apply(const Configuration &configuration);
  void vrfDel(const L3::VrfName &vrf);
  void awaitSignal();

  const Pax::AddressFamily family_;
  const Options options_;
  Tracelet::RingSink log_;
  Linux::EventLoop loop_;
  Linux::NamespaceWatcher watcher_;
  Orb::Random random_;
  const Kiv::Ptr<Orb::TimerWheel> wheel_;
  Statehub::Store store_;
  SystemState system_;
  boost::asio::signal_set signals_;
  std::optional<ControlServer> control_;
  Configuration configuration_;
  Loading loading_;
  VrfHosts hosts_;
  std::unique_ptr<Agent> agent_;
  StateFile stateFile_;
  Answers answers_;
};

}  // namespace Routing::Pim::Bsr
