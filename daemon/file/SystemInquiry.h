/// Interfaces and addresses of the namespaces that a configuration names.
#pragma once

#include <boost/asio/steady_timer.hpp>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include "daemon/file/SystemWarnings.h"
#include "daemon/file/VrfHome.h"
#include "platform/linux/NetlinkMonitors.h"

namespace Routing::Pim::Bsr {

/// Asks the kernel about the VRFs of a configuration, all at once and without waiting, as far as the monitors do not
/// know it. A namespace that may not be entered is skipped; so is what the kernel has not told after five seconds. The
/// configuration and the monitors outlive it.
class SystemInquiry {
 public:
  /// Calls `done` once from the loop, when all have answered or the time is over; it may destroy this object.
  SystemInquiry(Linux::EventLoop &loop, Linux::NetlinkMonitors &monitors, const Configuration &configuration,
                std::function<void()> done);

  /// When it is done.
  void findWarnings(Findings &findings) const;

 private:
  struct Asked {
    std::shared_ptr<Linux::NetlinkMonitor> monitor;  // null where there is no such namespace
    Linux::NetlinkMonitor::Listening listening;
    bool refused = false;
  };

  void askNext();
  void ask(const VrfHome &home);
  void evaluate();
  void findWarningsOf(const L3::VrfName &vrf, const PimVrf &pim, Findings &findings) const;

  Linux::EventLoop &loop_;
  Linux::NetlinkMonitors &monitors_;
  const Configuration &configuration_;
  std::function<void()> done_;  // null once it was called
  std::map<L3::VrfName, PimVrf>::const_iterator next_;
  std::map<std::string, Asked> asked_;                   // by namespace
  std::shared_ptr<boost::asio::steady_timer> deadline_;  // what is posted holds it weakly
};

}  // namespace Routing::Pim::Bsr
