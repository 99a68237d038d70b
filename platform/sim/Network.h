/// A simulated network: routers and links on virtual time.
#pragma once

#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/sim/Link.h"
#include "platform/sim/Router.h"
#include "platform/sim/VirtualTime.h"

namespace Sim {

/// It owns the time, the routers and the links, all of which stay as long as it does. Everything random comes from
/// one seed: the same steps with the same seed give the same run, packet for packet. Of one address family; it
/// knows the topology but nothing of PIM.
class Network {
 public:
  Network(Pax::AddressFamily family, uint64_t seed) : family_(family), seed_(seed) {}

  Pax::AddressFamily af() const { return family_; }
  VirtualTime &time() { return time_; }
  Frames &frames() { return frames_; }
  /// What its routers have in common of the messages that they receive.
  Routing::Pim::Packet::DecodedBlocks &decodedBlocks() { return decodedBlocks_; }

  /// Creates the router, which makes up the VRF, or finds it.
  Router &router(const std::string &name, const std::string &vrf = L3::defaultVrf);
  /// Creates a link without members. The name must be new.
  Link &linkIs(const std::string &name, const LinkParameters &parameters);
  /// Creates a link and joins the routers to it in this order; routers that are not there are created.
  Link &linkIs(const std::string &name, const std::vector<std::string> &routers, const LinkParameters &parameters = {});
  Link &link(const std::string &name) const { return *linkByName_.at(name); }
  const std::vector<std::unique_ptr<Router>> &routers() const { return routers_; }
  const std::vector<std::unique_ptr<Link>> &links() const { return links_; }

  /// From here on for the routers, links and routes only: they say what changes the topology, and ask for it.
  using Distances = std::vector<uint32_t>;
  static constexpr uint32_t unreachable = std::numeric_limits<uint32_t>::max();
  uint64_t topologyVersion() const { return topologyVersion_; }
  void topologyChanged() { ++topologyVersion_; }
  /// The router has this address, which every other router can reach while it has it. Where several have it, the
  /// nearest is reached.
  void ownerIs(const Pax::IpGenAddr &address, Router &router);
  /// The interface has this address: its subnet is on its link, and an address that is a subnet of its own is one of
  /// its router.
  void subnetIs(const IntfAddress &address, Intf &intf);
  /// What the links cost between each router, by its index, and the router or subnet with this address. Worked out
  /// once for each state of the topology.
  const Distances &distancesTo(const Pax::IpGenAddr &destination);

 private:
  uint64_t seedFor(uint64_t use) const;
  Distances workOut(const Pax::IpGenAddr &destination) const;
  std::set<uint32_t> endsOf(const Pax::IpGenAddr &destination) const;

  const Pax::AddressFamily family_;
  const uint64_t seed_;
  VirtualTime time_;
  Frames frames_{time_};
  Routing::Pim::Packet::DecodedBlocks decodedBlocks_;
  std::vector<std::unique_ptr<Link>> links_;
  std::vector<std::unique_ptr<Router>> routers_;
  std::map<std::string, Link *> linkByName_;
  std::map<std::string, Router *> routerByName_;
  std::unordered_multimap<Pax::IpGenPrefix, Link *> linksBySubnet_;
  std::set<uint8_t, std::greater<>> subnetLengths_;
  std::unordered_multimap<Pax::IpGenAddr, Router *> owners_;
  std::unordered_map<Pax::IpGenAddr, Distances> distances_;
  uint64_t topologyVersion_ = 1;
  uint64_t distancesVersion_ = 0;
};

}  // namespace Sim
