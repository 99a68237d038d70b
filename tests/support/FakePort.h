/// A packet port that keeps what is sent, and the routes that it asks.
#pragma once

#include <map>
#include <vector>

#include "platform/pim/PacketPort.h"

namespace Test {

namespace Pim = Routing::Pim;

/// Answers that a test sets; nothing else is routed.
class FakeRoutes : public Routing::RouteLookup {
 public:
  std::map<Pax::IpGenAddr, Routing::RouteAnswer> answer;
  const Routing::RouteAnswer &lookup(const Pax::IpGenAddr &destination) override {
    static const Routing::RouteAnswer none;
    const auto found = answer.find(destination);
    return found == answer.end() ? none : found->second;
  }
};

/// Keeps the messages sent, as a peer would decode them.
class FakePort : public Pim::IO::PacketPort {
 public:
  struct Sent {
    Pax::IntfId intfId;
    Kiv::Ptr<Pim::Packet::BootstrapMessage> bsm;
    size_t bytes;
  };
  FakePort(Pax::AddressFamily af, const Kiv::Ptr<const Pim::Status> &status, const Kiv::Ptr<FakeRoutes> &routes)
      : PacketPort(af, status, routes), af_(af) {}

  std::vector<Sent> sent;
  std::vector<Kiv::Ptr<Pim::Packet::CrpAdvMessage>> advertised;
  bool broken = false;
  std::string settings;  ///< of its socket, in the order in which they came
  void receiveBufferIs(uint32_t bytes) override { settings += std::to_string(bytes) + ' '; }
  void maxPacketIs(uint32_t bytes) override { settings += std::to_string(bytes) + ' '; }
  void transparentIs(bool transparent) override { settings += transparent ? "transparent " : ""; }

  void hear(const Pax::IntfId &intfId, const Pax::IpGenAddr &source, const Pax::IpGenAddr &destination,
            const Pim::Packet::Message &message) {
    std::vector<uint8_t> bytes;
    Pim::Packet::Codec(af_).encode(message, source, destination, bytes);
    receive({intfId, source, destination, bytes});
  }

 protected:
  bool transmit(const Pim::IO::Outgoing &packet) override {
    if (broken) return false;
    // A codec of its own for each: a decoded record would else be filled again by the next.
    auto result = Pim::Packet::Codec(af_).decode(packet.payload, packet.source, packet.destination);
    if (!result.message) return true;
    if (result.message->type() == Pim::Packet::MessageType::crpAdv) {
      advertised.emplace_back(static_cast<Pim::Packet::CrpAdvMessage *>(result.message.get()));
      return true;
    }
    Kiv::Ptr<Pim::Packet::BootstrapMessage> bsm(static_cast<Pim::Packet::BootstrapMessage *>(result.message.get()));
    sent.push_back({packet.intfId, bsm, packet.payload.size()});
    return true;
  }

 private:
  const Pax::AddressFamily af_;
};

}  // namespace Test
