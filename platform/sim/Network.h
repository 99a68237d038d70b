/// A network of routers and links on virtual time.
#pragma once

#include <limits>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/sim/Link.h"
#include "platform/sim/Router.h"
#include "platform/sim/VirtualTime.h"

namespace Sim {

/// Owns the time, the routers and the links, all of which stay for its life. Everything random comes
/// from the one seed: the same steps with the same seed give the same run, packet for packet.
class Network {
 public:
  Network(Pax::AddressFamily family, uint64_t seed) : family_(family), seed_(seed) {}

  Pax::AddressFamily af() const { return family_; }
  VirtualTime &time() { return time_; }

  /// Creates the router, or finds it. It makes up the VRF.
  Router &router(const std::string &name, const std::string &vrf = L3::defaultVrf);
  /// Creates a link of its own name.
  Link &linkIs(const std::string &name, const LinkParameters &parameters);
  /// Creates the link and joins the routers to it, each created if need be, in that order.
  Link &linkIs(const std::string &name, const std::vector<std::string> &routers, const LinkParameters &parameters = {});
  Link &link(const std::string &name) const { return *linkByName_.at(name); }
  const std::vector<std::unique_ptr<Router>> &routers() const { return routers_; }
  const std::vector<std::unique_ptr<Link>> &links() const { return links_; }

  /// What the routers and links tell, and the routes ask.
  using Distances = std::vector<uint32_t>;
  static constexpr uint32_t unreachable = std::numeric_limits<uint32_t>::max();
  uint64_t topologyVersion() const { return topologyVersion_; }
  void topologyChanged() { ++topologyVersion_; }
  void ownerIs(const Pax::IpGenAddr &address, Router &router);
  /// Links between each router, by its index, and the router or the subnet that has the address.
  const Distances &distancesTo(const Pax::IpGenAddr &destination);

 private:
  uint64_t seedFor(uint64_t use) const;
  Distances workOut(const Pax::IpGenAddr &destination) const;
  std::vector<uint32_t> endsOf(const Pax::IpGenAddr &destination) const;

  const Pax::AddressFamily family_;
  const uint64_t seed_;
  VirtualTime time_;
  std::vector<std::unique_ptr<Link>> links_;
  std::vector<std::unique_ptr<Router>> routers_;
  std::map<std::string, Link *> linkByName_;
  std::map<std::string, Router *> routerByName_;
  std::unordered_map<Pax::IpGenPrefix, Link *> linkBySubnet_;
  std::unordered_map<Pax::IpGenAddr, Router *> owner_;
  std::unordered_map<Pax::IpGenAddr, Distances> distances_;
  uint64_t topologyVersion_ = 1;
  uint64_t distancesVersion_ = 0;
};

}  // namespace Sim
