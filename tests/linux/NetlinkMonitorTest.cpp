#include "platform/tracelet/Sinks.h"
#include "tests/linux/Netns.h"
#include "tests/linux/Router.h"
#include "tests/support/Addresses.h"

namespace {

using Pax::AddressFamily;
using Pax::IpGenAddr;

class NetlinkMonitorTest : public Test::NetnsTest {
 protected:
  void SetUp() override {
    NetnsTest::SetUp();
    if (IsSkipped()) return;
    netns("a");
    ip("a", "link add a0 type veth peer name a1");
  }
  // A router that knows its interfaces. The kernel says that a link is up a little later than it is set up.
  std::unique_ptr<::Test::Router> router(AddressFamily family) {
    auto made = std::make_unique<::Test::Router>(loop, nameOf("a"), family);
    EXPECT_TRUE(waitFor([&] { return made->completed == 1 && made->intf("a0") && made->intf("a0")->up(); }));
    return made;
  }
};

// What an interface and its addresses went through, as somebody who holds it sees it.
class Witness : public Ip::IntfStatus::Notifiee {
 public:
  Witness(const Kiv::Ptr<Ip::IntfStatus> &intf, const Ip::AllIntfStatusDir &all) : intf_(intf), all_(all) {
    notifierIs(intf);
  }
  void onUp() override { log += intf_->up() ? "up " : "down "; }
  void onPimAddr() override { log += all_.intfStatus(intf_->intfId()) == intf_ ? "address " : "late-address "; }
  std::string log;

 private:
  const Kiv::Ptr<Ip::IntfStatus> intf_;
  const Ip::AllIntfStatusDir &all_;
};

TEST_F(NetlinkMonitorTest, ADumpThenEventsFillTheStatus) {
  ip("a",
     "addr add 127.0.0.2/8 dev lo\naddr add 10.1.0.1/24 dev a0\naddr add 10.1.0.2/24 dev a0\n"
     "link set a0 up\nlink set a1 up");
  const auto a = router(AddressFamily::ipv4);
  ASSERT_TRUE(a->intf("lo") && a->intf("a0") && a->intf("a1"));
  EXPECT_EQ(a->intf("a0")->mtu(), 1500u);
  EXPECT_EQ(a->intf("a0")->ipAddr(), IpGenAddr::fromText("10.1.0.1"));
  EXPECT_TRUE(a->intf("lo")->ipAddr().isZero());
  const Ip::AddressInfo *second = a->intf("a0")->address(IpGenAddr::fromText("10.1.0.2"));
  ASSERT_TRUE(second);
  EXPECT_TRUE(second->secondary);
  EXPECT_EQ(second->subnet, Pax::IpGenPrefix::fromText("10.1.0.0/24"));

  ip("a", "link set a0 mtu 1400\naddr add 10.2.0.1/24 dev a0\naddr del 10.1.0.1/24 dev a0");
  EXPECT_TRUE(waitFor([&] { return a->pimAddr("a0") == IpGenAddr::fromText("10.2.0.1"); }));
  EXPECT_EQ(a->intf("a0")->mtu(), 1400u);
  ip("a", "link set a1 down");  // the carrier of a0 goes, too
  EXPECT_TRUE(waitFor([&] { return !a->intf("a0")->up(); }));
  EXPECT_EQ(a->intf("a0")->ipAddr(), IpGenAddr::fromText("10.2.0.1")) << "which concerns no candidate";
  ip("a", "link set a0 down");
  EXPECT_TRUE(waitFor([&] { return a->intf("a0")->ipAddr().isZero(); }));
  EXPECT_TRUE(a->intf("a0")->address(IpGenAddr::fromText("10.2.0.1"))) << "it is still there";
  ip("a", "link set a0 up");
  EXPECT_TRUE(waitFor([&] { return a->intf("a0")->ipAddr() == IpGenAddr::fromText("10.2.0.1"); }));
}

TEST_F(NetlinkMonitorTest, AnIpv6AddressServesOnceItIsUsable) {
  ip("a", "link set a0 up\nlink set a1 up");
  const auto a = router(AddressFamily::ipv6);
  ip("a",
     "addr add 2001:db8::1/64 dev a0 nodad preferred_lft 0 valid_lft forever\n"
     "addr add 2001:db8::2/64 dev a0");
  EXPECT_TRUE(waitFor([&] { return a->pimAddr("a0").isLinkLocal() && !a->intf("a0")->ipAddr().isZero(); }));
  EXPECT_EQ(a->intf("a0")->ipAddr(), IpGenAddr::fromText("2001:db8::2")) << "the other one is deprecated";
  ip("a", "link set a0 down");  // the kernel takes the link-local address away
  EXPECT_TRUE(waitFor([&] { return a->pimAddr("a0").isZero() && !a->intf("a0")->up(); }));
}

TEST_F(NetlinkMonitorTest, ARenamedInterfaceGoesAndComesWithItsAddresses) {
  ip("a", "addr add 10.1.0.1/24 dev a0\nlink set a0 up\nlink set a1 up");
  const auto a = router(AddressFamily::ipv4);
  const uint32_t index = a->links->index(a->id("a0"));
  Witness witness(a->intf("a0"), *a->interfaces);
  ip("a", "link set a0 down\nlink set a0 name b0\nlink set b0 up");
  ASSERT_TRUE(waitFor([&] { return a->intf("b0") && a->intf("b0")->up(); }));
  EXPECT_FALSE(a->intf("a0"));
  EXPECT_EQ(a->pimAddr("b0"), IpGenAddr::fromText("10.1.0.1"));
  EXPECT_EQ(a->links->index(a->id("b0")), index);
  EXPECT_EQ(a->links->index(a->id("a0")), 0u);
  EXPECT_EQ(witness.log, "down address ") << "all of it before the element went";
}

TEST_F(NetlinkMonitorTest, AfterLostEventsTheStatusIsThatOfTheKernelAgain) {
  ip("a", "addr add 10.1.0.1/24 dev a0\nlink set a0 up\nlink set a1 up");
  const auto a = router(AddressFamily::ipv4);
  const Tracelet::CaptureSink traces(1);
  std::string flood;
  for (int i = 0; i < 6000; ++i) {
    const std::string address = "10.2." + std::to_string(i / 250) + "." + std::to_string(i % 250 + 1) + "/32 dev a1\n";
    flood.append("addr add ").append(address).append("addr del ").append(address);
  }
  // What is lost: an address that goes, an address that comes, an interface that goes, one that comes.
  ip("a",
     flood + "addr del 10.1.0.1/24 dev a0\naddr add 10.3.0.1/24 dev a0\nlink add c0 type bridge\nlink set a1 name d1");
  EXPECT_TRUE(waitFor([&] {
    return a->intf("c0") && a->intf("d1") && a->intf("d1")->address().empty() && !a->intf("a1") &&
           a->intf("a0")->address().size() == 1 && a->pimAddr("a0") == IpGenAddr::fromText("10.3.0.1");
  }));
  EXPECT_GT(traces.count("events were lost"), 0u) << "the flood was too small to lose events";
  EXPECT_EQ(a->completed, 1);
}

}  // namespace
