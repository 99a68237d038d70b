/// A VRF as the platform has it, over a port that keeps what is sent.
#pragma once

#include <string>
#include <vector>

#include "agent/SystemState.h"
#include "tests/support/Addresses.h"
#include "tests/support/BsmBuilder.h"
#include "tests/support/FakePort.h"

namespace Test {

namespace Bsr = Routing::Pim::Bsr;

class PlatformVrf {
 public:
  PlatformVrf(const Addresses &addresses, std::string vrf) : a(addresses), name(std::move(vrf)) {}

  /// What a SystemState publishes of it.
  Bsr::SystemState::Services services() const { return {interfaces, pimStatus, routes, port}; }

  /// A PIM interface with one neighbor, eth<n>: onLink(n) is us, onLink(100 + n) the neighbor.
  Pax::IntfId intfIs(uint32_t n, uint32_t mtu = 1500) {
    const auto pimIntf = pimStatus->pimIntfIs(intf(n));
    pimIntf->addressIs(a.onLink(n));
    pimIntf->mtuIs(mtu);
    pimIntf->neighborIs(neighbor(n));
    return intf(n);
  }
  Pax::IntfId intf(uint32_t n) const { return {name, "eth" + std::to_string(n)}; }
  Pax::IpGenAddr neighbor(uint32_t n) const { return a.onLink(100 + n); }
  /// Routes an address through the neighbor on eth<n>.
  void routeIs(const Pax::IpGenAddr &address, uint32_t n) const {
    routes->answer[address] = {Routing::RouteAnswer::Kind::via, {{intf(n), neighbor(n)}}};
  }
  /// An interface lo<n> with the address host(n).
  Pax::IntfId loopbackIs(uint32_t n) const {
    const Pax::IntfId intfId(name, "lo" + std::to_string(n));
    routes->answer[a.host(n)] = {Routing::RouteAnswer::Kind::local, {}};
    interfaces->intfStatusIs(intfId)->ipAddrIs(a.host(n));
    return intfId;
  }

  /// A message from the neighbor on eth<n>, which is the way to its BSR.
  void hear(const Kiv::Ptr<Pim::Packet::BootstrapMessage> &bsm, uint32_t n = 1) const {
    routeIs(bsm->bsrAddress(), n);
    port->hear(intf(n), neighbor(n), Pax::allPimRouters(a.af), *bsm);
  }
  /// An advertisement of RP host(n) for one range, from a router behind eth1.
  void hearCrp(uint32_t n, const Pax::IpGenAddr &bsr, const std::vector<Pim::Packet::CrpGroup> &groups,
               uint16_t holdTime = 180, uint8_t priority = 0) const {
    Pim::Packet::CrpAdvMessage message;
    message.prefixCountIs(static_cast<uint8_t>(groups.size()));
    message.rpAddressIs(a.host(n));
    message.holdTimeIs(holdTime);
    message.priorityIs(priority);
    message.groupData()->groupInfo()->group = groups;
    port->hear(intf(1), a.host(n), bsr, message);
  }
  size_t sent() const { return port->sent.size() + port->advertised.size(); }

  const Addresses a;
  const std::string name;
  const Kiv::Ptr<Ip::AllIntfStatusDir> interfaces = Kiv::make<Ip::AllIntfStatusDir>();
  const Kiv::Ptr<Pim::Status> pimStatus = Kiv::make<Pim::Status>(name);
  const Kiv::Ptr<FakeRoutes> routes = Kiv::make<FakeRoutes>();
  const Kiv::Ptr<FakePort> port = Kiv::make<FakePort>(a.af, pimStatus, routes);
};

/// Makes us a candidate BSR of the zone on the interface.
inline void candidateBsrIs(Bsr::Config &config, const Pax::IntfId &intfId, const Pax::IpGenPrefix &zone,
                           uint16_t priority, uint32_t bsPeriod = 60) {
  const auto group = config.bsrCandidateConfigIs(intfId)->groupIs(zone);
  group->intervalIs(bsPeriod);
  group->hashMaskLenIs(30);
  group->priorityIs(priority);
}

}  // namespace Test
