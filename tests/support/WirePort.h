/// A packet port whose wire is the test.
#pragma once

#include <vector>

#include "tests/support/FakePort.h"

namespace Test {

class WirePort : public Routing::Pim::IO::PacketPort {
 public:
  struct Sent {
    Pax::IntfId intfId;
    Pax::IpGenAddr source;
    Pax::IpGenAddr destination;
    std::vector<uint8_t> bytes;
    Kiv::Ptr<Routing::Pim::Packet::Message> message;  ///< as a peer decodes it
  };
  using PacketPort::PacketPort;

  std::vector<Sent> sent;
  bool broken = false;

  void hear(const Pax::IntfId &intfId, const Pax::IpGenAddr &source, const Pax::IpGenAddr &destination,
            const std::vector<uint8_t> &bytes) {
    receive({intfId, source, destination, bytes});
  }
  /// To ALL-PIM-ROUTERS.
  void hear(const Pax::IntfId &intfId, const Pax::IpGenAddr &source, const Routing::Pim::Packet::Message &message) {
    std::vector<uint8_t> bytes;
    Routing::Pim::Packet::Codec(af()).encode(message, source, Pax::allPimRouters(af()), bytes);
    hear(intfId, source, Pax::allPimRouters(af()), bytes);
  }

 protected:
  bool transmit(const Routing::Pim::IO::Outgoing &packet) override {
    if (broken) return false;
    auto result = Routing::Pim::Packet::Codec(af()).decode(packet.payload, packet.source, packet.destination);
    sent.push_back({packet.intfId,
                    packet.source,
                    packet.destination,
                    {packet.payload.begin(), packet.payload.end()},
                    result.message});
    return true;
  }
};

}  // namespace Test
