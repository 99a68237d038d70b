#include <arpa/inet.h>
#include <linux/if_ether.h>
#include <linux/if_packet.h>
#include <net/if.h>

#include <array>
#include <set>

#include "tests/linux/Netns.h"
#include "tests/linux/Router.h"
#include "tests/support/Addresses.h"
#include "tests/support/BsmBuilder.h"

namespace {

using Pax::IpGenAddr;

// The frames that an interface gets, from the construction on.
class Capture {
 public:
  Capture(const Linux::Namespace &where, const std::string &interface) {
    where.inside([&] {
      socket_ = Linux::Descriptor(socket(AF_PACKET, SOCK_RAW | SOCK_NONBLOCK | SOCK_CLOEXEC, htons(ETH_P_ALL)));
      sockaddr_ll address{};
      address.sll_family = AF_PACKET;
      address.sll_protocol = htons(ETH_P_ALL);
      address.sll_ifindex = static_cast<int>(if_nametoindex(interface.c_str()));
      EXPECT_EQ(bind(socket_.number(), reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
    });
  }
  // Traffic class and hop limit of each PIM packet.
  std::vector<std::pair<int, int>> pimPackets() {
    std::vector<std::pair<int, int>> packets;
    std::array<uint8_t, 65536> frame;
    while (recv(socket_.number(), frame.data(), frame.size(), 0) > ETH_HLEN + 20) {
      const uint8_t *header = frame.data() + ETH_HLEN;
      if (header[0] >> 4 == 4 && header[9] == 103) packets.emplace_back(header[1], header[8]);
      if (header[0] >> 4 == 6 && header[6] == 103) {
        packets.emplace_back((header[0] << 4 | header[1] >> 4) & 0xff, header[7]);
      }
    }
    return packets;
  }

 private:
  Linux::Descriptor socket_;
};

// Two routers, "a" and "b", joined by links a0-b0, a1-b1, ... with PIM on at both ends.
class RawPacketPortTest : public Test::NetnsTest, public ::testing::WithParamInterface<::Test::Addresses> {
 protected:
  void join(int links) {
    netns("a");
    netns("b");
    std::string make, first, second;
    for (int i = 0; i < links; ++i) {
      const std::string n = std::to_string(i);
      make.append("link add a").append(n).append(" type veth peer name b").append(n);
      make.append(" netns ").append(nameOf("b")).append("\n");
      first += setUp("a", n, "1");
      second += setUp("b", n, "2");
    }
    ip("a", make + first);
    ip("b", second);
    // So that IPv6 memberships run out, too: their number is limited by the memory for options.
    const ::Test::Ran ran = ::Test::run("ip netns exec " + nameOf("b") + " sysctl -w net.core.optmem_max=600");
    ASSERT_TRUE(ran.good) << ran.output;
    a = std::make_unique<::Test::Router>(loop, nameOf("a"), GetParam().af);
    b = std::make_unique<::Test::Router>(loop, nameOf("b"), GetParam().af);
    const auto usable = [&](::Test::Router &router, const std::string &name) {
      return !router.pimAddr(name).isZero() && router.intf(name)->up();
    };
    ASSERT_TRUE(waitFor([&] {
      for (int i = 0; i < links; ++i) {
        const std::string n = std::to_string(i);
        if (!usable(*a, "a" + n) || !usable(*b, "b" + n)) return false;
      }
      return true;
    }));
    for (int i = 0; i < links; ++i) {
      a->pimOn("a" + std::to_string(i));
      b->pimOn("b" + std::to_string(i));
    }
  }
  std::string setUp(const std::string &side, const std::string &n, const std::string &host) {
    const std::string end = side + n;
    return "addr add 10.1." + n + "." + host + "/24 dev " + end + "\naddr add 2001:db8:1:" + n + "::" + host +
           "/64 dev " + end + " nodad\nlink set " + end + " addrgenmode eui64 up\n";
  }
  IpGenAddr routable(const std::string &n, const std::string &host) {
    return IpGenAddr::fromText(GetParam().ipv4() ? "10.1." + n + "." + host : "2001:db8:1:" + n + "::" + host);
  }
  Kiv::Ptr<Routing::Pim::Packet::CrpAdvMessage> advertisement(const IpGenAddr &rp, const IpGenAddr &bsr) {
    const auto message = Kiv::make<Routing::Pim::Packet::CrpAdvMessage>();
    message->rpAddressIs(rp);
    message->destinationIs(bsr);
    message->prefixCountIs(1);
    message->groupData()->groupInfo()->group.push_back({GetParam().group(1)});
    return message;
  }

  std::unique_ptr<::Test::Router> a, b;
};

TEST_P(RawPacketPortTest, WhatWeSendIsReadByOthersAsMeant) {
  ASSERT_NO_FATAL_FAILURE(join(1));
  Capture capture(*b->where, "b0");
  const Kiv::Ptr<Routing::Pim::Packet::BootstrapMessage> bsm =
      ::Test::Bsm(GetParam().host(1)).tag(7).group(GetParam().group(1), {{GetParam().host(2), 150, 10}});
  ASSERT_TRUE(a->sendHello("a0"));
  ASSERT_TRUE(a->port->send(a->id("a0"), *bsm));
  ASSERT_TRUE(a->port->send({}, *advertisement(routable("0", "1"), routable("0", "2"))));
  ASSERT_TRUE(waitFor([&] { return b->arrived.size() == 3; }));
  settle();

  ASSERT_EQ(b->arrived.size(), 3u) << "each once";
  EXPECT_TRUE(a->arrived.empty()) << "and nothing comes back";
  EXPECT_EQ(b->arrived[0].intfId, b->id("b0"));
  EXPECT_EQ(b->arrived[0].message->source(), a->pimAddr("a0"));
  EXPECT_EQ(b->arrived[1].message->source(), a->pimAddr("a0"));
  EXPECT_EQ(b->arrived[2].message->source(), routable("0", "1"));
  EXPECT_EQ(b->arrived[2].message->destination(), routable("0", "2"));

  const auto packets = capture.pimPackets();
  ASSERT_EQ(packets.size(), 3u);
  EXPECT_EQ(packets[0], std::pair(0xc0, 1));
  EXPECT_EQ(packets[1], std::pair(0xc0, 1));
  EXPECT_EQ(packets[2].first, 0xc0);
  EXPECT_GT(packets[2].second, 1) << "an advertisement is routed";
}

TEST_P(RawPacketPortTest, ManyInterfacesAreHeardEachOnce) {
  constexpr int links = 25;  // over the 20 group memberships of an IPv4 socket
  ASSERT_NO_FATAL_FAILURE(join(links));
  EXPECT_GT(b->port->sockets(), 1u);
  for (int i = 0; i < links; ++i) EXPECT_TRUE(a->sendHello("a" + std::to_string(i)));
  ASSERT_TRUE(waitFor([&] { return b->arrived.size() >= links; }));
  EXPECT_TRUE(a->port->send({}, *advertisement(routable("0", "1"), routable("0", "2"))));
  ASSERT_TRUE(waitFor([&] { return b->arrived.size() >= links + 1; }));
  settle();
  EXPECT_EQ(b->arrived.size(), links + 1u) << "a unicast, too";
  EXPECT_EQ(b->arrived.back().message->type(), Routing::Pim::Packet::MessageType::crpAdv);
  std::set<Pax::IntfId> heard;
  for (const auto &arrival : b->arrived) heard.insert(arrival.intfId);
  EXPECT_EQ(heard.size(), size_t{links});

  // Places that become free are used again.
  const size_t sockets = b->port->sockets();
  for (int round = 0; round < 3; ++round) {
    for (int i = 0; i < links; ++i) b->status->pimIntfDel(b->id("b" + std::to_string(i)));
    for (int i = 0; i < links; ++i) b->pimOn("b" + std::to_string(i));
  }
  EXPECT_EQ(b->port->sockets(), sockets);
  EXPECT_TRUE(a->sendHello("a24"));
  EXPECT_TRUE(waitFor([&] { return b->arrived.size() == links + 2u; }));
}

TEST_P(RawPacketPortTest, ALinkThatWasMadeAgainIsHeardAgain) {
  ASSERT_NO_FATAL_FAILURE(join(1));
  ip("a", "link del a0");
  ASSERT_TRUE(waitFor([&] { return !a->intf("a0") && !b->intf("b0"); }));
  EXPECT_FALSE(a->sendHello("a0"));
  a->status->pimIntfDelAll();
  b->status->pimIntfDelAll();
  ip("a", "link add a0 type veth peer name b0 netns " + nameOf("b") + "\n" + setUp("a", "0", "1"));
  ip("b", setUp("b", "0", "2"));
  ASSERT_TRUE(waitFor([&] {
    return !a->pimAddr("a0").isZero() && a->intf("a0")->up() && !b->pimAddr("b0").isZero() && b->intf("b0")->up();
  }));
  a->pimOn("a0");
  b->pimOn("b0");
  EXPECT_TRUE(a->sendHello("a0"));
  EXPECT_TRUE(waitFor([&] { return b->arrived.size() == 1; }));
}

TEST_P(RawPacketPortTest, TheReceiverLimitsThePacketAndOnlyATransparentSenderLendsAddresses) {
  ASSERT_NO_FATAL_FAILURE(join(1));
  b->port->maxPacketIs(100);
  ::Test::Bsm bsm(GetParam().host(1));
  for (uint32_t i = 0; i < 10; ++i) bsm.group(GetParam().group(i), {{GetParam().host(2), 150, 10}});
  ASSERT_TRUE(a->port->send(a->id("a0"), *Kiv::Ptr<Routing::Pim::Packet::BootstrapMessage>(bsm)));
  const auto message = advertisement(routable("0", "77"), routable("0", "2"));
  EXPECT_FALSE(a->port->send({}, *message));
  a->port->transparentIs(true);
  EXPECT_TRUE(a->port->send({}, *message));
  ASSERT_TRUE(waitFor([&] { return b->arrived.size() == 1; }));
  EXPECT_EQ(b->arrived[0].message->source(), routable("0", "77"));
  EXPECT_EQ(b->port->counters().tooLong, 1u);
  EXPECT_EQ(b->port->counters().malformed, 0u);
}

TEST_P(RawPacketPortTest, WhatTheKernelDropsBeforeItIsReadIsCounted) {
  ASSERT_NO_FATAL_FAILURE(join(1));
  b->port->receiveBufferIs(4096);
  const auto accounted = [&] { return b->arrived.size() + b->port->counters().kernelDropped; };
  for (uint32_t sent = 1; sent <= 602; sent += 301) {
    for (int i = 0; i < 300; ++i) EXPECT_TRUE(a->sendHello("a0"));
    ASSERT_TRUE(waitFor([&] { return b->arrived.size() >= sent / 301 + 1; }));
    settle();
    EXPECT_TRUE(a->sendHello("a0")) << "which brings the news of the drops";
    EXPECT_TRUE(waitFor([&] { return accounted() == sent + 300; })) << accounted();
  }
  EXPECT_LT(b->arrived.size(), 300u);
}

FOR_BOTH_FAMILIES(RawPacketPortTest);

}  // namespace
