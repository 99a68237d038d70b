/// A router of one interface, as far as its Hellos go.
#pragma once

#include "platform/pim/HelloSpeaker.h"
#include "tests/support/Addresses.h"
#include "tests/support/ManualClock.h"
#include "tests/support/WirePort.h"

namespace Test {

/// What a neighbor says in a Hello.
struct Said {
  uint16_t holdTime = 105;
  std::optional<uint32_t> generationId = 1;
  std::optional<uint32_t> drPriority = 1;
  std::vector<Pax::IpGenAddr> list = {};
};

/// A router with one interface, eth1, where it is onLink(10), and its Hellos.
struct HelloRouter {
  explicit HelloRouter(const Addresses &addresses, const Routing::Pim::IO::HelloSpeaker::Parameters &parameters = {},
                       bool isUp = true)
      : a(addresses), intf(interfaces->intfStatusIs(eth1)) {
    speaker = Kiv::make<Routing::Pim::IO::HelloSpeaker>(status, interfaces, port, wheel, random, parameters);
    intf->mtuIs(1500);
    intf->upIs(isUp);
    addressIs(10);
    speaker->intfIs(eth1);
  }
  void addressIs(uint32_t n) {
    intf->addressDelAll();
    intf->addressIs(a.onLink(n), {Pax::IpGenPrefix(a.onLink(n), 24), false, a.ipv4(), true});
    intf->pimAddrIs(a.onLink(n));
  }
  Kiv::Ptr<Routing::Pim::PimIntf> pimIntf() const { return status->pimIntf(eth1); }
  Kiv::Ptr<Routing::Pim::PimNeighbor> neighbor(uint32_t n) const { return pimIntf()->neighbor(a.onLink(n)); }
  void hear(uint32_t from, const Said &said = {}) {
    Routing::Pim::Packet::HelloMessage hello;
    hello.holdTimeIs(said.holdTime);
    hello.generationIdIs(said.generationId);
    hello.drPriorityIs(said.drPriority);
    hello.addressList = said.list;
    port->hear(eth1, a.onLink(from), hello);
  }
  const Routing::Pim::Packet::HelloMessage &hello(size_t index) const {
    return static_cast<Routing::Pim::Packet::HelloMessage &>(*port->sent.at(index).message);
  }
  size_t hellos() const { return port->sent.size(); }
  const Routing::Pim::Packet::HelloMessage &lastHello() const { return hello(hellos() - 1); }
  /// Lets the seconds pass; how many Hellos went out in them.
  size_t hellosIn(double seconds) {
    const size_t before = hellos();
    time.advanceTo(time.now() + seconds);
    return hellos() - before;
  }

  const Addresses a;
  const Pax::IntfId eth1{"default", "eth1"};
  ManualTime time;
  Orb::Random random{7};
  Kiv::Ptr<Routing::Pim::Status> status = Kiv::make<Routing::Pim::Status>("default");
  Kiv::Ptr<Ip::AllIntfStatusDir> interfaces = Kiv::make<Ip::AllIntfStatusDir>();
  Kiv::Ptr<Ip::IntfStatus> intf;
  Kiv::Ptr<FakeRoutes> routes = Kiv::make<FakeRoutes>();
  Kiv::Ptr<WirePort> port = Kiv::make<WirePort>(a.af, status, routes);
  Kiv::Ptr<Orb::TimerWheel> wheel = Kiv::make<Orb::TimerWheel>(time, time);
  Kiv::Ptr<Routing::Pim::IO::HelloSpeaker> speaker;
};

}  // namespace Test
