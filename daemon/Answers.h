/// What the agent answers to requests of the control protocol.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "daemon/ConfigReader.h"
#include "daemon/EventLines.h"
#include "daemon/VrfHost.h"
#include "daemon/control/Reply.h"
#include "daemon/streams/Feeds.h"
#include "platform/tracelet/Sinks.h"
#include "view/Drops.h"
#include "view/EventLog.h"
#include "view/Figures.h"
#include "view/MetricsText.h"
#include "view/Process.h"

namespace Routing::Pim::Bsr {

/// Reads the process that it is asked about and, for the verbs that say so, writes to it. Whatever is wrong with a
/// request becomes the reply. The daemon owns it.
class Answers {
 public:
  /// The process; all of it outlives the answers.
  struct Process {
    Linux::EventLoop &loop;
    Kiv::Ptr<Orb::TimerWheel> wheel;
    const Statehub::Store &store;
    SystemState &system;
    const VrfHosts &hosts;
    const Agent &agent;
    const Loading &loading;
    const Configuration &configuration;
    const std::string &effective;  ///< the text of the configuration
    const Tracelet::RingSink &log;
    EventLog &events;
    const EventLines &lines;
    Drops &drops;
    const Saves &saves;
    const Troubles &troubles;
    ConfigReader &reader;
    /// Reads the file and applies it; calls `done` from the loop with the errors, if any, as one text.
    std::function<void(std::function<void(const std::string &errors)> done)> reload;
  };

  explicit Answers(Process process);

  /// The reply line to a request line. Long ones show each VRF, zone or range as it is when its piece is made. Replies
  /// must not be asked for pieces when this is gone.
  Control::Reply reply(std::string_view line);
  /// The metrics as text, likewise.
  Control::Reply metrics(MetricsFormat format) const;

 private:
  const Process process_;
  const Rows greeting_;
  Feeds feeds_;
};

}  // namespace Routing::Pim::Bsr
