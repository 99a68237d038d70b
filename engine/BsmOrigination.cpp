#include "engine/BsmOrigination.h"

#include <algorithm>

#include "model/VrfTrace.h"

namespace Routing::Pim::Bsr {

namespace {

Tracelet::Module trace("Pim::Bsr::CandidateSm");

// Lowest priority value first, then highest address.
bool better(const Packet::BootstrapRpData &one, const Packet::BootstrapRpData &other) {
  return one.priority != other.priority ? one.priority < other.priority : other.address < one.address;
}

}  // namespace

Kiv::Ptr<Packet::BootstrapMessage> BsmOrigination::bsm(uint16_t fragmentTag, uint8_t bsrPriority) const {
  const auto bsm = Packet::BootstrapMessageIs();
  bsm->forwardIs(true);
  bsm->fragmentTagIs(fragmentTag);
  bsm->hashMaskLenIs(static_cast<uint8_t>(candidate_.hashMaskLen()));
  bsm->priorityIs(bsrPriority);
  bsm->bsrAddressIs(candidate_.address());
  if (scoped_) addBlock(*bsm, zone_);
  for (const Pax::IpGenPrefix &prefix : prefixes()) {
    if (!scoped_ || prefix != zone_) addBlock(*bsm, prefix);
  }
  return bsm;
}

std::vector<Pax::IpGenPrefix> BsmOrigination::prefixes() const {
  std::vector<Pax::IpGenPrefix> prefixes = withdrawals_.prefixes();
  std::erase_if(prefixes, [this](const auto &prefix) { return bool(rpSetOf(bsrStatus_, zone_, prefix)); });
  if (const auto sets = rpSetsOf(bsrStatus_, zone_)) {
    for (const auto &[prefix, set] : sets->crpSet()) prefixes.push_back(prefix);
  }
  std::ranges::sort(prefixes);
  return prefixes;
}

// No block for a prefix without RPs, the zone's own aside.
void BsmOrigination::addBlock(Packet::BootstrapMessage &bsm, const Pax::IpGenPrefix &prefix) const {
  Rps rps = rpsToList(prefix);
  const bool zoneBlock = scoped_ && prefix == zone_;
  if (rps.list.empty() && !zoneBlock) return;
  const auto block = Packet::BootstrapGroupDataIs(prefix);
  block->adminScopeIs(zoneBlock);
  block->bidirIs(rps.bidir);
  block->rpCountIs(static_cast<uint8_t>(rps.list.size()));
  block->fragmentRpCountIs(static_cast<uint8_t>(rps.list.size()));
  block->rpListIs(std::move(rps.list));
  bsm.optionalData()->groupDataEnq(block);
}

// The best of the live RPs, and behind them the withdrawn ones with hold time 0.
BsmOrigination::Rps BsmOrigination::rpsToList(const Pax::IpGenPrefix &prefix) const {
  Rps rps = liveRps(prefix);
  const std::vector<Withdrawals::Rp> withdrawn = withdrawals_.toList(prefix);
  if (rps.list.empty() && !withdrawn.empty()) rps.bidir = withdrawn.front().mode == Mode::bidir;
  std::ranges::sort(rps.list, better);
  const size_t room = mostRps - withdrawn.size();
  if (rps.list.size() > room) {
    VRF_TRACE(trace, 1, rps.list.size() << " RPs for " << prefix << ". Sending the best " << room);
    rps.list.resize(room);
  }
  for (const auto &[address, mode] : withdrawn) rps.list.push_back({address, 0, 0});
  return rps;
}

// Of one mode, since a block has one flag for all its RPs.
BsmOrigination::Rps BsmOrigination::liveRps(const Pax::IpGenPrefix &prefix) const {
  Rps sparse, bidir{{}, true};
  if (const auto set = rpSetOf(bsrStatus_, zone_, prefix)) {
    for (const auto &[address, rp] : set->rp()) {
      if (rp->holdTime() == 0) continue;
      Rps &rps = rp->pimMode() == Mode::bidir ? bidir : sparse;
      rps.list.push_back({address, rp->holdTime(), static_cast<uint8_t>(rp->priority())});
    }
  }
  if (bidir.list.empty()) return sparse;
  if (!sparse.list.empty()) {
    VRF_TRACE(trace, 1, "RPs of both modes for " << prefix << ". Sending only the bidirectional ones");
  }
  return bidir;
}

}  // namespace Routing::Pim::Bsr
