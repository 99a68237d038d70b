/// Bootstrap messages in a line.
#pragma once

#include "platform/pim/Packet.h"

namespace Test {

/// Bsm(bsr, priority).tag(7).group(prefix, {rp...}) ...; converts to the message.
class Bsm {
 public:
  using Rp = Routing::Pim::Packet::BootstrapRpData;

  explicit Bsm(const Pax::IpGenAddr &bsr, uint8_t priority = 64) : bsm_(Routing::Pim::Packet::BootstrapMessageIs()) {
    bsm_->bsrAddressIs(bsr);
    bsm_->priorityIs(priority);
    bsm_->hashMaskLenIs(30);
  }
  Bsm &tag(uint16_t tag) { return bsm_->fragmentTagIs(tag), *this; }
  Bsm &hashMaskLen(uint8_t length) { return bsm_->hashMaskLenIs(length), *this; }
  Bsm &noForward() { return bsm_->forwardIs(false), *this; }
  /// A zone's own block: Z set.
  Bsm &scope(const Pax::IpGenPrefix &zone, std::vector<Rp> rps = {}) {
    group(zone, std::move(rps));
    bsm_->groupData().back()->adminScopeIs(true);
    return *this;
  }
  Bsm &group(const Pax::IpGenPrefix &prefix, std::vector<Rp> rps) {
    const auto count = static_cast<uint8_t>(rps.size());
    return piece(prefix, count, std::move(rps));
  }
  /// A block of a group whose RPs are split over fragments.
  Bsm &piece(const Pax::IpGenPrefix &prefix, uint8_t rpCount, std::vector<Rp> rps) {
    const auto block = Routing::Pim::Packet::BootstrapGroupDataIs(prefix);
    block->rpCountIs(rpCount);
    block->fragmentRpCountIs(static_cast<uint8_t>(rps.size()));
    block->rpListIs(std::move(rps));
    bsm_->optionalData()->groupDataEnq(block);
    return *this;
  }
  Bsm &bidir(bool bidir = true) { return bsm_->groupData().back()->bidirIs(bidir), *this; }

  operator Kiv::Ptr<Routing::Pim::Packet::BootstrapMessage>() const { return bsm_; }

 private:
  Kiv::Ptr<Routing::Pim::Packet::BootstrapMessage> bsm_;
};

}  // namespace Test
