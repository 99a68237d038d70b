/// Names and kernel indices of the interfaces of a VRF.
#pragma once

#include <cstdint>
#include <unordered_map>

#include "platform/kiv/Ptr.h"
#include "platform/pax/IntfId.h"

namespace Linux {

/// Packets and routes carry the kernel's index of a link; operators and the agent know it by its name. Only
/// VrfLinks writes it. A link that is deleted and made again under its name has a new index.
class LinkTable : public Kiv::Counted {
 public:
  /// Null for an index that is not known.
  const Pax::IntfId *intfId(uint32_t index) const {
    const auto found = byIndex_.find(index);
    return found == byIndex_.end() ? nullptr : &found->second;
  }
  /// 0 for an interface that is not there.
  uint32_t index(const Pax::IntfId &intfId) const {
    const auto found = byId_.find(intfId);
    return found == byId_.end() ? 0 : found->second;
  }

  void linkIs(uint32_t index, const Pax::IntfId &intfId) {
    byIndex_[index] = intfId;
    byId_[intfId] = index;
  }
  void linkDel(uint32_t index) {
    const auto found = byIndex_.find(index);
    if (found == byIndex_.end()) return;
    byId_.erase(found->second);
    byIndex_.erase(found);
  }

 private:
  std::unordered_map<uint32_t, Pax::IntfId> byIndex_;
  std::unordered_map<Pax::IntfId, uint32_t> byId_;
};

}  // namespace Linux
