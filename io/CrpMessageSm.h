/// The gate for Candidate-RP advertisements between the packet channel of a VRF, its advertisers and
/// its engine (RFC 5059 sections 3.2 and 3.3).
///
/// A received advertisement is accepted by its source, which has to be among the permitted ones, and
/// handed to the engine one group range at a time. One of our own goes to the BSR by unicast, or straight
/// to the receiving side where we are the BSR: then it never touches the wire.
#pragma once

#include <memory>

#include "io/PimBsrCrpPermitTrieBuilderSm.h"
#include "model/InternalStatus.h"
#include "platform/pim/MessageInfo.h"
#include "platform/routing/RouteLookup.h"

namespace Routing::Pim::Bsr {

/// Owned by the VRF's container, which makes it after the engine. It writes the receive half of
/// PimCrpMsgStatus and its `sentCount`, the channel's transmit half, and counters; its end writes nothing.
/// Whether we are the BSR of a range, and what priority and hold time mean, is the engine's matter.
class CrpMessageSm {
 public:
  /// Anything missing is fatal.
  CrpMessageSm(const Kiv::Ptr<IO::PamManager> &pimPamManager, const Kiv::Ptr<Status> &bsrStatus,
               const Kiv::Ptr<PimCrpMsgStatus> &crpMsgStatus, const Kiv::Ptr<IO::MessageInfo> &crpMsgInfo,
               const Kiv::Ptr<RouteLookup> &ucastRouteStatus);

 private:
  class KivBsrStatus : public Kiv::ReactorOf<Status, CrpMessageSm> {
    using ReactorOf::ReactorOf;
    void onCounters() override { owner_.counters_ = owner_.bsrStatus_->counters(); }
  };
  class KivCrpMsgInfo : public Kiv::ReactorOf<IO::ReceivedMessage, CrpMessageSm> {
    using ReactorOf::ReactorOf;
    void onMessage() override { owner_.handleCrpAdvMessage(); }
  };
  class KivCrpMsgStatus : public Kiv::ReactorOf<PimCrpMsgStatus, CrpMessageSm> {
    using ReactorOf::ReactorOf;
    void onWriteCount() override { owner_.handleTransmission(); }
  };

  const std::string &vrfName() const { return bsrStatus_->name(); }
  void handleInitialize();
  void handleCrpAdvMessage();
  /// Takes an advertisement, from the wire or from ourselves.
  void handleCRPAdv(const Kiv::Ptr<Packet::CrpAdvMessage> &advertisement);
  void handleTransmission();
  /// Unicast, routed toward the BSR.
  void transmit(const Kiv::Ptr<Packet::CrpAdvMessage> &advertisement);
  /// Whether the address is one of this router.
  bool isLocalHost(const Pax::IpGenAddr &address) const;
  /// Whether the filter permits the address from which an advertisement came; its RP may have another.
  bool isPermitted(const Pax::IpGenAddr &source) const;
  void deny(const Packet::CrpAdvMessage &advertisement);
  void tellRefused(IO::Refusal reason, const Packet::CrpAdvMessage &advertisement) const;
  /// The common fields stand in PimCrpMsgStatus already.
  void handOver(const Packet::CrpGroup &group);

  const Kiv::Ptr<Status> bsrStatus_;
  const Kiv::Ptr<PimCrpMsgStatus> crpMsgStatus_;
  const Kiv::Ptr<IO::MessageInfo> crpMsgInfo_;
  const Kiv::Ptr<RouteLookup> ucastRouteStatus_;
  Pax::IpGenPrefix globalZone_;
  Kiv::Ptr<PimBsrCounters> counters_;  // null while the status has none
  Kiv::Ptr<TrieGen> crpPermitTrie_;    // of permitted sources
  std::unique_ptr<PimBsrCrpPermitTrieBuilderSm> crpPermitTrieBuilder_;
  bool initialized_ = false;

  KivBsrStatus kivBsrStatus_;
  KivCrpMsgInfo kivCrpMsgInfo_;
  KivCrpMsgStatus kivCrpMsgStatus_;
};

}  // namespace Routing::Pim::Bsr
