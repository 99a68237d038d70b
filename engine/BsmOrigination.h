/// The message that an elected BSR originates: what it collected in its zone, and what it withdraws.
#pragma once

#include "engine/Withdrawals.h"
#include "model/Status.h"
#include "platform/pim/Packet.h"

namespace Routing::Pim::Bsr {

/// Made for one message of one zone. It only reads, so that a message can be made at any time; sending,
/// fragmenting and counting the listings of withdrawn RPs are others' work.
class BsmOrigination {
 public:
  /// What the RP count of a prefix can say. Withdrawn RPs are listed first, then the best of the others.
  static constexpr size_t mostRps = 255;

  /// All outlive it. Every attribute of the candidate is set.
  BsmOrigination(const Status &bsrStatus, const Pax::IpGenPrefix &zone, const BsrCandidate &candidate,
                 const Withdrawals &withdrawals)
      : bsrStatus_(bsrStatus), zone_(zone), candidate_(candidate), withdrawals_(withdrawals) {}

  /// The whole message. A scoped zone's own block comes first, with or without RPs.
  Kiv::Ptr<Packet::BootstrapMessage> bsm(uint16_t fragmentTag, uint8_t bsrPriority) const;

 private:
  struct Rps {
    Packet::BootstrapGroupData::RpList list;
    bool bidir = false;
  };

  const std::string &vrfName() const { return bsrStatus_.name(); }
  std::vector<Pax::IpGenPrefix> prefixes() const;
  void addBlock(Packet::BootstrapMessage &bsm, const Pax::IpGenPrefix &prefix) const;
  Rps rpsToList(const Pax::IpGenPrefix &prefix) const;
  Rps liveRps(const Pax::IpGenPrefix &prefix) const;

  const Status &bsrStatus_;
  const Pax::IpGenPrefix &zone_;
  const BsrCandidate &candidate_;
  const Withdrawals &withdrawals_;
  const bool scoped_ = zone_ != Pax::allGroups(bsrStatus_.af());
};

}  // namespace Routing::Pim::Bsr
