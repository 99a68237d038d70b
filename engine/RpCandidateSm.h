/// Advertises one candidate RP of this router, with one priority, to the BSRs of its zones.
///
/// Each prefix belongs to the innermost zone with a BSR that covers it. The timer makes a pass, which
/// sends to every zone: three in quick succession when the machine starts or a zone's BSR changes, then
/// one every interval (RFC 5059 section 3.2). A prefix that is no longer served is withdrawn with the
/// next one, by an advertisement with hold time 0; bidirectional prefixes that become sparse at once,
/// to be advertised a second later.
#pragma once

#include <memory>

#include "engine/CrpAdvertisements.h"
#include "platform/kiv/ReactorOf.h"
#include "platform/orb/Random.h"

namespace Routing::Pim::Bsr {

/// Owned by CandidateRps. It decides when to send what; CrpAdvertisements sends it, and remembers it beyond
/// the end of this machine. It writes no status.
class RpCandidateSm {
 public:
  RpCandidateSm(const CrpOptions &crpOptions, const PimBsrSm &sm, CrpAdvertisements &advertisements,
                const Kiv::Ptr<const RpCandidate> &crp, Orb::Random &random);

  /// By zone, what its BSR is told.
  const Kiv::Table<Pax::IpGenPrefix, Kiv::Ptr<RpCandidatePrefixSet>> &crpAdvSet() const { return crpAdvSet_; }
  double nextAdvertisement() const;

  /// Says the goodbyes (hold time 0) that are due for the RP, and sends one message to the BSR of each
  /// zone. `shutdown` only says goodbye, for all ranges of this machine that no other one serves; the
  /// owner does so before it ends the machine.
  void doSendCrpAdv(bool shutdown);

 private:
  class KivPrefixOption : public Kiv::ReactorOf<RpCandidateGroupEntryOptions, RpCandidateSm> {
   public:
    KivPrefixOption(RpCandidateSm &owner, const Pax::IpGenPrefix &prefix,
                    const Kiv::Ptr<const RpCandidateGroupEntryOptions> &options)
        : ReactorOf(owner, options), prefix_(prefix) {}
    void onPriority() override { handlePriority(); }

   private:
    void handlePriority();
    const std::string &vrfName() const { return owner_.vrfName(); }
    const Pax::IpGenPrefix prefix_;
  };
  class KivCrp : public Kiv::ReactorOf<RpCandidate, RpCandidateSm> {
   public:
    KivCrp(RpCandidateSm &owner, const Kiv::Ptr<const RpCandidate> &crp);
    void onInterval() override { owner_.handleInterval(); }
    void onMode() override { owner_.handleMode(); }
    void onPrefixSet(const Pax::IpGenPrefix &prefix) override { owner_.handlePrefix(prefix); }
    void onPrefixOptions(const Pax::IpGenPrefix &prefix) override;

   private:
    void followOption(const Pax::IpGenPrefix &prefix);
    Kiv::Table<Pax::IpGenPrefix, std::unique_ptr<KivPrefixOption>> option_;
  };
  class KivBsrTrie : public Kiv::ReactorOf<TrieGen, RpCandidateSm> {
    using ReactorOf::ReactorOf;
    void onRoute(const Pax::IpGenPrefix &zone) override { owner_.handleBsr(zone); }
  };
  void handleCrpAdvTimerExpiry();
  void handlePassTimerExpiry();
  void handleReturnTimerExpiry();
  using KivCrpAdvTimer = Orb::TimerFor<&RpCandidateSm::handleCrpAdvTimerExpiry>;
  using KivPassTimer = Orb::TimerFor<&RpCandidateSm::handlePassTimerExpiry>;
  using KivReturnTimer = Orb::TimerFor<&RpCandidateSm::handleReturnTimerExpiry>;

  using Prefixes = CrpAdvertisements::Prefixes;

  const std::string &vrfName() const { return sm_.vrfName(); }
  void handleInitialized();
  void handleBsr(const Pax::IpGenPrefix &zone);
  void handlePrefix(const Pax::IpGenPrefix &prefix);
  void handleInterval();
  void handleMode();
  void doAdvertiseQuickly();
  void doAdvertiseSoon();
  void doAdvertiseAt(double time);
  void doRepeatWithin(uint16_t seconds);
  void doUpdateCrpAdvSet();
  bool doUpdateCrpAdvSet(const Pax::IpGenPrefix &zone);
  bool doUpdateCrpAdvSetPrefix(const Pax::IpGenPrefix &prefix);
  bool removeFromZone(const Pax::IpGenPrefix &zone, const Pax::IpGenPrefix &prefix);
  bool isConfigured(const Pax::IpGenPrefix &prefix) const;
  double earliestReturn() const;
  void doReturnAt(double time);
  Kiv::Ptr<RpCandidatePrefixSet> setOf(const Pax::IpGenPrefix &zone) const;
  Prefixes prefixesOf(const Pax::IpGenPrefix &zone) const;
  Prefixes restedOf(const Pax::IpGenPrefix &zone) const;
  uint32_t quickDelay();

  const CrpOptions crpOptions_;
  const PimBsrSm &sm_;
  const Kiv::Ptr<const TrieGen> bsrTrie_;
  CrpAdvertisements &advertisements_;
  const Kiv::Ptr<const RpCandidate> crp_;
  Orb::Random &random_;

  Kiv::Table<Pax::IpGenPrefix, Kiv::Ptr<RpCandidatePrefixSet>> crpAdvSet_;
  uint8_t crpAdvBackoffCount_ = 0;  // quick advertisements still to send
  uint16_t lastInterval_ = 0;
  bool initialized_ = false;
  KivCrpAdvTimer crpAdvTimer_;
  // For passes out of turn, which neither move crpAdvTimer_ nor are moved with it.
  KivPassTimer soonTimer_;      // something changed
  KivPassTimer repeatTimer_;    // a longer interval is told once more
  KivReturnTimer returnTimer_;  // withdrawn prefixes may be advertised again
  KivCrp kivCrp_;
  KivBsrTrie kivBsrTrie_;
};

}  // namespace Routing::Pim::Bsr
