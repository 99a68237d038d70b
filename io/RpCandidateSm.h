/// Advertises one candidate RP of this router, with one priority, to the BSRs of its zones.
///
/// Each prefix belongs to the innermost zone with a BSR that covers it. The timer sends to every
/// zone: three advertisements in quick succession when the machine starts or a zone's BSR changes,
/// then one every interval (RFC 5059 section 3.2). A prefix that is no longer served is withdrawn
/// with the next one, by an advertisement with hold time 0.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <set>

#include "model/InternalStatus.h"
#include "model/Status.h"
#include "platform/orb/Random.h"
#include "platform/orb/TimerWheel.h"
#include "platform/routing/TrieGen.h"

namespace Routing::Pim::Bsr {

class RpCandidateSm {
 public:
  /// Whether another machine of the same RP advertises the prefix to the zone's BSR.
  using AdvertisedElsewhere = std::function<bool(const Pax::IpGenPrefix &zone, const Pax::IpGenPrefix &prefix)>;

  RpCandidateSm(const CrpOptions &crpOptions, const Kiv::Ptr<const Status> &bsrStatus,
                const Kiv::Ptr<const TrieGen> &bsrTrie, const Kiv::Ptr<Orb::TimerWheel> &timerWheel,
                const Kiv::Ptr<PimCrpMsgStatus> &crpMsgStatus, const Kiv::Ptr<const RpCandidate> &crp,
                Orb::Random &random, AdvertisedElsewhere advertisedElsewhere);
  RpCandidateSm(const RpCandidateSm &) = delete;
  RpCandidateSm &operator=(const RpCandidateSm &) = delete;

  const CrpOptions &crpOptions() const { return crpOptions_; }
  /// By zone, what its BSR is told.
  const Kiv::Table<Pax::IpGenPrefix, Kiv::Ptr<RpCandidatePrefixSet>> &crpAdvSet() const { return crpAdvSet_; }
  double nextAdvertisement() const { return crpAdvTimer_.timeMin(); }
  bool advertises(const Pax::IpGenPrefix &zone, const Pax::IpGenPrefix &prefix) const;

  /// Sends one message to the BSR of each zone. `shutdown` says goodbye (hold time 0) for all that
  /// was last advertised there; the owner does so before it ends the machine.
  void doSendCrpAdv(bool shutdown);

 private:
  class KivPrefixOption : public RpCandidateGroupEntryOptions::Notifiee {
   public:
    KivPrefixOption(RpCandidateSm &sm, const Pax::IpGenPrefix &prefix,
                    const Kiv::Ptr<const RpCandidateGroupEntryOptions> &options)
        : sm_(sm), prefix_(prefix) {
      notifierIs(options);
    }
    void onPriority() override { handlePriority(); }

   private:
    void handlePriority() { sm_.handlePrefix(prefix_); }
    RpCandidateSm &sm_;
    const Pax::IpGenPrefix prefix_;
  };
  class KivCrp : public RpCandidate::Notifiee {
   public:
    KivCrp(RpCandidateSm &sm, const Kiv::Ptr<const RpCandidate> &crp);
    void onInterval() override { sm_.handleInterval(); }
    void onMode() override { sm_.doAdvertiseSoon(); }
    void onPrefixSet(const Pax::IpGenPrefix &prefix) override { sm_.handlePrefix(prefix); }
    void onPrefixOptions(const Pax::IpGenPrefix &prefix) override;

   private:
    void followOption(const Pax::IpGenPrefix &prefix);
    RpCandidateSm &sm_;
    Kiv::Table<Pax::IpGenPrefix, std::unique_ptr<KivPrefixOption>> option_;
  };
  class KivBsrTrie : public TrieGen::Notifiee {
   public:
    explicit KivBsrTrie(RpCandidateSm &sm) : sm_(sm) { notifierIs(sm.bsrTrie_); }
    void onRoute(const Pax::IpGenPrefix &zone) override { sm_.handleBsr(zone); }

   private:
    RpCandidateSm &sm_;
  };
  class KivCrpAdvTimer : public Orb::Timer {
   public:
    KivCrpAdvTimer(RpCandidateSm &sm, const Kiv::Ptr<Orb::TimerWheel> &wheel) : Timer(wheel), sm_(sm) {}
    void onTime() override { sm_.handleCrpAdvTimerExpiry(); }

   private:
    RpCandidateSm &sm_;
  };

  using Prefixes = std::set<Pax::IpGenPrefix>;

  const std::string &vrfName() const { return bsrStatus_->name(); }
  void handleInitialized();
  void handleBsr(const Pax::IpGenPrefix &zone);
  void handlePrefix(const Pax::IpGenPrefix &prefix);
  void handleInterval();
  void doAdvertiseSoon();
  void handleCrpAdvTimerExpiry();
  bool doUpdateCrpAdvSet();
  bool doUpdateCrpAdvSet(const Pax::IpGenPrefix &zone);
  bool doUpdateCrpAdvSetPrefix(const Pax::IpGenPrefix &prefix);
  bool removeFromZone(const Pax::IpGenPrefix &zone, const Pax::IpGenPrefix &prefix);
  bool isConfigured(const Pax::IpGenPrefix &prefix) const;
  Kiv::Ptr<const ElectedBsrStatus> bsrOf(const Pax::IpGenPrefix &zone) const;
  void sendToZone(const Pax::IpGenPrefix &zone, const Prefixes &prefixes, Mode mode, CrpHoldTime holdTime);
  bool doWithdraw(const Pax::IpGenPrefix &zone, bool shutdown);
  Prefixes prefixesOf(const Pax::IpGenPrefix &zone) const;
  uint8_t groupFlags(const Pax::IpGenPrefix &zone, Mode mode) const;
  uint32_t quickDelay() { return random_.next() % 3; }

  const CrpOptions crpOptions_;
  const Kiv::Ptr<const Status> bsrStatus_;
  const Kiv::Ptr<const TrieGen> bsrTrie_;
  const Kiv::Ptr<PimCrpMsgStatus> crpMsgStatus_;
  const Kiv::Ptr<const RpCandidate> crp_;
  Orb::Random &random_;
  const Orb::TimerWheel &timerWheel_;
  const AdvertisedElsewhere advertisedElsewhere_;

  Kiv::Table<Pax::IpGenPrefix, Kiv::Ptr<RpCandidatePrefixSet>> crpAdvSet_;
  /// What a zone's BSR was told last. It outlives the BSR: the next one may know it from its messages.
  struct Told {
    Prefixes prefixes;
    Mode mode;
  };
  std::map<Pax::IpGenPrefix, Told> lastAdvertised_;
  uint8_t crpAdvBackoffCount_ = 0;  // quick advertisements still to send
  uint16_t lastInterval_ = 0;
  bool initialized_ = false;
  KivCrpAdvTimer crpAdvTimer_;
  KivCrp kivCrp_;
  KivBsrTrie kivBsrTrie_;
};

}  // namespace Routing::Pim::Bsr
