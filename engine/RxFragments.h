/// Group blocks of Bootstrap messages that arrive split over several fragments (RFC 5059 section 4.1).
#pragma once

#include <cstdint>

#include "platform/kiv/Table.h"
#include "platform/pax/IpGenPrefix.h"
#include "platform/pim/Packet.h"

namespace Routing::Pim::Bsr {

/// The RPs collected so far for one group prefix of one fragment tag. RPs are keyed by address: a
/// repeated one replaces the earlier hold time and priority.
class PimBsrRxFragment : public Kiv::Counted {
 public:
  struct Rp {
    CrpHoldTime holdTime = 0;
    uint8_t priority = 0;
  };

  /// `rpCount` is the group's total, from the piece that opens the collection.
  PimBsrRxFragment(uint8_t rpCount, double creationTime) : rpCount_(rpCount), creationTime_(creationTime) {}
  uint8_t rpCount() const { return rpCount_; }
  double creationTime() const { return creationTime_; }
  size_t rps() const { return rp_.size(); }
  const Kiv::Table<Pax::IpGenAddr, Rp> &rp() const { return rp_; }
  /// Finds or creates.
  Rp &rpIs(const Pax::IpGenAddr &address) {
    Rp *present = rp_.find(address);
    return present ? *present : rp_.insert(address, {});
  }

 private:
  const uint8_t rpCount_;
  const double creationTime_;
  Kiv::Table<Pax::IpGenAddr, Rp> rp_;
};

/// The incomplete groups of one fragment tag.
class PimBsrRxFragments : public Kiv::Counted {
 public:
  explicit PimBsrRxFragments(uint16_t fragTag) : fragTag_(fragTag) {}
  uint16_t fragTag() const { return fragTag_; }

  using GroupRpData = Kiv::Table<Pax::IpGenPrefix, Kiv::Ptr<PimBsrRxFragment>>;
  const GroupRpData &groupRpData() const { return groupRpData_; }
  /// Finds or creates.
  Kiv::Ptr<PimBsrRxFragment> groupRpDataIs(const Pax::IpGenPrefix &prefix, uint8_t rpCount, double now) {
    if (const auto *present = groupRpData_.find(prefix)) return *present;
    return groupRpData_.insert(prefix, Kiv::make<PimBsrRxFragment>(rpCount, now));
  }
  void groupRpDataDel(const Pax::IpGenPrefix &prefix) { groupRpData_.erase(prefix); }

 private:
  const uint16_t fragTag_;
  GroupRpData groupRpData_;
};

}  // namespace Routing::Pim::Bsr
