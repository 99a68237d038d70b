/// What the agent answers to requests of the control protocol.
#pragma once

#include <functional>

#include "daemon/VrfHost.h"
#include "daemon/control/Request.h"
#include "daemon/file/ConfigFile.h"
#include "platform/tracelet/Sinks.h"
#include "view/Process.h"
#include "view/Show.h"

namespace Routing::Pim::Bsr {

using VrfHosts = std::map<L3::VrfName, std::unique_ptr<VrfHost>>;

/// Reads the process that it is asked about and, for the verbs that say so, writes to it. Whatever is
/// wrong with a request becomes the reply.
class Answers {
 public:
  /// The process; all of it outlives the answers.
  struct Process {
    const Orb::Clock &clock;
    const Statehub::Store &store;
    SystemState &system;
    const VrfHosts &hosts;
    const Agent &agent;
    const Loading &loading;
    const Configuration &configuration;
    const Tracelet::RingSink &log;
    std::function<bool()> reload;  ///< false when `loading` has the errors
  };

  explicit Answers(Process process) : process_(std::move(process)) {}
  Answers(const Answers &) = delete;
  Answers &operator=(const Answers &) = delete;

  /// The reply line to a request line.
  std::string reply(std::string_view line) const;

 private:
  struct Handler;

  Rows answer(const Control::Request &request) const;
  Rows show(const Control::Request &request) const;
  Rows reload(const Control::Request &request) const;
  Rows check(const Control::Request &request) const;
  Rows clear(const Control::Request &request) const;
  Rows traceLevels(const Control::Request &request) const;
  Rows redundancy(const Control::Request &request) const;
  Rows stage(const Control::Request &request) const;
  ProcessView processView() const;
  VrfView view(const L3::VrfName &vrf, const VrfHost &host) const;
  std::vector<VrfView> views(const std::string &vrf) const;

  const Process process_;
};

}  // namespace Routing::Pim::Bsr
