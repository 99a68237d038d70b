/// Interfaces and addresses of the namespaces that a configuration names.
#pragma once

#include <boost/asio/steady_timer.hpp>
#include <functional>
#include <map>
#include <memory>
#include <optional>

#include "daemon/file/SystemWarnings.h"
#include "platform/linux/EventLoop.h"

namespace Routing::Pim::Bsr {

/// Asks the kernel about the VRFs of a configuration, all at once and without waiting, as far as they are not known.
/// A namespace that does not exist, or may not be entered, is skipped; so is what the kernel has not told after five
/// seconds. The configuration outlives it.
class SystemInquiry {
 public:
  /// What is known of a VRF already, if anything.
  using Known = std::function<std::optional<SystemView>(const L3::VrfName &vrf, const PimVrf &pim)>;

  /// Calls `done` once from the loop, when all have answered or the time is over; it may destroy this object.
  SystemInquiry(Linux::EventLoop &loop, const Configuration &configuration, Known known, std::function<void()> done);
  ~SystemInquiry();

  /// When it is done.
  void findWarnings(Findings &findings) const;

 private:
  struct Asked;
  void ask(Linux::EventLoop &loop, const L3::VrfName &vrf, const PimVrf &pim);
  void askNext(Linux::EventLoop &loop);
  void evaluate();

  const Configuration &configuration_;
  const Known known_;
  std::function<void()> done_;  // null once it was called
  std::map<L3::VrfName, PimVrf>::const_iterator next_;
  std::map<L3::VrfName, std::unique_ptr<Asked>> asked_;
  std::shared_ptr<boost::asio::steady_timer> deadline_;  // what is posted holds it weakly
};

}  // namespace Routing::Pim::Bsr
