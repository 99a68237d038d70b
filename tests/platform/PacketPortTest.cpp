#include "platform/pim/PacketPort.h"

#include <gtest/gtest.h>

#include <functional>

#include "platform/pim/MessageInfo.h"
#include "platform/tracelet/Sinks.h"
#include "tests/support/Addresses.h"
#include "tests/support/BsmBuilder.h"
#include "tests/support/Counts.h"
#include "tests/support/PacketText.h"
#include "tests/support/WirePort.h"

namespace Test {
namespace {

using namespace Routing::Pim::Packet;

// A router with PIM on at eth1, onLink(1) there, where it knows onLink(2); host(1) is its own.
struct Router {
  explicit Router(const Addresses &addresses) : a(addresses) {
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

class Listener : public Routing::Pim::IO::MessageConsumer, public Routing::Pim::IO::HelloSide {
 public:
  uint32_t heard = 0;
  std::function<void(const Pax::IntfId &)> first;
  void messageIs(const Pax::IntfId &, const Kiv::Ptr<Message> &) override { ++heard; }
  void helloFirst(const Pax::IntfId &intfId) override { first(intfId); }
  void spokeOtherwise(const Pax::IntfId &, const Pax::IpGenAddr &) override {}
};

TEST(PacketPortTest, whatIsNotForTheAgentIsDroppedAndCountedByItsReasonAlone) {
  for (const Addresses &a : {ipv4, ipv6}) {
    const Addresses &other = a.ipv4() ? ipv6 : ipv4;
    const Pax::IpGenAddr all = Pax::allPimRouters(a.af), neighbor = a.onLink(2), stranger = a.onLink(3);
    const Kiv::Ptr<Message> forward = Kiv::Ptr<BootstrapMessage>(Bsm(a.host(9)));
    const Kiv::Ptr<Message> ours = Kiv::Ptr<BootstrapMessage>(Bsm(a.host(1)));
    const Kiv::Ptr<Message> noForward = Kiv::Ptr<BootstrapMessage>(Bsm(a.host(9)).noForward());
    const Kiv::Ptr<Message> oursNoForward = Kiv::Ptr<BootstrapMessage>(Bsm(a.host(1)).noForward());
    const Kiv::Ptr<Message> hello = Kiv::make<HelloMessage>();
    const auto advertisement = Kiv::make<CrpAdvMessage>();
    advertisement->rpAddressIs(a.host(7));
    const auto broken = [](auto &bytes) { bytes[2] ^= 1; };
    const auto cut = [&](auto &bytes) {
      bytes.resize(bytes.size() / 2);
      seal(bytes, neighbor, all);
    };
    const auto foreign = [&](auto &bytes) {
      const Kiv::Ptr<BootstrapMessage> bsm = Bsm(other.host(9)).group(other.group(1), {});
      Codec(other.af).encode(*bsm, neighbor, all, bytes);
      seal(bytes, neighbor, all);
    };
    const auto joinPrune = [&](auto &bytes) { bytes[0] = 0x23; };
    const Counts received{{"received", 1}}, badHello{{"badHello", 1}}, wrongFamily{{"wrongFamily", 1}};
    const Counts badSource{{"malformed", 1}, {"source", 1}};
    const Pax::IpGenAddr loopback = a.ipv4() ? Pax::IpGenAddr::v4(0x7f000002) : Pax::IpGenAddr::v6(0, 1);
    const Pax::IpGenAddr broadcast = a.ipv4() ? Pax::IpGenAddr::v4(0xffffffff) : Pax::allPimRouters(a.af);
    const struct {
      const char *what;
      Kiv::Ptr<Message> message;
      Pax::IpGenAddr source, destination;
      Counts counts;
      std::function<void(std::vector<uint8_t> &)> change = nullptr;
      bool pimOff = false;
    } cases[] = {
        {"taken", forward, neighbor, all, received},
        {"forwardable from a stranger", forward, stranger, all, received},
        {"forwardable of our own", ours, neighbor, all, received},
        {"no-forward from a neighbor", noForward, neighbor, all, received},
        {"no-forward from a stranger", noForward, stranger, all, {{"noFwdNoHello", 1}}},
        {"no-forward of our own", oursNoForward, neighbor, all, {{"noFwdOwnAddress", 1}}},
        {"advertisement from afar", advertisement, a.host(7), a.host(1), received},
        {"PIM off", forward, neighbor, all, {{"pimOff", 1}}, nullptr, true},
        {"source of the other family", forward, other.onLink(2), all, wrongFamily},
        {"destination of the other family", forward, neighbor, Pax::allPimRouters(other.af), wrongFamily},
        {"BSR of the other family", forward, neighbor, all, {{"malformed", 1}, {"family", 1}}, foreign},
        {"too short", forward, neighbor, all, {{"malformed", 1}, {"truncated", 1}}, cut},
        {"broken", forward, neighbor, all, {{"malformed", 1}, {"checksum", 1}}, broken},
        {"other routers' talk", forward, neighbor, all, {{"noConsumer", 1}}, joinPrune},
        {"Hello from a stranger", hello, stranger, all, received},
        {"Hello to us alone", hello, stranger, a.onLink(1), badHello},
        {"Hello from afar", hello, a.host(3), all, a.ipv4() ? received : badHello},
        {"Hello from nowhere", hello, a.ipv4() ? Pax::IpGenAddr::v4(0) : Pax::IpGenAddr::v6(0, 0), all, badSource},
        {"BSM from a group", forward, a.group(1).address(), all, badSource},
        {"advertisement from loopback", advertisement, loopback, a.host(1), badSource},
        {"Hello from everybody", hello, broadcast, all, badSource},
    };
    for (const auto &c : cases) {
      Router router(a);
      auto manager = Kiv::make<Routing::Pim::IO::PamManager>(router.port, Routing::Pim::IO::PamManager::Parameters{});
      const auto bsms = manager->messageInfoIs(MessageType::bootstrap);
      const auto advertisements = manager->messageInfoIs(MessageType::crpAdv);
      Listener hellos;
      router.port->consumerIs(MessageType::hello, &hellos);
      std::vector<uint8_t> bytes;
      Codec(a.af).encode(*c.message, c.source, c.destination, bytes);
      if (c.change) c.change(bytes);
      const auto counts = [&] {
        const Counts before = countsOf(router.port->counters());
        router.port->hear(c.pimOff ? router.eth2 : router.eth1, c.source, c.destination, bytes);
        return grown(before, countsOf(router.port->counters()));
      };
      const Tracelet::CaptureSink traces(1);
      EXPECT_EQ(counts(), c.counts) << c.what;
      const bool isTaken = c.counts == received;
      EXPECT_EQ(bsms->rx()->count() + advertisements->rx()->count() + hellos.heard, isTaken ? 1u : 0u) << c.what;
      EXPECT_EQ(traces.count("Dropping"), isTaken || c.counts.contains("noConsumer") ? 0u : 1u) << c.what;
      manager = nullptr;
      if (isTaken && c.message != hello) EXPECT_EQ(counts(), (Counts{{"noConsumer", 1}})) << c.what;
    }
  }
}

TEST(PacketPortTest, interfacesWithPimMayComeAndGoAndBeMany) {
  Router router(ipv4);
  const auto intf = [](uint32_t n) { return Pax::IntfId("default", "ppp" + std::to_string(n)); };
  const auto sendOnAll = [&] {
    router.port->sent.clear();
    uint32_t sent = 0;
    for (uint32_t n = 0; n < 40; ++n) sent += router.port->send(intf(n), HelloMessage());
    return sent;
  };
  EXPECT_EQ(sendOnAll(), 0u);
  for (uint32_t n = 0; n < 40; ++n) router.status->pimIntfIs(intf(n))->addressIs(ipv4.host(n + 1));
  EXPECT_EQ(sendOnAll(), 40u);
  for (uint32_t n = 0; n < 40; ++n) EXPECT_EQ(router.port->sent.at(n).source, ipv4.host(n + 1));
  router.status->pimIntfDel(intf(39));
  EXPECT_FALSE(router.port->send(intf(39), HelloMessage()));
  EXPECT_EQ(sendOnAll(), 39u);
  router.port->hear(intf(39), ipv4.onLink(2), HelloMessage());
  EXPECT_EQ(router.port->counters().pimOff, 1u);
}

TEST(PacketPortTest, aBootstrapMessageLeavesFromThePimAddressAfterAHello) {
  for (const Addresses &a : {ipv4, ipv6}) {
    Router router(a);
    Listener hook;
    hook.first = [&](const Pax::IntfId &intfId) { router.port->send(intfId, HelloMessage()); };
    router.port->helloSideIs(&hook);
    const Kiv::Ptr<BootstrapMessage> bsm = Bsm(a.host(9)).group(a.group(1), {{a.host(5), 150, 0}});
    bsm->sourceIs(a.host(77));
    bsm->destinationIs(a.host(78));
    EXPECT_TRUE(router.port->send(router.eth1, *bsm));
    ASSERT_EQ(router.port->sent.size(), 2u);
    EXPECT_EQ(router.port->sent[0].message->type(), MessageType::hello);
    bsm->sourceIs(a.onLink(1));
    EXPECT_EQ(router.port->sent[1].destination, Pax::allPimRouters(a.af));
    EXPECT_EQ(textOf(*router.port->sent[1].message), textOf(*bsm));
    const Tracelet::CaptureSink traces(1);
    EXPECT_FALSE(router.port->send(router.eth2, *bsm)) << "no PIM there";
    EXPECT_EQ(traces.count("Cannot send"), 2u);
    EXPECT_EQ(grown({}, countsOf(router.port->counters())), (Counts{{"sent", 2}, {"sendFailed", 2}}));
  }
}

TEST(PacketPortTest, anAdvertisementLeavesFromTheRpInPiecesThatIpv6ReceiversTake) {
  for (const Addresses &a : {ipv4, ipv6}) {
    for (const size_t count : {0u, 100u, 101u, 255u, 256u}) {
      Router router(a);
      CrpAdvMessage message;
      message.destinationIs(a.host(50));
      message.rpAddressIs(a.host(7));
      message.priorityIs(192);
      message.holdTimeIs(180);
      message.prefixCountIs(static_cast<uint8_t>(std::min<size_t>(count, 255)));
      auto &group = message.groupData()->groupInfo()->group;
      for (uint32_t n = 0; n < count; ++n) group.push_back({a.group(n)});
      EXPECT_TRUE(router.port->send({}, message));
      std::vector<CrpGroup> arrived;
      for (const auto &sent : router.port->sent) {
        const auto &piece = static_cast<const CrpAdvMessage &>(*sent.message);
        EXPECT_EQ(std::tuple(sent.source, sent.destination, piece.rpAddress(), piece.priority(), piece.holdTime()),
                  std::tuple(a.host(7), a.host(50), a.host(7), 192, 180));
        if (!a.ipv4()) EXPECT_LE(sent.bytes.size() + 40, 2100u);
        const auto &part = piece.groupData()->groupInfo()->group;
        arrived.insert(arrived.end(), part.begin(), part.end());
      }
      if (a.ipv4())
        EXPECT_EQ(router.port->sent[0].bytes.size(), 14 + 8 * count) << "a 256th is written but not counted";
      EXPECT_EQ(router.port->sent.size(), a.ipv4() || count == 0 ? 1 : (std::min<size_t>(count, 255) + 99) / 100);
      group.resize(std::min<size_t>(count, 255));
      EXPECT_EQ(arrived, group);
      EXPECT_EQ(router.port->counters().sent, 1u);
    }
  }
}

}  // namespace
}  // namespace Test
