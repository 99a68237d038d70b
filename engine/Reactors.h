/// The engine's own reactors: they watch what it works from and call its handlers.
#pragma once

#include "engine/PimBsrSm.h"

namespace Routing::Pim::Bsr {

class PimBsrSm::KivBsrStatus : public Bsr::Status::Notifiee {
 public:
  explicit KivBsrStatus(PimBsrSm &sm) : sm_(sm) { notifierIs(sm.bsrStatus_); }
  void onAf() override { sm_.handleAf(); }
  void onCbsr(const Pax::IpGenPrefix &zone) override { sm_.handleBsrCandidate(zone); }
  void onCrp(const Pax::IpGenAddr &rpAddress) override { sm_.handleCrp(rpAddress); }
  void onBootstrapRouter(const Pax::IpGenPrefix &zone) override { sm_.handleBootstrapRouter(zone); }
  void onCrpStatus(const Pax::IpGenPrefix &zone) override { sm_.handleCrpStatus(zone); }

 private:
  PimBsrSm &sm_;
};

class PimBsrSm::KivBsmStatus : public PimBsmStatus::Notifiee {
 public:
  explicit KivBsmStatus(PimBsrSm &sm) : sm_(sm) { notifierIs(sm.bsmStatus_); }
  void onRxBsm() override { sm_.handleBsm(); }

 private:
  PimBsrSm &sm_;
};

class PimBsrSm::KivCrpMsgStatus : public PimCrpMsgStatus::Notifiee {
 public:
  explicit KivCrpMsgStatus(PimBsrSm &sm) : sm_(sm) { notifierIs(sm.crpMsgStatus_); }
  void onReadCount() override { sm_.handleCrpMsg(); }

 private:
  PimBsrSm &sm_;
};

/// Follows one candidate RP of ours: each priority that is configured for a prefix has an advertiser.
class PimBsrSm::KivCrp : public RpCandidate::Notifiee {
 public:
  KivCrp(PimBsrSm &sm, const Pax::IpGenAddr &rpAddress, const Kiv::Ptr<RpCandidate> &crp)
      : sm_(sm), rpAddress_(rpAddress), crp_(crp) {
    notifierIs(crp);
    notifierReplay();
  }
  void onPrefixOptions(const Pax::IpGenPrefix &prefix) override;
  /// The candidate RP is gone: its advertisers say goodbye.
  void handleDel() { doEndUnused(true); }

 private:
  class KivOptions : public RpCandidateGroupEntryOptions::Notifiee {
   public:
    KivOptions(KivCrp &crp, const Pax::IpGenPrefix &prefix, const Kiv::Ptr<RpCandidateGroupEntryOptions> &options)
        : crp_(crp), prefix_(prefix) {
      notifierIs(options);
    }
    void onPriority() override { handlePriority(); }
    void handlePriority();

   private:
    const std::string &vrfName() const { return crp_.sm_.vrfName(); }
    KivCrp &crp_;
    const Pax::IpGenPrefix prefix_;
  };

  bool isUsed(RpPriority priority) const;
  /// Ends the advertisers whose priority no prefix has any more, or all.
  void doEndUnused(bool all);

  PimBsrSm &sm_;
  const Pax::IpGenAddr rpAddress_;
  const Kiv::Ptr<RpCandidate> crp_;
  Kiv::Table<Pax::IpGenPrefix, std::unique_ptr<KivOptions>> options_;
};

class PimBsrSm::KivPimStatus : public Pim::Status::Notifiee {
 public:
  explicit KivPimStatus(PimBsrSm &sm) : sm_(sm) { notifierIs(sm.pimStatus_); }
  void onPimIntf(const Pax::IntfId &intfId) override { sm_.handlePimIntf(intfId); }

 private:
  PimBsrSm &sm_;
};

class PimBsrSm::KivBsrTrie : public TrieGen::Notifiee {
 public:
  explicit KivBsrTrie(PimBsrSm &sm) : sm_(sm) { notifierIs(sm.bsrTrie_); }
  void onRoute(const Pax::IpGenPrefix &zone) override { sm_.handleBsrTrie(zone); }

 private:
  PimBsrSm &sm_;
};

class PimBsrSm::KivFragmentTimer : public Orb::Timer {
 public:
  explicit KivFragmentTimer(PimBsrSm &sm) : Timer(sm.timerWheel_), sm_(sm) {}
  void onTime() override { sm_.handleFragmentTimerExpiry(); }

 private:
  PimBsrSm &sm_;
};

/// Follows the elected BSR of one zone: a changed hash mask length of our own election goes to
/// every RP that we collected.
class PimBsrSm::KivBsr : public ElectedBsrStatus::Notifiee {
 public:
  KivBsr(PimBsrSm &sm, const Kiv::Ptr<ElectedBsrStatus> &bsr) : sm_(sm) { notifierIs(bsr); }
  void onHashMaskLen() override { handleHashMaskLen(); }

 private:
  const std::string &vrfName() const { return sm_.vrfName(); }
  void handleHashMaskLen();
  PimBsrSm &sm_;
};

/// Follows one PIM interface: a new or restarted neighbour gets the last messages from the DR, and
/// from the router that is DR without the neighbours that are new (RFC 5059 section 3.5): where the
/// DR itself has restarted, nobody else has anything to send.
class PimBsrSm::KivPimIntf : public PimIntf::Notifiee {
 public:
  KivPimIntf(PimBsrSm &sm, const Pax::IntfId &intfId, const Kiv::Ptr<const PimIntf> &pimIntf)
      : sm_(sm), intfId_(intfId), isDr_(pimIntf->isDr()) {
    notifierIs(pimIntf);
  }
  void onIsDr() override { handleDrChange(); }
  void onTriggeredHelloSent() override { handleTriggeredHelloSent(); }

 private:
  const std::string &vrfName() const { return sm_.vrfName(); }
  void handleDrChange();
  void handleTriggeredHelloSent();
  void doSendNoFwdBsm();
  double newSince() const;
  bool isNewcomer() const { return sm_.startTime_ > newSince(); }
  bool isDrWithoutTheNew() const;

  PimBsrSm &sm_;
  const Pax::IntfId intfId_;
  bool isDr_;
  bool wasDr_ = false;  // until the next triggered Hello
};

}  // namespace Routing::Pim::Bsr
