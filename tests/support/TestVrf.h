/// One VRF with its state machines, on virtual time, over a port that keeps what is sent.
#pragma once

#include <optional>

#include "agent/ContainerSm.h"
#include "engine/BsrCandidateSm.h"
#include "engine/BsrNonCandidateSm.h"
#include "engine/PimBsrSm.h"
#include "io/BootstrapMessageSm.h"
#include "platform/tracelet/Sinks.h"
#include "tests/support/Addresses.h"
#include "tests/support/BsmBuilder.h"
#include "tests/support/FakePort.h"
#include "tests/support/ManualClock.h"

namespace Test {

namespace Bsr = Routing::Pim::Bsr;

class TestVrf {
 public:
  explicit TestVrf(Addresses addresses, uint64_t seed = 1) : a(addresses), random(seed) {
    container.vrf = "default";
    container.af = a.af;
    container.clock = &time;
    container.waker = &time;
    container.random = &random;
    container.config = config;
    container.configColl = Kiv::make<Bsr::ConfigColl>();
    container.vrfIntfConfig = borders;
    container.clearConfig = Kiv::make<Bsr::ClearConfig>();
    container.status = status;
    container.rpCandidateStatus = published;
    container.pimStatus = pimStatus;
    container.vrfIpStatus = interfaces;
    const auto uribStatus = Kiv::make<Flume::Fib6::RouteStatus>();  // fits either family
    uribStatus->routesIs(routes);
    container.uribStatus = uribStatus;
    container.urib6Status = uribStatus;
    container.bidirRpHashStatus = Kiv::make<Pim::RpHashStatus>("rpHash");
    container.hitlessClientVrfStatus = hitlessVrfStatus;
    container.hitlessClientShutdownStatus = hitlessShutdownStatus;
    container.pimCounters = port->messageCounters();
    container.ipAclConfig = acls;
    container.packetPort = port;
    start();
  }

  void start() { sm = std::make_unique<Bsr::ContainerSm>(container); }
  void stop() { sm.reset(); }

  /// A PIM interface with one neighbour, eth<n>: onLink(n) is us, onLink(100 + n) the neighbour.
  Pax::IntfId intfIs(uint32_t n, uint32_t mtu = 1500) {
    const Pax::IntfId id = intf(n);
    const auto pimIntf = pimStatus->pimIntfIs(id);
    pimIntf->addressIs(a.onLink(n));
    pimIntf->mtuIs(mtu);
    pimIntf->neighborIs(neighbor(n));
    return id;
  }
  static Pax::IntfId intf(uint32_t n) { return {"default", "eth" + std::to_string(n)}; }
  Pax::IpGenAddr neighbor(uint32_t n) const { return a.onLink(100 + n); }
  /// Routes an address through the neighbour on eth<n>.
  void routeIs(const Pax::IpGenAddr &address, uint32_t n) const {
    routes->answer[address] = {Routing::RouteAnswer::Kind::via, {{intf(n), neighbor(n)}}};
  }

  /// A message from the neighbour on eth<n>, which is the way to its BSR.
  void hear(const Kiv::Ptr<Pim::Packet::BootstrapMessage> &bsm, uint32_t n = 1) const {
    routeIs(bsm->bsrAddress(), n);
    port->hear(intf(n), neighbor(n), Pax::allPimRouters(a.af), *bsm);
  }

