/// Routes, looked up in the kernel one address at a time.
#pragma once

#include <optional>
#include <vector>

#include "platform/ip/IntfStatus.h"
#include "platform/linux/LinkTable.h"
#include "platform/linux/NetlinkSocket.h"
#include "platform/routing/RouteLookup.h"

namespace Linux {

struct RouteMessage;

/// Each lookup is a question and an answer over netlink, which honours rules and metrics; between lookups it does
/// nothing. A destination is connected if the route there has no next hop and the interface an address in its subnet;
/// a route to an interface is not enough. Unreachable, blackhole and prohibited destinations have the answer `none`,
/// as has any failure, which is traced. VrfPlatform makes it; whoever looks up routes may hold it longer.
class KernelRouteLookup : public Routing::RouteLookup {
 public:
  /// In the routes of the vrf device of this index; 0: in those of the namespace. Throws std::system_error.
  KernelRouteLookup(const Namespace &where, uint32_t vrfDevice, const Kiv::Ptr<const LinkTable> &links,
                    const Kiv::Ptr<const Ip::AllIntfStatusDir> &interfaces);

  const Routing::RouteAnswer &lookup(const Pax::IpGenAddr &destination) override;
  /// Everything is unreachable from then on.
  void close() { socket_.reset(); }

 private:
  /// The kernel's answer, in the buffer; null when there is none.
  const nlmsghdr *ask(const Pax::IpGenAddr &destination, uint32_t flags);
  /// Waits for the answer to the last question.
  const nlmsghdr *answer();
  Routing::RouteAnswer find(const Pax::IpGenAddr &destination);
  Routing::RouteAnswer answerFrom(const RouteMessage &route, const Pax::IpGenAddr &destination) const;
  bool isInSubnet(const Pax::IntfId &intfId, const Pax::IpGenAddr &destination) const;

  const uint32_t vrfDevice_;
  const Kiv::Ptr<const LinkTable> links_;
  const Kiv::Ptr<const Ip::AllIntfStatusDir> interfaces_;
  std::optional<NetlinkSocket> socket_;
  uint32_t sequence_ = 0;
  std::vector<uint8_t> buffer_;
  Routing::RouteAnswer answer_;
};

}  // namespace Linux
