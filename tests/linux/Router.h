/// One VRF's services in a namespace, without the Hello speaker: the test says where PIM is on.
#pragma once

#include <memory>
#include <vector>

#include "platform/linux/KernelRouteLookup.h"
#include "platform/linux/RawPacketPort.h"
#include "platform/linux/VrfLinks.h"

namespace Test {

class Router {
 public:
  Router(Linux::EventLoop &loop, const std::string &netns, Pax::AddressFamily family)
      : where(std::make_shared<const Linux::Namespace>(netns)),
        routes(Kiv::make<Linux::KernelRouteLookup>(*where, 0, links, interfaces)),
        port(Kiv::make<Linux::RawPacketPort>(loop, where, 0, family, status, routes, links)),
        monitor(std::make_shared<Linux::NetlinkMonitor>(loop, where, family)),
        listening(monitor->listen([this] { ++completed; })),
        vrfLinks(monitor, 0, netns, interfaces, links) {
    port->consumerIs(Routing::Pim::Packet::MessageType::hello, &arrived);
    port->consumerIs(Routing::Pim::Packet::MessageType::bootstrap, &arrived);
    port->consumerIs(Routing::Pim::Packet::MessageType::crpAdv, &arrived);
  }

  Pax::IntfId id(const std::string &name) const { return {where->name(), name}; }
  Kiv::Ptr<Ip::IntfStatus> intf(const std::string &name) const { return interfaces->intfStatus(id(name)); }
  Pax::IpGenAddr pimAddr(const std::string &name) const {
    return intf(name) ? intf(name)->pimAddr() : Pax::IpGenAddr();
  }
  /// Turns PIM on where the interface has a PIM address.
  void pimOn(const std::string &name) { status->pimIntfIs(id(name))->addressIs(pimAddr(name)); }
  bool sendHello(const std::string &name) { return port->send(id(name), Routing::Pim::Packet::HelloMessage()); }

  struct Arrival {
    Pax::IntfId intfId;
    Kiv::Ptr<Routing::Pim::Packet::Message> message;
  };
  struct Arrivals : Routing::Pim::IO::MessageConsumer, std::vector<Arrival> {
    void messageIs(const Pax::IntfId &intfId, const Kiv::Ptr<Routing::Pim::Packet::Message> &message) override {
      push_back({intfId, message});
    }
  };

  int completed = 0;
  Arrivals arrived;
  const std::shared_ptr<const Linux::Namespace> where;
  const Kiv::Ptr<Ip::AllIntfStatusDir> interfaces = Kiv::make<Ip::AllIntfStatusDir>();
  const Kiv::Ptr<Routing::Pim::Status> status = Kiv::make<Routing::Pim::Status>("status");
  const Kiv::Ptr<Linux::LinkTable> links = Kiv::make<Linux::LinkTable>();
  const Kiv::Ptr<Linux::KernelRouteLookup> routes;
  const Kiv::Ptr<Linux::RawPacketPort> port;
  const std::shared_ptr<Linux::NetlinkMonitor> monitor;
  const Linux::NetlinkMonitor::Listening listening;
  const Linux::VrfLinks vrfLinks;
};

}  // namespace Test
