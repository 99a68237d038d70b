#include "platform/pim/PacketPort.h"

#include <gtest/gtest.h>

#include <functional>

#include "platform/pim/MessageInfo.h"
#include "platform/tracelet/Sinks.h"
#include "tests/support/Addresses.h"
#include "tests/support/BsmBuilder.h"
#include "tests/support/PacketText.h"
#include "tests/support/WirePort.h"

namespace Test {
namespace {

using namespace Routing::Pim::Packet;
using Routing::Pim::Flume::PacketCounters;

/// A router with PIM on at eth1, onLink(1) there, where it knows onLink(2); host(1) is its own.
struct PortFixture {
  explicit PortFixture(const Addresses &addresses) : a(addresses) {
    const auto pimIntf = status->pimIntfIs(eth1);
    pimIntf->addressIs(a.onLink(1));
    pimIntf->neighborIs(a.onLink(2));
    routes->answer[a.host(1)] = {Routing::RouteAnswer::Kind::local, {}};
  }
  const Addresses a;
  const Pax::IntfId eth1{"default", "eth1"}, eth2{"default", "eth2"};
  Kiv::Ptr<Routing::Pim::Status> status = Kiv::make<Routing::Pim::Status>("default");
  Kiv::Ptr<FakeRoutes> routes = Kiv::make<FakeRoutes>();
  Kiv::Ptr<WirePort> port = Kiv::make<WirePort>(a.af, status, routes);
};

TEST(PacketPortTest, whatIsNotForTheAgentIsDroppedAndCountedByItsReason) {
  for (const Addresses &a : {ipv4, ipv6}) {
    const Addresses &other = a.ipv4() ? ipv6 : ipv4;
    const Kiv::Ptr<BootstrapMessage> forward = Bsm(a.host(9));
    const Kiv::Ptr<BootstrapMessage> noForward = Bsm(a.host(9)).noForward();
    const Kiv::Ptr<BootstrapMessage> ours = Bsm(a.host(1)).noForward();
    const Kiv::Ptr<BootstrapMessage> oursForward = Bsm(a.host(1));
    const auto hello = Kiv::make<HelloMessage>();
    const auto advertisement = Kiv::make<CrpAdvMessage>();
    advertisement->rpAddressIs(a.host(7));
    const Pax::IpGenAddr all = Pax::allPimRouters(a.af);
    const struct {
      const char *what;
      Kiv::Ptr<Message> message;
      Pax::IpGenAddr source, destination;
      bool on;
      uint32_t PacketCounters::*counter;
    } cases[] = {
        {"taken", forward, a.onLink(2), all, true, &PacketCounters::received},
        {"forwardable from a stranger", forward, a.onLink(3), all, true, &PacketCounters::received},
        {"forwardable of our own", oursForward, a.onLink(2), all, true, &PacketCounters::received},
        {"no-forward from a neighbor", noForward, a.onLink(2), all, true, &PacketCounters::received},
        {"no-forward from a stranger", noForward, a.onLink(3), all, true, &PacketCounters::noFwdNoHello},
        {"no-forward of our own", ours, a.onLink(2), all, true, &PacketCounters::noFwdOwnAddress},
        {"advertisement from afar", advertisement, a.host(7), a.host(1), true, &PacketCounters::received},
        {"PIM off", forward, a.onLink(2), all, false, &PacketCounters::pimOff},
        {"other family", forward, other.onLink(2), Pax::allPimRouters(other.af), true, &PacketCounters::wrongFamily},
        {"nobody asked", hello, a.onLink(3), all, true, &PacketCounters::noConsumer},
    };
    for (const auto &c : cases) {
      PortFixture f(a);
      Routing::Pim::IO::PamManager manager(f.port, {});
      const auto bsms = manager.messageInfoIs(MessageType::bootstrap);
      const auto advertisements = manager.messageInfoIs(MessageType::crpAdv);
      std::vector<uint8_t> bytes;
      Codec(a.af).encode(*c.message, c.source, c.destination, bytes);
      const Tracelet::CaptureSink traces(1);
      f.port->hear(c.on ? f.eth1 : f.eth2, c.source, c.destination, bytes);
      EXPECT_EQ(f.port->counters().*c.counter, 1u) << c.what;
      const bool isTaken = c.counter == &PacketCounters::received;
      EXPECT_EQ(bsms->rx()->count() + advertisements->rx()->count(), isTaken ? 1u : 0u) << c.what;
      EXPECT_EQ(traces.count("Dropping"), isTaken || c.counter == &PacketCounters::noConsumer ? 0u : 1u) << c.what;
    }
  }
}

class Listener : public Routing::Pim::IO::MessageConsumer, public Routing::Pim::IO::BeforeBootstrap {
 public:
  uint32_t heard = 0;
  std::function<void(const Pax::IntfId &)> first;
  void messageIs(const Pax::IntfId &, const Kiv::Ptr<Message> &) override { ++heard; }
  void helloFirst(const Pax::IntfId &intfId) override { first(intfId); }
};

TEST(PacketPortTest, aHelloCountsOnlyFromANeighborToAll) {
  for (const Addresses &a : {ipv4, ipv6}) {
    const struct {
      Pax::IpGenAddr source, destination;
      bool isTaken;
    } cases[] = {
        {a.onLink(3), Pax::allPimRouters(a.af), true},
        {a.onLink(3), a.onLink(1), false},
        {a.host(3), Pax::allPimRouters(a.af), a.ipv4()},
        {a.ipv4() ? Pax::IpGenAddr::v4(0) : Pax::IpGenAddr::v6(0, 0), Pax::allPimRouters(a.af), false},
        {a.group(1).address(), Pax::allPimRouters(a.af), false},
    };
    for (const auto &c : cases) {
      PortFixture f(a);
      Listener listener;
      f.port->consumerIs(MessageType::hello, &listener);
      std::vector<uint8_t> bytes;
      Codec(a.af).encode(HelloMessage(), c.source, c.destination, bytes);
      f.port->hear(f.eth1, c.source, c.destination, bytes);
      EXPECT_EQ(listener.heard, c.isTaken ? 1u : 0u) << c.source << " to " << c.destination;
      EXPECT_EQ(f.port->counters().badHello, c.isTaken ? 0u : 1u) << c.source << " to " << c.destination;
    }
  }
}

TEST(PacketPortTest, malformedIsCountedByTheReasonAndOtherRoutersTalkIsNot) {
  PortFixture f(ipv4);
  const auto hear = [&](const std::string &hex) {
    std::vector<uint8_t> bytes = bytesOf(hex);
    seal(bytes, ipv4.onLink(2), Pax::allPimRouters(ipv4.af));
    f.port->hear(f.eth1, ipv4.onLink(2), Pax::allPimRouters(ipv4.af), bytes);
  };
  hear("24000000 0000 1e40 010000000000");
  hear("24000000 0000 1e");
  hear("23000000 01000a000001 00000000");  // a Join/Prune
  EXPECT_EQ(f.port->counters().malformed, 2u);
  EXPECT_EQ(f.port->counters().malformedBy[static_cast<size_t>(DecodeError::unicast)], 1u);
  EXPECT_EQ(f.port->counters().malformedBy[static_cast<size_t>(DecodeError::truncated)], 1u);
  EXPECT_EQ(f.port->counters().noConsumer, 1u);
}

TEST(PacketPortTest, aBootstrapMessageLeavesFromThePimAddressAfterAHelloAndCountsWhenSent) {
  for (const Addresses &a : {ipv4, ipv6}) {
    PortFixture f(a);
    Listener hook;
    hook.first = [&](const Pax::IntfId &intfId) { f.port->send(intfId, HelloMessage()); };
    f.port->beforeBootstrapIs(&hook);
    Routing::Pim::IO::TransmitMessage tx(f.port);
    const Kiv::Ptr<BootstrapMessage> bsm = Bsm(a.host(9)).group(a.group(1), {{a.host(5), 150, 0}});
    bsm->sourceIs(a.host(77));
    tx.intfIdIs(f.eth1);
    tx.messageIs(bsm);
    tx.countInc();
    EXPECT_EQ(tx.count(), 1u);
    ASSERT_EQ(f.port->sent.size(), 2u);
    EXPECT_EQ(f.port->sent[0].message->type(), MessageType::hello);
    EXPECT_EQ(f.port->sent[1].source, a.onLink(1));
    EXPECT_EQ(f.port->sent[1].destination, Pax::allPimRouters(a.af));
    ASSERT_TRUE(f.port->sent[1].message);
    EXPECT_EQ(static_cast<const BootstrapMessage &>(*f.port->sent[1].message).bsrAddress(), a.host(9));

    const Tracelet::CaptureSink traces(1);
    tx.intfIdIs(f.eth2);  // no PIM there
    tx.countInc();
    f.port->broken = true;
    tx.intfIdIs(f.eth1);
    tx.countInc();
    EXPECT_EQ(tx.count(), 1u);
    EXPECT_EQ(f.port->counters().sent, 2u);
    EXPECT_EQ(f.port->counters().sendFailed, 4u);  // a Hello and the message each time
    EXPECT_EQ(traces.count("Cannot send"), 4u);
  }
}

TEST(PacketPortTest, anAdvertisementLeavesFromTheRpInPiecesThatIpv6ReceiversTake) {
  for (const Addresses &a : {ipv4, ipv6}) {
    for (const size_t count : {0u, 100u, 101u, 255u, 256u}) {
      PortFixture f(a);
      CrpAdvMessage message;
      message.destinationIs(a.host(50));
      message.rpAddressIs(a.host(7));
      message.priorityIs(192);
      message.holdTimeIs(180);
      message.prefixCountIs(static_cast<uint8_t>(std::min<size_t>(count, 255)));
      auto &group = message.groupData()->groupInfo()->group;
      for (uint32_t n = 0; n < count; ++n) group.push_back({a.group(n)});
      EXPECT_TRUE(f.port->send({}, message));
      std::vector<CrpGroup> arrived;
      for (const auto &sent : f.port->sent) {
        ASSERT_TRUE(sent.message);
        const auto &piece = static_cast<const CrpAdvMessage &>(*sent.message);
        EXPECT_EQ(std::tuple(sent.source, sent.destination, piece.rpAddress(), piece.priority(), piece.holdTime()),
                  std::tuple(a.host(7), a.host(50), a.host(7), 192, 180));
        if (!a.ipv4()) EXPECT_LE(sent.bytes.size() + 40, 2100u);
        const auto &part = piece.groupData()->groupInfo()->group;
        arrived.insert(arrived.end(), part.begin(), part.end());
      }
      if (a.ipv4()) EXPECT_EQ(f.port->sent[0].bytes.size(), 14 + 8 * count) << "a 256th is written but not counted";
      EXPECT_EQ(f.port->sent.size(), a.ipv4() || count == 0 ? 1 : (std::min<size_t>(count, 255) + 99) / 100);
      group.resize(std::min<size_t>(count, 255));
      EXPECT_EQ(arrived, group);
      EXPECT_EQ(f.port->counters().sent, 1u);
    }
  }
}

}  // namespace
}  // namespace Test
