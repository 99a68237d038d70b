#include "platform/sim/Frame.h"

#include "platform/sim/Intf.h"
#include "platform/sim/Link.h"

namespace Sim {

void Frame::fill(Link &link, Intf &sender, const Packet &packet, Intf *receiver, uint32_t hops) {
  link_ = &link;
  sender_ = &sender;
  receiver_ = receiver;
  hops_ = hops;
  source_ = packet.source;
  destination_ = packet.destination;
  bytes_.assign(packet.payload.begin(), packet.payload.end());
}

Packet Frame::packetAt(const Intf &intf) const { return {intf.intfId(), source_, destination_, bytes_}; }

void Frame::happen() {
  link_->arrive(*this);
  frames_.idleIs(*this);
}

Frame &Frames::idle() {
  if (idle_.empty()) return *frames_.emplace_back(std::make_unique<Frame>(time_, *this));
  Frame &frame = *idle_.back();
  idle_.pop_back();
  return frame;
}

bool Frames::idleDel() {
  if (idle_.size() != frames_.size()) return false;
  idle_ = {};
  frames_.clear();
  return true;
}

}  // namespace Sim
