/// What the agent answers to requests of the control protocol.
#pragma once

#include <functional>
#include <map>
#include <memory>

#include "agent/Agent.h"
#include "daemon/ConfigFile.h"
#include "daemon/Options.h"
#include "daemon/VrfHost.h"
#include "daemon/show/Show.h"
#include "platform/tracelet/Sinks.h"

namespace Routing::Pim::Bsr {

using VrfHosts = std::map<L3::VrfName, std::unique_ptr<VrfHost>>;

/// Reads the process that it is asked about and, for the verbs that say so, writes to it. Whatever is
/// wrong with a request becomes the reply.
class Answers {
 public:
  /// The process; all of it outlives the answers.
  struct Process {
    const Options &options;
    const Orb::Clock &clock;
    SystemState &system;
    const VrfHosts &hosts;
    const Agent &agent;
    const Configuration &configuration;
    const Tracelet::RingSink &log;
    std::function<std::vector<std::string>()> reload;  ///< gives every error
  };

  explicit Answers(Process process) : process_(std::move(process)) {}
  Answers(const Answers &) = delete;
  Answers &operator=(const Answers &) = delete;

  /// The reply line to a request line.
  std::string reply(std::string_view line);

 private:
  Rows answer(const Control::Request &request);
  Rows show(const Control::Request &request) const;
  Rows reload();
  Rows check() const;
  Rows clear(const Control::Request &request);
  Rows traceLevels(const std::string &level);
  VrfView view(const L3::VrfName &vrf, const VrfHost &host) const;
  std::vector<VrfView> views(const std::string &vrf) const;

  const Process process_;
};

}  // namespace Routing::Pim::Bsr
