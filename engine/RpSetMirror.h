/// The reactors that age the learned RPs of each zone and mirror them into the published set.
///
/// A chain from the zone's entry to the single RP; each reactor owns those below it. A handler that
/// mirrors first asks whether the zone is the prefix's longest match in the trie, and does nothing
/// if it is not. A handler that leads to the removal of its own reactor does so as its last act.
#pragma once

#include "engine/PimBsrSm.h"

namespace Routing::Pim::Bsr {

class PimBsrSm::KivRp : public Pim::RpCandidate::Notifiee {
 public:
  KivRp(KivCrpSet &crpSet, const Pax::IpGenAddr &address, const Kiv::Ptr<Pim::RpCandidate> &rp);

  void onPriority() override { handlePriority(); }
  void onHashMaskLen() override { handleHashMaskLen(); }
  void onSetupTime() override { handleSetuptime(); }
  void onPimMode() override { handleMode(); }
  void onHoldTime() override { handleHoldtime(); }
  void onExpires() override { setHoldtimer(); }

  /// The RP is gone from the zone's set.
  void handleDel();

 private:
  class KivHoldtimeTimer : public Orb::Timer {
   public:
    KivHoldtimeTimer(KivRp &rp, const Kiv::Ptr<Orb::TimerWheel> &wheel) : Timer(wheel), rp_(rp) {}
    void onTime() override { rp_.handleHoldtimeExpired(); }

   private:
    KivRp &rp_;
  };

  const std::string &vrfName() const;
  void handleInitialized();
  void handlePriority();
  void handleHashMaskLen();
  void handleSetuptime();
  void handleMode();
  void handleHoldtime();
  void setHoldtimer();
  void handleHoldtimeExpired();
  /// The published twin, or null when the zone does not publish the prefix.
  Kiv::Ptr<Pim::RpCandidate> twin() const;

  KivCrpSet &crpSet_;
  const Pax::IpGenAddr address_;
  KivHoldtimeTimer holdTimer_;
};

class PimBsrSm::KivCrpSet : public RpCandidateSet::Notifiee {
 public:
  KivCrpSet(PimBsrSm &sm, const Pax::IpGenPrefix &zone, const Pax::IpGenPrefix &prefix,
            const Kiv::Ptr<RpCandidateSet> &set);

  void onRp(const Pax::IpGenAddr &address) override;
  /// The set is gone from the zone, and its RPs with it.
  void handleDel();

  PimBsrSm &sm() const { return sm_; }
  const Pax::IpGenPrefix &zone() const { return zone_; }
  const Pax::IpGenPrefix &prefix() const { return prefix_; }
  /// Whether the zone is the prefix's longest match; if not, traces why nothing is mirrored.
  bool publishes() const;
  /// The published set of the prefix, made if it is missing. Only while the zone publishes.
  RpCandidateSet &publishedSet() const;

 private:
  const std::string &vrfName() const { return sm_.vrfName(); }
  void handleInitialized();

  PimBsrSm &sm_;
  const Pax::IpGenPrefix zone_;
  const Pax::IpGenPrefix prefix_;
  mutable uint64_t trieVersion_ = ~uint64_t{0};  // of the trie that publishes_ was found in
  mutable bool publishes_ = false;
  mutable uint64_t publishedVersion_ = 0;  // of the published sets that publishedSet_ is of
  mutable Kiv::Ptr<RpCandidateSet> publishedSet_;
  bool initialized_ = false;
  Kiv::Table<Pax::IpGenAddr, std::unique_ptr<KivRp>> rp_;
};

class PimBsrSm::KivCrpStatus : public RpCandidateStatus::Notifiee {
 public:
  KivCrpStatus(PimBsrSm &sm, const Pax::IpGenPrefix &zone, const Kiv::Ptr<RpCandidateStatus> &status);
  void onCrpSet(const Pax::IpGenPrefix &prefix) override;
  /// The zone's RPs are gone as a whole.
  void handleDel();

 private:
  PimBsrSm &sm_;
  const Pax::IpGenPrefix zone_;
  Kiv::Table<Pax::IpGenPrefix, std::unique_ptr<KivCrpSet>> crpSet_;
};

class PimBsrSm::KivCrpZoneStatus : public PimBsrRpCandidateStatus::Notifiee {
 public:
  KivCrpZoneStatus(PimBsrSm &sm, const Pax::IpGenPrefix &zone, const Kiv::Ptr<PimBsrRpCandidateStatus> &zoneStatus);
  void onStatus() override;
  void handleDel();

 private:
  PimBsrSm &sm_;
  const Pax::IpGenPrefix zone_;
  std::unique_ptr<KivCrpStatus> crpStatus_;
};

}  // namespace Routing::Pim::Bsr
