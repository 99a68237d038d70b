/// A packet on its way over a link, and the memory of those that have arrived.
#pragma once

#include <memory>
#include <vector>

#include "platform/pim/PacketPort.h"
#include "platform/sim/VirtualTime.h"

namespace Sim {

class Frames;
class Intf;
class Link;

/// A packet, as an interface sends it.
using Packet = Routing::Pim::IO::Outgoing;

/// To one receiver, or to all others on the link.
class Frame : public Event {
 public:
  Frame(VirtualTime &time, Frames &frames) : Event(time), frames_(frames) {}
  /// Makes it a copy of the packet. A null receiver means all; `hops` is how many more routers it may cross.
  void fill(Link &link, Intf &sender, const Packet &packet, Intf *receiver, uint32_t hops);
  Intf *sender() const { return sender_; }
  Intf *receiver() const { return receiver_; }
  uint32_t hops() const { return hops_; }
  Packet packetAt(const Intf &intf) const;

 private:
  void happen() override;

  Frames &frames_;
  Link *link_ = nullptr;
  Intf *sender_ = nullptr;
  Intf *receiver_ = nullptr;
  uint32_t hops_ = 0;
  Pax::IpGenAddr source_;
  Pax::IpGenAddr destination_;
  std::vector<uint8_t> bytes_;
};

/// The frames of a network, which owns them. One that has arrived is the next to be sent, while it is still in the
/// caches.
class Frames {
 public:
  explicit Frames(VirtualTime &time) : time_(time) {}
  /// One that is not under way.
  Frame &idle();
  void idleIs(Frame &frame) { idle_.push_back(&frame); }
  /// Gives back the memory that packets have needed. False, with nothing done, while some are under way.
  bool idleDel();

 private:
  VirtualTime &time_;
  std::vector<std::unique_ptr<Frame>> frames_;  // all that were ever needed at once
  std::vector<Frame *> idle_;
};

}  // namespace Sim
