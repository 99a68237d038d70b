/// The engine's own reactors: they watch what it works from and call its handlers. Those of single
/// interfaces, BSRs and zones come and go with what they follow.
#pragma once

#include "engine/PimBsrSm.h"
#include "model/InternalStatus.h"
#include "model/Status.h"
#include "platform/kiv/ReactorOf.h"
#include "platform/pim/PimStatus.h"
#include "platform/routing/TrieGen.h"

namespace Routing::Pim::Bsr {

class PimBsrSm::KivBsrStatus : public Kiv::ReactorOf<Bsr::Status, PimBsrSm> {
  using ReactorOf::ReactorOf;
  void onAf() override { owner_.handleAf(); }
  void onCbsr(const Pax::IpGenPrefix &zone) override { owner_.handleBsrCandidate(zone); }
  void onCrp(const Pax::IpGenAddr &rpAddress) override { owner_.handleCrp(rpAddress); }
  void onBootstrapRouter(const Pax::IpGenPrefix &zone) override { owner_.handleBootstrapRouter(zone); }
  void onCrpStatus(const Pax::IpGenPrefix &zone) override { owner_.handleCrpStatus(zone); }
};

class PimBsrSm::KivBsmStatus : public Kiv::ReactorOf<PimBsmStatus, PimBsrSm> {
  using ReactorOf::ReactorOf;
  void onRxBsm() override { owner_.handleBsm(); }
};

class PimBsrSm::KivCrpMsgStatus : public Kiv::ReactorOf<PimCrpMsgStatus, PimBsrSm> {
  using ReactorOf::ReactorOf;
  void onReadCount() override { owner_.handleCrpMsg(); }
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

class PimBsrSm::KivPimStatus : public Kiv::ReactorOf<Pim::Status, PimBsrSm> {
  using ReactorOf::ReactorOf;
  void onPimIntf(const Pax::IntfId &intfId) override { owner_.handlePimIntf(intfId); }
};

class PimBsrSm::KivBsrTrie : public Kiv::ReactorOf<TrieGen, PimBsrSm> {
  using ReactorOf::ReactorOf;
  void onRoute(const Pax::IpGenPrefix &zone) override { owner_.handleBsrTrie(zone); }
};

/// Follows the elected BSR of one zone: a changed hash mask length of our own election goes to
/// every RP that we collected.
class PimBsrSm::KivBsr : public Kiv::ReactorOf<ElectedBsrStatus, PimBsrSm> {
  using ReactorOf::ReactorOf;
  const std::string &vrfName() const { return owner_.vrfName(); }
  void onHashMaskLen() override { handleHashMaskLen(); }
  void handleHashMaskLen();
};

}  // namespace Routing::Pim::Bsr
