/// One VRF with its state machines, on virtual time, without an agent.
#pragma once

#include <optional>

#include "agent/ContainerSm.h"
#include "engine/BsrCandidateSm.h"
#include "engine/BsrNonCandidateSm.h"
#include "engine/PimBsrSm.h"
#include "io/BootstrapMessageSm.h"
#include "platform/tracelet/Sinks.h"
#include "tests/support/ManualClock.h"
#include "tests/support/PlatformVrf.h"

namespace Test {

class TestVrf : public PlatformVrf {
 public:
  explicit TestVrf(Addresses addresses, uint64_t seed = 1) : PlatformVrf(addresses, "default"), random(seed) {
    system.pimIs("default", services());
    container.vrf = "default";
    container.af = a.af;
    container.clock = &time;
    container.waker = &time;
    container.random = &random;
    container.config = config;
    container.configColl = system.configColl;
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

  /// Makes us a candidate BSR of the zone, with host(n) as our address.
  Kiv::Ptr<Bsr::BsrCandidate> candidateIs(const Pax::IpGenPrefix &zone, uint32_t n, uint16_t priority,
                                          uint32_t bsPeriod = 60) {
    candidateBsrIs(*config, loopbackIs(n), zone, priority, bsPeriod);
    return status->cbsr(zone);
  }
  void candidateDel(const Pax::IpGenPrefix &zone) const {
    for (const auto &[intfId, candidate] : config->bsrCandidateConfig()) candidate->groupDel(zone);
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

  ManualTime time;
  Orb::Random random;
  Statehub::Store store;
  Bsr::SystemState system{store, a.af};
  Kiv::Ptr<Bsr::Config> config = system.configColl->vrfConfigIs("default");
  Kiv::Ptr<Bsr::VrfIntfConfig> borders = Kiv::make<Bsr::VrfIntfConfig>("default");
  Kiv::Ptr<Acl::Input::Config> acls = system.aclCli;
  Kiv::Ptr<Bsr::Status> status = system.statusColl->vrfStatusIs("default");
  Kiv::Ptr<Pim::RpCandidateStatus> published = Kiv::make<Pim::RpCandidateStatus>("default");
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
