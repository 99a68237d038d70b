/// The agent as a process: its configuration, its VRFs, its control socket.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "daemon/Options.h"
#include "daemon/control/Reply.h"

namespace Linux {
class EventLoop;
}

namespace Routing::Pim::Bsr {

class ConfigColl;
struct Configuration;
struct LoadedConfiguration;

/// Owns the loop and everything on it. SIGTERM and SIGINT stop it in order, SIGHUP reloads; a reload
/// that fails changes nothing.
class Daemon {
 public:
  /// Locks the state file and takes the socket before it touches any VRF, so that a second agent does no harm. Throws
  /// std::runtime_error when there is one, or when the system does not let an agent run.
  Daemon(Pax::AddressFamily family, const Options &options, const Configuration &configuration);
  ~Daemon();

  /// Until a signal stops it.
  void run();
  Linux::EventLoop &loop();

  /// The reply line to a request line of the control protocol.
  Control::Reply reply(std::string_view line);

  const ConfigColl &configColl() const;
  const Configuration &configuration() const;

 private:
  struct Process;

  using Reloaded = std::function<void(const std::string &errors)>;

  /// Reads the file again and applies it, without holding up the loop. Calls `done` with its errors as one text, when
  /// nothing was applied, or with none when all is. Reloads that are asked for while one is applied are one after it.
  void reload(Reloaded done);
  void loadedIs(const LoadedConfiguration &loaded, const Reloaded &done);
  void changeoverIs(const Configuration &wanted, const std::string &effective, const std::string &warning,
                    Reloaded done);
  void changeInSlices();
  void changeoverDone();
  void tellLoaded(const Configuration &before);
  void tellSaved(const std::string &error);
  void awaitSignal();

  const std::unique_ptr<Process> process_;
};

}  // namespace Routing::Pim::Bsr
