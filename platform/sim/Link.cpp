#include "platform/sim/Link.h"

#include <algorithm>

#include "platform/sim/Router.h"

namespace Sim {

Link::Link(VirtualTime &time, Frames &frames, std::string name, const Pax::IpGenPrefix &subnet,
           const LinkParameters &parameters, uint64_t seed, std::function<void()> topologyChanged)
    : time_(time),
      frames_(frames),
      parameters_(parameters),
      name_(std::move(name)),
      subnet_(subnet),
      random_(seed),
      topologyChanged_(std::move(topologyChanged)) {}

void Link::parametersIs(const LinkParameters &parameters) {
  const bool costs = parameters_.cost != parameters.cost;
  parameters_ = parameters;
  for (Intf *member : members_) member->status()->mtuIs(parameters.mtu);
  if (costs) topologyChanged_();
}

void Link::cutIs(bool cut) {
  if (isCut_ == cut) return;
  isCut_ = cut;
  topologyChanged_();
}

void Link::memberIs(Intf &intf) {
  if (members_.size() < ends_.size()) ends_[members_.size()] = &intf;
  members_.push_back(&intf);
  topologyChanged_();
}

Intf *Link::memberWith(const Pax::IpGenAddr &address) const {
  const auto found = std::find_if(members_.begin(), members_.end(),
                                  [&](const Intf *member) { return member->status()->address().contains(address); });
  return found == members_.end() ? nullptr : *found;
}

Intf *Link::peerOf(const Intf &intf) const {
  if (members_.size() != ends_.size()) return nullptr;
  return ends_[0] == &intf ? ends_[1] : ends_[0];
}

bool Link::send(Intf &sender, const Packet &packet, Intf *receiver, uint32_t hops) {
  const size_t ipHeader = packet.source.af() == Pax::AddressFamily::ipv4 ? 20 : 40;
  if (!receiver && ipHeader + packet.payload.size() > parameters_.mtu) {
    ++counters_.tooBig;
    return false;
  }
  ++counters_.sent;
  if (tap_) tap_(packet);
  if (isCut_) {
    ++counters_.cut;
  } else if (receiver || parameters_.jitter == 0) {
    dispatch(sender, packet, receiver, hops, parameters_.delay);
  } else {
    for (Intf *member : members_) {
      if (member == &sender) continue;
      dispatch(sender, packet, member, hops, parameters_.delay + random_.uniform(0, parameters_.jitter));
    }
  }
  return true;
}

void Link::dispatch(Intf &sender, const Packet &packet, Intf *receiver, uint32_t hops, double delay) {
  Frame &frame = frames_.idle();
  if (!receiver) receiver = peerOf(sender);
  const Orb::Footprint *const footprint = receiver ? &receiver->footprint() : nullptr;
  if (footprint) footprint->fetch();
  frame.fill(*this, sender, packet, receiver, hops);
  time_.schedule(frame, time_.now() + delay, footprint);
}

void Link::arrive(const Frame &frame) {
  if (isCut_) {
    ++counters_.cut;
  } else if (frame.receiver()) {
    deliver(*frame.receiver(), frame);
  } else {
    for (Intf *member : members_) {
      if (member != frame.sender()) deliver(*member, frame);
    }
  }
}

void Link::deliver(Intf &receiver, const Frame &frame) {
  if (parameters_.loss > 0 && random_.uniform(0, 1) < parameters_.loss) {
    ++counters_.lost;
    return;
  }
  ++counters_.delivered;
  receiver.router().receive(receiver, frame.packetAt(receiver), frame.hops());
}

}  // namespace Sim
