#include "engine/CandidateRps.h"

#include "model/VrfTrace.h"
#include "platform/kiv/ReactorOf.h"

namespace Routing::Pim::Bsr {

static Tracelet::Module trace("Pim::Bsr::Sm");

// Follows one candidate RP: each priority that is configured for a prefix has an advertiser.
class CandidateRps::KivCrp : public Kiv::ReactorOf<RpCandidate, CandidateRps> {
 public:
  KivCrp(CandidateRps &owner, const Pax::IpGenAddr &rpAddress, const Kiv::Ptr<const RpCandidate> &crp)
      : ReactorOf(owner, crp), rpAddress_(rpAddress) {
    notifierReplay();
  }
  void onPrefixOptions(const Pax::IpGenPrefix &prefix) override;
  // The candidate RP is gone: its advertisers say goodbye.
  void handleDel() { doEndUnused(true); }

 private:
  class KivOptions : public Kiv::ReactorOf<RpCandidateGroupEntryOptions, KivCrp> {
   public:
    KivOptions(KivCrp &owner, const Pax::IpGenPrefix &prefix,
               const Kiv::Ptr<const RpCandidateGroupEntryOptions> &options)
        : ReactorOf(owner, options), prefix_(prefix) {}
    void onPriority() override { handlePriority(); }
    void handlePriority();

   private:
    const std::string &vrfName() const { return owner_.owner_.vrfName(); }
    const Pax::IpGenPrefix prefix_;
  };

  // Ends the advertisers whose priority no prefix has any more, or all.
  void doEndUnused(bool all);

  const Pax::IpGenAddr rpAddress_;
  Kiv::Table<Pax::IpGenPrefix, std::unique_ptr<KivOptions>> options_;
};

CandidateRps::CandidateRps(const PimBsrSm &sm, Orb::Random &random) : sm_(sm), random_(random) {}

CandidateRps::~CandidateRps() = default;

void CandidateRps::begin() {
  advertisements_ = std::make_unique<CrpAdvertisements>(sm_);
  begun_ = true;
}

void CandidateRps::end() {
  begun_ = false;
  for (const CrpOptions &options : rpCandidateSm_.keys()) rpCandidateSm_.erase(options);
}

void CandidateRps::handleCrp(const Pax::IpGenAddr &rpAddress) {
  VRF_TRACE_ENTRY_WITH(trace, " ( " << rpAddress << " )");
  if (const auto gone = crp_.erase(rpAddress)) gone->handleDel();
  if (const auto crp = sm_.bsrStatus()->crp(rpAddress)) {
    crp_.insert(rpAddress, std::make_unique<KivCrp>(*this, rpAddress, crp));
  }
}

void CandidateRps::rpCandidateSmIs(const CrpOptions &options) {
  if (rpCandidateSm_.contains(options)) return;
  const auto crp = sm_.bsrStatus()->crp(options.rpAddress);
  if (!crp) return;
  rpCandidateSm_.insert(options, std::make_unique<RpCandidateSm>(options, sm_, *advertisements_, crp, random_));
  VRF_TRACE(trace, 4, "Created RpcandidateSm with options " << options);
}

// Says goodbye for what was advertised, then ends the machine.
void CandidateRps::rpCandidateSmDel(const CrpOptions &options) {
  if (const auto machine = rpCandidateSm_.erase(options)) machine->doSendCrpAdv(true);
}

void CandidateRps::KivCrp::onPrefixOptions(const Pax::IpGenPrefix &prefix) {
  options_.erase(prefix);
  if (const auto options = notifier()->prefixOptions(prefix)) {
    options_.insert(prefix, std::make_unique<KivOptions>(*this, prefix, options))->handlePriority();
  } else {
    doEndUnused(false);
  }
}

void CandidateRps::KivCrp::KivOptions::handlePriority() {
  const RpPriority priority = notifier()->priority();
  VRF_TRACE_ENTRY_WITH(trace, "rpAddress:" << owner_.rpAddress_ << " prefix: " << prefix_ << " priority: " << priority);
  if (!owner_.owner_.begun_) return;
  if (priority != rpPriorityUnset) owner_.owner_.rpCandidateSmIs(CrpOptions(owner_.rpAddress_, priority));
  owner_.doEndUnused(false);
}

void CandidateRps::KivCrp::doEndUnused(bool all) {
  for (const CrpOptions &options : owner_.rpCandidateSm_.keys()) {
    if (options.rpAddress != rpAddress_ || (!all && notifier()->hasPriority(options.priority))) continue;
    owner_.rpCandidateSmDel(options);
  }
}

}  // namespace Routing::Pim::Bsr
