// A list of 50,000 RPs from one router to the next, over real sockets. The sender has a time of its own, which goes on
// when the receiver has read what was sent: on a busy machine one that is not run for a while would lose more than a
// router that keeps up.
#include "agent/ContainerSm.h"
#include "engine/PimBsrSm.h"
#include "tests/linux/Netns.h"
#include "tests/linux/Router.h"
#include "tests/support/Addresses.h"
#include "tests/support/BsmBuilder.h"
#include "tests/support/ManualClock.h"

namespace Test {
namespace {

namespace Bsr = Routing::Pim::Bsr;

class PacingTest : public NetnsTest, public ::testing::WithParamInterface<Addresses> {
 protected:
  // Two routers on a link, with PIM on at both ends.
  void join() {
    netns("a");
    netns("b");
    link("a", "a0", "b", "b0");
    ip("a", "addr add 10.1.0.1/24 dev a0\naddr add 2001:db8:1::1/64 dev a0 nodad");
    ip("b", "addr add 10.1.0.2/24 dev b0\naddr add 2001:db8:1::2/64 dev b0 nodad");
    a = std::make_unique<Router>(loop, nameOf("a"), GetParam().af);
    b = std::make_unique<Router>(loop, nameOf("b"), GetParam().af);
    // Before a0 is up the kernel drops what it is to send.
    ASSERT_TRUE(waitFor([&] {
      return !a->pimAddr("a0").isZero() && !b->pimAddr("b0").isZero() && a->intf("a0")->up() && b->intf("b0")->up();
    }));
    a->pimOn("a0");
    b->pimOn("b0");
    const auto pimIntf = a->status->pimIntf(a->id("a0"));
    pimIntf->mtuIs(GetParam().ipv4() ? 1500 : 750);
    pimIntf->neighborIs(b->pimAddr("b0"));
    b->port->receiveBufferIs(Routing::Pim::IO::PamManager::Parameters{}.receiveBuffer);
  }
  // The machines of router a.
  std::unique_ptr<Bsr::ContainerSm> machines() {
    container.vrf = "default";
    container.af = GetParam().af;
    container.clock = &time;
    container.waker = &time;
    container.random = &random;
    container.config = Kiv::make<Bsr::Config>();
    container.configColl = Kiv::make<Bsr::ConfigColl>();
    container.vrfIntfConfig = Kiv::make<Bsr::VrfIntfConfig>("default");
    container.clearConfig = Kiv::make<Bsr::ClearConfig>();
    container.status = Kiv::make<Bsr::Status>(L3::VrfName("default"));
    container.rpCandidateStatus = Kiv::make<Routing::Pim::RpCandidateStatus>("default");
    container.pimStatus = a->status;
    container.vrfIpStatus = a->interfaces;
    const auto uribStatus = Kiv::make<Flume::Fib6::RouteStatus>();  // fits either family
    uribStatus->routesIs(a->routes);
    container.uribStatus = uribStatus;
    container.urib6Status = uribStatus;
    container.pimCounters = a->port->messageCounters();
    container.ipAclConfig = Kiv::make<Acl::Input::Config>();
    container.packetPort = a->port;
    return std::make_unique<Bsr::ContainerSm>(container);
  }

  // Lets the time of the sender go by until something is on its way to the receiver, or it takes too long.
  void send() {
    constexpr double slice = 0.05, most = 60;  // seconds: in which a receiver need not read, and for all
    while (b->arrived.size() >= a->port->counters().sent && time.now() < begin + most)
      time.advanceTo(time.now() + slice);
  }

  ManualTime time;
  const double begin = time.now();
  Orb::Random random{1};
  Bsr::Container container;  // outlives the machines
  std::unique_ptr<Router> a, b;
};

TEST_P(PacingTest, EveryFragmentOf50000RpsArrivesInOrder) {
  ASSERT_NO_FATAL_FAILURE(join());
  const auto sm = machines();
  Bsm source(GetParam().host(200));
  for (uint32_t group = 0; group < 250; ++group) {
    std::vector<Bsm::Rp> rps;
    for (uint32_t rp = 0; rp < 200; ++rp) rps.push_back({GetParam().host(rp + 1), 150, 0});
    source.group(GetParam().group(group), rps);
  }
  const Kiv::Ptr<Routing::Pim::Packet::BootstrapMessage> bsm = source;
  sm->bsrSm().forwardBsm(GetParam().global(), bsm);
  std::vector<std::pair<Pax::IpGenPrefix, Bsm::Rp>> sent, arrived;
  for (const auto &group : bsm->groupData()) {
    for (const auto &rp : group->rpList()) sent.emplace_back(group->prefix(), rp);
  }
  size_t read = 0;
  waitFor([&] {
    for (; read < b->arrived.size(); ++read) {
      const auto &message = static_cast<const Routing::Pim::Packet::BootstrapMessage &>(*b->arrived[read].message);
      for (const auto &group : message.groupData()) {
        for (const auto &rp : group->rpList()) arrived.emplace_back(group->prefix(), rp);
      }
    }
    if (arrived.size() >= sent.size()) return true;
    send();
    return false;
  });
  EXPECT_EQ(arrived.size(), sent.size());
  EXPECT_TRUE(arrived == sent) << "in order";
}

FOR_BOTH_FAMILIES(PacingTest);

}  // namespace
}  // namespace Test
