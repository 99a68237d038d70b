/// Routes, asked of the kernel one address at a time.
#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "platform/linux/LinkTable.h"
#include "platform/linux/NetlinkSocket.h"
#include "platform/routing/RouteLookup.h"

namespace Linux {

struct RouteMessage;

/// A question and its answer over netlink: honours rules and metrics, and costs nothing at rest.
/// Unreachable, blackhole and prohibited destinations have the answer `none`, as has any failure,
/// which is traced.
class KernelRouteLookup : public Routing::RouteLookup {
 public:
  /// Throws std::system_error.
  KernelRouteLookup(const Namespace &where, const Kiv::Ptr<const LinkTable> &links);

  Routing::RouteAnswer lookup(const Pax::IpGenAddr &destination) override;
  /// Everything is unreachable from then on.
  void close() { socket_.reset(); }

 private:
  /// The kernel's answer, in the buffer; null when there is none.
  const nlmsghdr *ask(const Pax::IpGenAddr &destination, uint32_t flags);
  /// Waits for the answer to the last question.
  const nlmsghdr *answer();
  Routing::RouteAnswer answerFrom(const RouteMessage &route) const;

  const Kiv::Ptr<const LinkTable> links_;
  std::optional<NetlinkSocket> socket_;
  uint32_t sequence_ = 0;
  std::vector<uint8_t> buffer_;
};

}  // namespace Linux
