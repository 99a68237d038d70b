/// The configuration file, read while the agent runs.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "daemon/file/ConfigFile.h"
#include "daemon/file/SystemInquiry.h"
#include "platform/linux/Worker.h"

namespace Routing::Pim::Bsr {

/// Reads and checks the file beside the loop, and then asks the kernel about VRFs that do not run. One reading at a
/// time: whoever asks meanwhile gets the next one, which serves all of them. The daemon owns it.
class ConfigReader {
 public:
  using Done = std::function<void(const LoadedConfiguration &loaded)>;

  ConfigReader(Linux::EventLoop &loop, std::string file, Pax::AddressFamily family, Linux::NetlinkMonitors &monitors);

  /// Calls `done` from the loop with the file as it is from now on, its effective text included, and its findings for
  /// this machine.
  void read(Done done);

 private:
  void start();
  void handleParsed();
  void handleDone();

  Linux::EventLoop &loop_;
  const std::string file_;
  const Pax::AddressFamily family_;
  Linux::NetlinkMonitors &monitors_;
  std::vector<Done> waiting_;                    // for the next reading
  std::vector<Done> reading_;                    // for the one under way
  std::shared_ptr<LoadedConfiguration> loaded_;  // the one under way, if any
  std::optional<SystemInquiry> inquiry_;
  Linux::Worker worker_;
};

}  // namespace Routing::Pim::Bsr
