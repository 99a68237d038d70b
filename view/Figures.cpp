#include "view/Figures.h"

#include <algorithm>
#include <array>

#include "engine/PublishedRpSet.h"
#include "view/Drops.h"
#include "view/Json.h"
#include "view/ZoneView.h"

namespace Routing::Pim::Bsr {

namespace {

constexpr size_t slice = 1000;  // RPs, less than a millisecond

uint64_t mixed(uint64_t sum, uint64_t word) {
  sum = (sum ^ word) * 0x9e3779b97f4a7c15;
  sum = (sum ^ (sum >> 32)) * 0xff51afd7ed558ccd;
  return sum ^ (sum >> 29);
}

constexpr const char *received = "received", *sent = "sent", *accepted = "accepted", *refused = "refused",
                     *failed = "failed";
constexpr const char *hello = "hello", *bootstrap = "bootstrap", *advertisement = "advertisement", *any = "any";

struct Drop {
  const char *type;
  const char *reason;
  uint32_t Flume::PacketCounters::*number;
};
constexpr std::array drops{
    Drop{any, "wrongFamily", &Flume::PacketCounters::wrongFamily},
    Drop{any, "pimOff", &Flume::PacketCounters::pimOff},
    Drop{any, "tooLong", &Flume::PacketCounters::tooLong},
    Drop{any, "kernelDropped", &Flume::PacketCounters::kernelDropped},
    Drop{hello, "badHello", &Flume::PacketCounters::badHello},
    Drop{hello, "neighborsOverLimit", &Flume::PacketCounters::neighborsOverLimit},
    Drop{bootstrap, "noFwdNoHello", &Flume::PacketCounters::noFwdNoHello},
    Drop{bootstrap, "noFwdOwnAddress", &Flume::PacketCounters::noFwdOwnAddress},
    Drop{bootstrap, "contradictingFragments", &Flume::PacketCounters::contradictingFragments},
    Drop{bootstrap, "fragmentsOverLimit", &Flume::PacketCounters::fragmentsOverLimit},
};

VrfFigures::Zone zoneOf(const VrfView &view, const Pax::IpGenPrefix &prefix) {
  const ZoneView from(view, prefix);
  VrfFigures::Zone zone;
  zone.elected = from.isOwn();
  if (!from.bsr) return zone;
  zone.bsr = from.bsr->ipAddr();
  zone.priority = from.bsr->priority();
  zone.upTime = std::max(0.0, view.now - from.bsr->setupTime());
  if (const double last = from.lastBsmAt(); last > 0) zone.messageAge = std::max(0.0, view.now - last);
  return zone;
}

}  // namespace

void RpSetDigest::add(const Pax::IpGenPrefix &range, const Pax::IpGenAddr &address, const Pim::RpCandidate &rp) {
  uint64_t sum = range.length();
  for (const uint64_t word : {range.address().high(), range.address().low(), address.high(), address.low(),
                              uint64_t{rp.pimMode()}, uint64_t{rp.priority()}, uint64_t{rp.hashMaskLen().number()}}) {
    sum = mixed(sum, word);
  }
  sum_ += sum;
}

bool VrfFigures::readOn(const VrfView &view) {
  if (!begun_) begin(view);
  if (!view.bsrSm) return false;
  for (size_t rps = 0; rps < slice;) {
    const auto published = view.bsrSm->published().nextBehind(last_);
    if (!published) return false;
    Zone &zone = zones[published->zone];
    for (const auto &[address, rp] : published->set->rp()) {
      ++zone.rps[rp->pimMode()];
      zone.digest.add(published->prefix, address, *rp);
    }
    rps += 1 + published->set->rp().size();
    last_ = published->prefix;
  }
  return true;
}

void VrfFigures::begin(const VrfView &view) {
  begun_ = true;
  running = view.bsrSm;
  for (const Pax::IpGenPrefix &zone : zonesBehind(view, {})) zones.emplace(zone, zoneOf(view, zone));
  if (view.pimStatus) {
    for (const Pax::IntfId &intfId : sortedKeys(view.pimStatus->pimIntf())) {
      neighbors.emplace_back(intfId, view.pimStatus->pimIntf(intfId)->neighbor().size());
    }
  }
  limits = view.status->limits();
  if (const auto counters = view.status->counters()) {
    refusals = counters->limitCounters();
    readAgentMessages(*counters);
  }
  if (view.drops) echoes = view.drops->echoes(view.vrf);
  if (view.messages) readPackets(*view.messages);
}

void VrfFigures::readAgentMessages(const PimBsrCounters &counters) {
  const PimBsrErrorCounters &errors = counters.errCounters();
  messages.push_back({received, bootstrap, accepted, "", counters.rxBsmSuccess()});
  messages.push_back({received, bootstrap, refused, "rpfError", errors.rpfError});
  messages.push_back({received, bootstrap, refused, "noFwdBsmError", errors.noFwdBsmError});
  messages.push_back({received, bootstrap, refused, "deniedError", errors.deniedError - errors.deniedCrpAdv});
  messages.push_back({received, bootstrap, refused, "unicastBsmError", errors.unicastBsmError});
  messages.push_back({received, bootstrap, refused, "unknownDestError", errors.unknownDestError});
  messages.push_back({received, advertisement, accepted, "", counters.rxCrpAdvSuccess()});
  messages.push_back({received, advertisement, refused, "deniedError", errors.deniedCrpAdv});
  messages.push_back({received, advertisement, refused, "notBsrError", errors.notBsrError});
}

void VrfFigures::readPackets(const Flume::MessageCounters &counters) {
  using Packet::MessageType;
  const Flume::PacketCounters &packets = counters.packets;
  refusedNeighbors = packets.neighborsOverLimit;
  messages.push_back({received, hello, accepted, "", counters.ofType(MessageType::hello).received});
  messages.push_back({received, any, "ignored", "noConsumer", packets.noConsumer});
  for (const auto &[type, reason, number] : drops) {
    messages.push_back({received, type, refused, reason, packets.*number});
  }
  for (size_t i = 0; i < packets.malformedBy.size(); ++i) {
    const auto error = static_cast<Packet::DecodeError>(i);
    if (error == Packet::DecodeError::none || error == Packet::DecodeError::type) continue;
    messages.push_back(
        {received, any, refused, std::string("malformed ") + Packet::toText(error), packets.malformedBy[i]});
  }
  for (const auto &[number, type] : {std::pair(MessageType::hello, hello), std::pair(MessageType::bootstrap, bootstrap),
                                     std::pair(MessageType::crpAdv, advertisement)}) {
    messages.push_back({sent, type, sent, "", counters.ofType(number).sent});
    messages.push_back({sent, type, failed, "", counters.ofType(number).sendFailed});
  }
}

}  // namespace Routing::Pim::Bsr
