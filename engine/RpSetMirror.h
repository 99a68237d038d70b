/// The reactors that follow the learned RPs of each zone: they age the RPs and report every change to
/// the published set; and they count what is held (Capacity).
///
/// A chain from the zone's entry to the single RP; each reactor owns those below it. They write
/// nothing themselves. An RP whose hold time is over is handed to the store, which removes it and with
/// it this reactor: the last act of its timer.
#pragma once

#include "engine/PimBsrSm.h"
#include "engine/PublishedRpSet.h"
#include "platform/kiv/ReactorOf.h"
#include "platform/orb/TimerFor.h"

namespace Routing::Pim::Bsr {

/// Follows one RP.
class PimBsrSm::KivRp : public Kiv::ReactorOf<Pim::RpCandidate, KivCrpSet> {
 public:
  KivRp(KivCrpSet &crpSet, const Pax::IpGenAddr &address, const Kiv::Ptr<const Pim::RpCandidate> &rp);
  ~KivRp() override;

  void onPriority() override { handlePriority(); }
  void onHashMaskLen() override { handleHashMaskLen(); }
  void onSetupTime() override { handleSetuptime(); }
  void onPimMode() override { handleMode(); }
  void onHoldTime() override { handleHoldtime(); }
  void onExpires() override { setHoldtimer(); }

  /// The RP is gone from the zone's set.
  void handleDel();
  /// Tells that it is gone, alone or with its set.
  void tellGone(bool withSet) const;

 private:
  const std::string &vrfName() const;
  void handleInitialized();
  void handlePriority();
  void handleHashMaskLen();
  void handleSetuptime();
  void handleMode();
  void handleHoldtime();
  void setHoldtimer();
  void handleHoldtimeExpired();
  /// An attribute other than its times is another.
  void tellChange() const;
  template <class Value>
  void publish(const char *field, const Value &value);

  using KivHoldtimeTimer = Orb::TimerFor<&KivRp::handleHoldtimeExpired>;
  // What a refresh touches comes first.
  PublishedRpSet::Source::Twin twin_;
  KivHoldtimeTimer holdTimer_;
  const Pax::IpGenAddr address_;
};

/// Follows a zone's set of one prefix.
class PimBsrSm::KivCrpSet : public Kiv::ReactorOf<RpCandidateSet, PimBsrSm> {
 public:
  KivCrpSet(PimBsrSm &sm, const Pax::IpGenPrefix &zone, const Pax::IpGenPrefix &prefix,
            const Kiv::Ptr<const RpCandidateSet> &set);
  ~KivCrpSet() override;

  void onRp(const Pax::IpGenAddr &address) override;
  /// The set is gone from the zone, and its RPs with it.
  void handleDel();

  PimBsrSm &sm() const { return owner_; }
  PublishedRpSet::Source &source() { return source_; }

 private:
  const std::string &vrfName() const { return owner_.vrfName(); }
  void handleInitialized();

  PublishedRpSet::Source source_;
  Kiv::Table<Pax::IpGenAddr, std::unique_ptr<KivRp>> rp_;
};

/// Follows the RP sets of one zone.
class PimBsrSm::KivCrpStatus : public Kiv::ReactorOf<RpCandidateStatus, PimBsrSm> {
 public:
  KivCrpStatus(PimBsrSm &sm, const Pax::IpGenPrefix &zone, const Kiv::Ptr<const RpCandidateStatus> &status);
  void onCrpSet(const Pax::IpGenPrefix &prefix) override;
  /// The zone's RPs are gone as a whole.
  void handleDel();

 private:
  const Pax::IpGenPrefix zone_;
  Kiv::Table<Pax::IpGenPrefix, std::unique_ptr<KivCrpSet>> crpSet_;
};

/// Follows the entry of one zone, which gets its RP sets a moment after it was created.
class PimBsrSm::KivCrpZoneStatus : public Kiv::ReactorOf<PimBsrRpCandidateStatus, PimBsrSm> {
 public:
  KivCrpZoneStatus(PimBsrSm &sm, const Pax::IpGenPrefix &zone,
                   const Kiv::Ptr<const PimBsrRpCandidateStatus> &zoneStatus);
  void onStatus() override;
  void handleDel();

 private:
  const Pax::IpGenPrefix zone_;
  std::unique_ptr<KivCrpStatus> crpStatus_;
};

}  // namespace Routing::Pim::Bsr
