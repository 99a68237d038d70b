#include "platform/pim/Packet.h"

#include <ostream>

namespace Routing::Pim::Packet {

Kiv::Ptr<BootstrapGroupData> BootstrapGroupDataIs(const Pax::IpGenPrefix &prefix) {
  return Kiv::make<BootstrapGroupData>(prefix);
}

Kiv::Ptr<BootstrapMessage> BootstrapMessageIs() { return Kiv::make<BootstrapMessage>(); }

Kiv::Ptr<BootstrapMessage> bootstrapHeaderOf(const BootstrapMessage &bsm) {
  const auto copy = BootstrapMessageIs();
  copy->fragmentTagIs(bsm.fragmentTag());
  copy->forwardIs(bsm.forward());
  copy->hashMaskLenIs(bsm.hashMaskLen());
  copy->priorityIs(bsm.priority());
  copy->bsrAddressIs(bsm.bsrAddress());
  return copy;
}

BootstrapGroupData &BootstrapOptionalData::refill(size_t index) {
  if (index < groupData_.size() && groupData_[index]->refCount() == 1) return *groupData_[index];
  Kiv::Ptr<BootstrapGroupData> block;
  if (!spare_.empty()) {
    block = std::move(spare_.back());
    spare_.pop_back();
  }
  if (!block || block->refCount() > 1) block = BootstrapGroupDataIs({});
  if (index == groupData_.size()) return *groupData_.emplace_back(std::move(block));
  groupData_[index] = std::move(block);
  return *groupData_[index];
}

void BootstrapOptionalData::refilled(size_t count) {
  while (groupData_.size() > count) {
    spare_.push_back(std::move(groupData_.back()));
    groupData_.pop_back();
  }
}

std::ostream &operator<<(std::ostream &out, const BootstrapMessage &bsm) {
  out << "BSM from " << bsm.source() << " tag " << bsm.fragmentTag() << " BSR " << bsm.bsrAddress() << " priority "
      << unsigned{bsm.priority()} << " hashMaskLen " << unsigned{bsm.hashMaskLen()}
      << (bsm.forward() ? "" : " no-forward");
  for (const auto &group : bsm.groupData()) {
    out << "; " << group->prefix() << (group->adminScope() ? " scoped" : "") << (group->bidir() ? " bidir" : "")
        << " RPs " << unsigned{group->fragmentRpCount()} << " of " << unsigned{group->rpCount()} << ':';
    for (const BootstrapRpData &rp : group->rpList()) {
      out << ' ' << rp.address << " holdTime " << rp.holdTime << " priority " << unsigned{rp.priority};
    }
  }
  return out;
}

}  // namespace Routing::Pim::Packet
