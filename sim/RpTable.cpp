#include "sim/RpTable.h"

#include <ostream>

#include "platform/tracelet/Require.h"

namespace Sim {

using namespace Routing::Pim::Packet;
using Routing::Pim::Mode;

namespace {

// Fills fragment after fragment (RFC 5059 section 3.3).
class Fragmenter {
 public:
  Fragmenter(const BsrParameters &bsr, const RpTable &table, uint32_t mtu) : bsr_(bsr), table_(table), mtu_(mtu) {
    const bool ipv4 = bsr.address.af() == Pax::AddressFamily::ipv4;
    headerSize_ = ipv4 ? 34 : 66;
    groupSize_ = ipv4 ? 12 : 24;
    rpSize_ = ipv4 ? 10 : 22;
  }

  std::vector<Kiv::Ptr<BootstrapMessage>> run() {
    fragmentNew();
    for (const auto &[prefix, rps] : table_.group) {
      if (!(bsr_.scoped && prefix == bsr_.zone)) groupAdd(prefix, rps);
    }
    return fragments_;
  }

 private:
  using Rps = std::map<Pax::IpGenAddr, RpEntry>;

  void fragmentNew() {
    const auto fragment = BootstrapMessageIs();
    fragment->bsrAddressIs(bsr_.address);
    fragment->priorityIs(bsr_.priority);
    fragment->hashMaskLenIs(bsr_.hashMaskLen);
    fragments_.push_back(fragment);
    room_ = mtu_ - headerSize_;
    if (!bsr_.scoped) return;
    const auto own = table_.group.find(bsr_.zone);
    const Rps none;
    const Rps &rps = own == table_.group.end() ? none : own->second;
    REQUIRE(room_ > groupSize_ + rps.size() * rpSize_);
    // Later fragments announce the zone's RPs without holding any.
    const auto block = blockNew(bsr_.zone, rps);
    block->adminScopeIs(true);
    if (fragments_.size() == 1) fill(*block, rps.begin(), rps.size());
  }

  void groupAdd(const Pax::IpGenPrefix &prefix, const Rps &rps) {
    auto next = rps.begin();
    size_t left = rps.size();
    do {
      if (room_ < groupSize_ + (left > 0 ? rpSize_ : 0)) fragmentNew();
      const auto block = blockNew(prefix, rps);
      const size_t count = std::min<size_t>(left, room_ / rpSize_);
      next = fill(*block, next, count);
      left -= count;
    } while (left > 0);
  }

  Kiv::Ptr<BootstrapGroupData> blockNew(const Pax::IpGenPrefix &prefix, const Rps &rps) {
    REQUIRE(rps.size() <= 255);
    const auto block = BootstrapGroupDataIs(prefix);
    block->rpCountIs(static_cast<uint8_t>(rps.size()));
    fragments_.back()->optionalData()->groupDataEnq(block);
    room_ -= groupSize_;
    return block;
  }

  Rps::const_iterator fill(BootstrapGroupData &block, Rps::const_iterator next, size_t count) {
    for (size_t i = 0; i < count; ++i, ++next) {
      block.rpEnq({next->first, next->second.holdTime, static_cast<uint8_t>(next->second.priority)});
    }
    block.fragmentRpCountIs(static_cast<uint8_t>(count));
    room_ -= count * rpSize_;
    return next;
  }

  const BsrParameters &bsr_;
  const RpTable &table_;
  const size_t mtu_;
  size_t headerSize_, groupSize_, rpSize_;
  size_t room_ = 0;
  std::vector<Kiv::Ptr<BootstrapMessage>> fragments_;
};

}  // namespace

size_t RpTable::rps() const {
  size_t count = 0;
  for (const auto &[prefix, rps] : group) count += rps.size();
  return count;
}

std::ostream &operator<<(std::ostream &out, const RpTable &table) {
  out << table.group.size() << " groups, " << table.rps() << " RPs:";
  size_t shown = 0;
  for (const auto &[prefix, rps] : table.group) {
    if (++shown > 8) return out << " ...";
    out << ' ' << prefix << '(' << rps.size() << ')';
    if (rps.empty()) continue;
    const auto &[address, entry] = *rps.begin();
    out << address << '/' << entry.holdTime << "s/" << entry.priority;
  }
  return out;
}

RpTable tableOf(const Routing::Pim::RpCandidateStatus &status) {
  RpTable table;
  for (const auto &[prefix, set] : status.crpSet()) {
    auto &rps = table.group[prefix];
    for (const auto &[address, rp] : set->rp()) {
      rps[address] = {rp->holdTime(), rp->priority(), rp->hashMaskLen().number(), rp->pimMode() == Mode::bidir};
    }
  }
  return table;
}

std::vector<Kiv::Ptr<BootstrapMessage>> fragmentsOf(const BsrParameters &bsr, const RpTable &table, uint32_t mtu) {
  return Fragmenter(bsr, table, mtu).run();
}

}  // namespace Sim
