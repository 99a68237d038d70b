/// An agent and the system around it, on virtual time.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <memory>

#include "agent/Agent.h"
#include "agent/RootSm.h"
#include "config/ConfigSm.h"
#include "engine/PimBsrSm.h"
#include "platform/tracelet/Sinks.h"
#include "tests/support/ManualClock.h"
#include "tests/support/PlatformVrf.h"

namespace Test {

class World {
 public:
  explicit World(const Addresses &addresses) : a(addresses), random(1), system(store, a.af) {}

  /// The VRF exists, and PIM runs there, on eth1 at first.
  PlatformVrf &add(const std::string &name) {
    system.vrfIs(name, name == L3::defaultVrf ? "" : "netns-" + name);
    system.namespaceExistsIs(name, true);
    return pimIs(name);
  }
  PlatformVrf &pimIs(const std::string &name) {
    auto &vrf = vrfs_[name];
    if (!vrf) {
      vrf = std::make_unique<PlatformVrf>(a, name);
      vrf->intfIs(1);
    }
    system.pimIs(name, vrf->services());
    return *vrf;
  }
  void start() {
    agent = Bsr::makeAgent(a.af, {store, time, time, random});
    agent->doInit();
  }
  void stop() { agent.reset(); }
  void standbyIs(bool standby) { system.standbyIs(standby); }
  void advance(double seconds) { time.advanceTo(time.now() + seconds); }

  /// Candidate BSR of the zone, with host(n) as its address.
  void candidateIs(const std::string &name, const Pax::IpGenPrefix &zone, uint32_t n, uint16_t priority = 64) {
    candidateBsrIs(config(name), vrfs_.at(name)->loopbackIs(n), zone, priority);
  }
  void candidateRpIs(const std::string &name, const Pax::IpGenPrefix &range, uint32_t n) {
    const auto candidate = config(name).rpCandidateConfigIs(vrfs_.at(name)->loopbackIs(n));
    candidate->groupRangeOptionsIs(range)->priorityIs(192);
    candidate->groupRangeIs(range);
  }
  Bsr::Config &config(const std::string &name) { return *system.configColl->vrfConfigIs(name); }
  Kiv::Ptr<Bsr::Status> status(const std::string &name) const { return system.statusColl->vrfStatus(name); }
  Kiv::Ptr<Bsr::ElectedBsrStatus> bsr(const std::string &name) const {
    return status(name)->bootstrapRouter(a.global());
  }
  bool runs(const std::string &name) const { return agent->containerSm(name) != nullptr; }
  /// Seconds that a lone candidate waits before it is the BSR.
  double bestDelay() const { return a.ipv4() ? 5 : 10; }

  const Addresses a;
  ManualTime time;
  Orb::Random random;
  Statehub::Store store;
  Bsr::SystemState system;
  std::unique_ptr<Bsr::Agent> agent;

 private:
  std::map<std::string, std::unique_ptr<PlatformVrf>> vrfs_;
};

/// A suite that runs for both families, in a world of its own.
struct BothFamilies : testing::TestWithParam<Addresses>, World {
  BothFamilies() : World(GetParam()) {}
};

}  // namespace Test
