/// The gate for Candidate-RP advertisements between the packet channel of a VRF, its advertisers and
/// its engine.
///
/// A received advertisement is judged by its source against the permitted advertisers and handed to
/// the engine one group range at a time. One of our own goes to the BSR by unicast, or straight to
/// the receiving side when we are the BSR.
#pragma once

#include <memory>

#include "io/PimBsrCrpPermitTrieBuilderSm.h"
#include "model/InternalStatus.h"
#include "platform/pim/MessageInfo.h"
#include "platform/routing/RouteLookup.h"

namespace Routing::Pim::Bsr {

class CrpMessageSm {
 public:
  CrpMessageSm(const Kiv::Ptr<IO::PamManager> &pimPamManager, const Kiv::Ptr<Status> &bsrStatus,
               const Kiv::Ptr<PimCrpMsgStatus> &crpMsgStatus, const Kiv::Ptr<IO::MessageInfo> &crpMsgInfo,
               const Kiv::Ptr<RouteLookup> &ucastRouteStatus);
  CrpMessageSm(const CrpMessageSm &) = delete;
  CrpMessageSm &operator=(const CrpMessageSm &) = delete;

  /// Whether the address is one of this router.
  bool isLocalHost(const Pax::IpGenAddr &address) const;

 private:
  class KivBsrStatus : public Status::Notifiee {
   public:
    explicit KivBsrStatus(CrpMessageSm &sm) : sm_(sm) {}
    void onCounters() override { sm_.counters_ = sm_.bsrStatus_->counters(); }

   private:
    CrpMessageSm &sm_;
  };
  class KivCrpMsgInfo : public IO::ReceivedMessage::Notifiee {
   public:
    explicit KivCrpMsgInfo(CrpMessageSm &sm) : sm_(sm) {}
    void onMessage() override { sm_.handleCrpAdvMessage(); }

   private:
    CrpMessageSm &sm_;
  };
  class KivCrpMsgStatus : public PimCrpMsgStatus::Notifiee {
   public:
    explicit KivCrpMsgStatus(CrpMessageSm &sm) : sm_(sm) {}
    void onWriteCount() override { sm_.handleTransmission(); }

   private:
    CrpMessageSm &sm_;
  };

  const Kiv::Ptr<IO::PamManager> &pimPamManager() const { return pimPamManager_; }
  const Kiv::Ptr<Status> &bsrStatus() const { return bsrStatus_; }
  const Kiv::Ptr<PimCrpMsgStatus> &crpMsgStatus() const { return crpMsgStatus_; }
  const Kiv::Ptr<IO::MessageInfo> &crpMsgInfo() const { return crpMsgInfo_; }
  const Kiv::Ptr<RouteLookup> &ucastRouteStatus() const { return ucastRouteStatus_; }
  const std::string &vrfName() const { return bsrStatus_->name(); }

  void handleInitialize();
  void handleCrpAdvMessage();
  void handleCRPAdv(const Kiv::Ptr<Packet::CrpAdvMessage> &advertisement);
  void handleTransmission();
  bool isPermitted(const Pax::IpGenAddr &source);
  void handOver(const Packet::CrpGroup &group);
  void count(void (PimBsrCounters::*counter)(uint32_t)) {
    if (counters_) ((*counters_).*counter)(1);
  }

  const Kiv::Ptr<IO::PamManager> pimPamManager_;
  const Kiv::Ptr<Status> bsrStatus_;
  const Kiv::Ptr<PimCrpMsgStatus> crpMsgStatus_;
  const Kiv::Ptr<IO::MessageInfo> crpMsgInfo_;
  const Kiv::Ptr<RouteLookup> ucastRouteStatus_;
  Pax::IpGenPrefix globalZone_;
  Kiv::Ptr<PimBsrCounters> counters_;
  Kiv::Ptr<TrieGen> crpPermitTrie_;
  std::unique_ptr<PimBsrCrpPermitTrieBuilderSm> crpPermitTrieBuilder_;
  bool initialized_ = false;

  KivBsrStatus kivBsrStatus_;
  KivCrpMsgInfo kivCrpMsgInfo_;
  KivCrpMsgStatus kivCrpMsgStatus_;
};

}  // namespace Routing::Pim::Bsr