  /// Makes us a candidate BSR of the zone, with host(n) as our address.
  Kiv::Ptr<Bsr::BsrCandidate> candidateIs(const Pax::IpGenPrefix &zone, uint32_t n, uint16_t priority,
                                          uint32_t bsPeriod = 60) {
    routes->answer[a.host(n)] = {Routing::RouteAnswer::Kind::local, {}};
    const Pax::IntfId intfId("default", "lo" + std::to_string(n));
    interfaces->intfStatusIs(intfId)->ipAddrIs(a.host(n));
    const auto group = config->bsrCandidateConfigIs(intfId)->groupIs(zone);
    group->intervalIs(bsPeriod);
    group->hashMaskLenIs(30);
    group->priorityIs(priority);
    return status->cbsr(zone);
  }
  void candidateDel(const Pax::IpGenPrefix &zone) const {
    for (const auto &[intfId, candidate] : config->bsrCandidateConfig()) candidate->groupDel(zone);
  }
  /// An advertisement of RP host(n) for one range, from a router behind eth1.
  void hearCrp(uint32_t n, const Pax::IpGenAddr &bsr, const std::vector<Pim::Packet::CrpGroup> &groups,
               uint16_t holdTime = 180, uint8_t priority = 0) {
    Pim::Packet::CrpAdvMessage message;
    message.prefixCountIs(static_cast<uint8_t>(groups.size()));
    message.rpAddressIs(a.host(n));
    message.holdTimeIs(holdTime);
    message.priorityIs(priority);
    message.groupData()->groupInfo()->group = groups;
    port->hear(intf(1), a.host(n), bsr, message);
  }
  void advance(double seconds) { time.advanceTo(time.now() + seconds); }

  Kiv::Ptr<Bsr::ElectedBsrStatus> bsr(const Pax::IpGenPrefix &zone) const { return status->bootstrapRouter(zone); }
  Kiv::Ptr<Pim::RpCandidateSet> set(const Pax::IpGenPrefix &zone, const Pax::IpGenPrefix &prefix) const {
    const auto zoneStatus = status->crpStatus(zone);
    return zoneStatus && zoneStatus->status() ? zoneStatus->status()->crpSet(prefix) : nullptr;
  }
  /// The RPs of a zone's prefix, sorted; nothing when there is no set.
  std::optional<std::vector<Pax::IpGenAddr>> rps(const Pax::IpGenPrefix &zone, const Pax::IpGenPrefix &prefix) const {
    return addresses(set(zone, prefix));
  }
  std::optional<std::vector<Pax::IpGenAddr>> publishedRps(const Pax::IpGenPrefix &prefix) const {
    return addresses(published->crpSet(prefix));
  }
  const Bsr::PimBsrCounters &counters() const { return *status->counters(); }
  Bsr::BsrNonCandidateSm *machine(const Pax::IpGenPrefix &zone) const { return sm->bsrSm().nonCandidateSm(zone); }

  const Addresses a;
  ManualTime time;
  Orb::Random random;
  Kiv::Ptr<Bsr::Config> config = Kiv::make<Bsr::Config>();
  Kiv::Ptr<Bsr::VrfIntfConfig> borders = Kiv::make<Bsr::VrfIntfConfig>("default");
  Kiv::Ptr<Acl::Input::Config> acls = Kiv::make<Acl::Input::Config>();
  Kiv::Ptr<Bsr::Status> status = Kiv::make<Bsr::Status>(L3::VrfName("default"));
  Kiv::Ptr<Pim::RpCandidateStatus> published = Kiv::make<Pim::RpCandidateStatus>("default");
  Kiv::Ptr<Pim::Status> pimStatus = Kiv::make<Pim::Status>("default");
  Kiv::Ptr<Ip::AllIntfStatusDir> interfaces = Kiv::make<Ip::AllIntfStatusDir>();
  Kiv::Ptr<FakeRoutes> routes = Kiv::make<FakeRoutes>();
  Kiv::Ptr<FakePort> port = Kiv::make<FakePort>(a.af, pimStatus, routes);
  Kiv::Ptr<McastCommon::HitlessVrfStatus> hitlessVrfStatus = Kiv::make<McastCommon::HitlessVrfStatus>();
  Kiv::Ptr<McastCommon::HitlessShutdownStatus> hitlessShutdownStatus = Kiv::make<McastCommon::HitlessShutdownStatus>();
  Bsr::Container container;
  std::unique_ptr<Bsr::ContainerSm> sm;

 private:
  static std::optional<std::vector<Pax::IpGenAddr>> addresses(const Kiv::Ptr<Pim::RpCandidateSet> &set) {
    if (!set) return std::nullopt;
    std::vector<Pax::IpGenAddr> result = set->rp().keys();
    std::sort(result.begin(), result.end());
    return result;
  }
};

}  // namespace Test
