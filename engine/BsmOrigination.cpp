// BsrCandidateSm: the messages that an elected BSR originates.

#include <algorithm>

#include "engine/BsrCandidateSm.h"
#include "model/VrfTrace.h"

namespace Routing::Pim::Bsr {

namespace {

Tracelet::Module trace("Pim::Bsr::CandidateSm");

constexpr size_t mostRps = 255;       // what the RP count of a block can say
constexpr size_t mostWithdrawn = 64;  // of them withdrawn ones

/// Lowest priority value first, then highest address.
bool better(const Packet::BootstrapRpData &one, const Packet::BootstrapRpData &other) {
  return one.priority != other.priority ? one.priority < other.priority : other.address < one.address;
}

}  // namespace

bool BsrCandidateSm::doSendBsm(bool shutDown) {
  VRF_TRACE_ENTRY_WITH(trace, " ( shutdown=" << (shutDown ? "True" : "False") << " )");
  if (!initialized_) return false;
  const auto bsm = Packet::BootstrapMessageIs();
  bsm->forwardIs(true);
  bsm->fragmentTagIs(static_cast<uint16_t>(random_.next()));
  bsm->hashMaskLenIs(static_cast<uint8_t>(candidate_->hashMaskLen()));
  bsm->priorityIs(shutDown ? bsMinPriority : static_cast<uint8_t>(candidate_->priority()));
  bsm->bsrAddressIs(candidate_->address());

  const auto zoneStatus = bsrStatus_->crpStatus(zone_);
  const auto status = zoneStatus ? zoneStatus->status() : nullptr;
  const auto setOf = [&](const Pax::IpGenPrefix &prefix) { return status ? status->crpSet(prefix) : nullptr; };
  const bool scoped = zone_ != bsrSm_.globalOrNonScopeZone();
  if (scoped) doAddGroupData(*bsm, zone_, setOf(zone_).get());
  std::vector<Pax::IpGenPrefix> prefixes = status ? status->crpSet().keys() : std::vector<Pax::IpGenPrefix>();
  for (const auto &[prefix, rps] : withdrawn_) {
    if (!setOf(prefix)) prefixes.push_back(prefix);
  }
  std::sort(prefixes.begin(), prefixes.end());
  for (const Pax::IpGenPrefix &prefix : prefixes) {
    if (!scoped || prefix != zone_) doAddGroupData(*bsm, prefix, setOf(prefix).get());
  }
  lastBsm_.bsmIs(bsm, bsrSm_.now());
  return bsrSm_.forwardBsm(zone_, bsm);
}

/// A block of the prefix's RPs; none for an empty set, the own block of a scoped zone aside.
void BsrCandidateSm::doAddGroupData(Packet::BootstrapMessage &bsm, const Pax::IpGenPrefix &prefix,
                                    const RpCandidateSet *set) {
  bool bidir = false;
  Packet::BootstrapGroupData::RpList rps = rpsToList(prefix, set, bidir);
  const bool zoneBlock = prefix == zone_ && zone_ != bsrSm_.globalOrNonScopeZone();
  if (rps.empty() && !zoneBlock) return;
  const auto block = Packet::BootstrapGroupDataIs(prefix);
  block->adminScopeIs(zoneBlock);
  block->bidirIs(bidir);
  block->rpCountIs(static_cast<uint8_t>(rps.size()));
  block->fragmentRpCountIs(static_cast<uint8_t>(rps.size()));
  block->rpListIs(std::move(rps));
  bsm.optionalData()->groupDataEnq(block);
}

/// The live RPs of the prefix, of one mode since a block has one flag for all, and the withdrawn ones
/// with hold time 0: receivers drop an RP only when a message says so, or after its hold time.
Packet::BootstrapGroupData::RpList BsrCandidateSm::rpsToList(const Pax::IpGenPrefix &prefix, const RpCandidateSet *set,
                                                             bool &bidir) {
  Packet::BootstrapGroupData::RpList sparseRps;
  Packet::BootstrapGroupData::RpList bidirRps;
  if (set) {
    for (const auto &[address, rp] : set->rp()) {
      if (rp->holdTime() == 0) continue;
      auto &list = rp->pimMode() == Mode::bidir ? bidirRps : sparseRps;
      list.push_back({address, rp->holdTime(), static_cast<uint8_t>(rp->priority())});
    }
  }
  if (!sparseRps.empty() && !bidirRps.empty()) {
    VRF_TRACE(trace, 1, "RPs of both modes for " << prefix << ". Sending only the bidirectional ones");
  }
  const auto withdrawn = takeWithdrawn(prefix);
  bidir = !bidirRps.empty() || (sparseRps.empty() && !withdrawn.empty() && withdrawn.begin()->second == Mode::bidir);
  Packet::BootstrapGroupData::RpList rps = bidirRps.empty() ? std::move(sparseRps) : std::move(bidirRps);
  std::sort(rps.begin(), rps.end(), better);
  const size_t room = mostRps - withdrawn.size();
  if (rps.size() > room) {
    VRF_TRACE(trace, 1, rps.size() << " RPs for " << prefix << ". Sending the best " << room);
    rps.resize(room);
  }
  for (const auto &[address, mode] : withdrawn) rps.push_back({address, 0, 0});
  return rps;
}

/// Those to be listed now, the least often listed first; what a message should not be filled with
/// waits for the next.
std::vector<std::pair<Pax::IpGenAddr, Mode>> BsrCandidateSm::takeWithdrawn(const Pax::IpGenPrefix &prefix) {
  const auto waiting = withdrawn_.find(prefix);
  if (waiting == withdrawn_.end()) return {};
  std::vector<WithdrawnRps::iterator> order;
  for (auto rp = waiting->second.begin(); rp != waiting->second.end(); ++rp) order.push_back(rp);
  std::ranges::stable_sort(order, std::greater(), [](const auto &rp) { return rp->second.listingsLeft; });
  order.resize(std::min(order.size(), mostWithdrawn));
  std::vector<std::pair<Pax::IpGenAddr, Mode>> taken;
  for (const auto &rp : order) {
    taken.emplace_back(rp->first, rp->second.mode);
    if (--rp->second.listingsLeft == 0) waiting->second.erase(rp);
  }
  if (waiting->second.empty()) withdrawn_.erase(waiting);
  return taken;
}

}  // namespace Routing::Pim::Bsr
