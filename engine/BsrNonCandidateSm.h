/// The Bootstrap Router of one scope zone as seen by a router that is no candidate there (RFC 5059
/// section 3.1.2): which BSR it accepts messages from, when that BSR is dead, and when a scoped
/// zone is forgotten.
#pragma once

#include "engine/LastBsm.h"
#include "engine/PimBsrSm.h"
#include "engine/RxFragments.h"
#include "model/Status.h"
#include "platform/orb/TimerWheel.h"

namespace Routing::Pim::Bsr {

enum class BsrNonCandidateState : uint8_t { noInfo = 0, acceptAny = 1, acceptPreferred = 2 };
std::ostream &operator<<(std::ostream &out, BsrNonCandidateState state);

/// Owned by the engine, one per zone. The zone's scope-zone timer ends it.
class BsrNonCandidateSm {
 public:
  BsrNonCandidateSm(PimBsrSm &bsrSm, const Pax::IpGenPrefix &zone, const Kiv::Ptr<Status> &bsrStatus,
                    const Kiv::Ptr<Orb::TimerWheel> &bsTimerWheel, const Kiv::Ptr<Orb::TimerWheel> &szTimerWheel);
  BsrNonCandidateSm(const BsrNonCandidateSm &) = delete;
  BsrNonCandidateSm &operator=(const BsrNonCandidateSm &) = delete;

  BsrNonCandidateState state() const { return state_; }
  const LastBsm &lastBsm() const { return lastBsm_; }
  /// The groups of the last messages that are still incomplete; null when there are none.
  const Kiv::Ptr<PimBsrRxFragments> &lastBsmFragments() const { return lastBsmFragments_; }
  /// Takes over what the zone's machine of the other kind had kept.
  void lastBsmIs(const LastBsm &lastBsm, const Kiv::Ptr<PimBsrRxFragments> &lastBsmFragments) {
    lastBsm_ = lastBsm;
    lastBsmFragments_ = lastBsmFragments;
  }
  /// Takes an accepted message of the zone.
  void bsmIs(const Kiv::Ptr<Packet::BootstrapMessage> &bsm);

 private:
  class KivBsTimer : public Orb::Timer {
   public:
    KivBsTimer(BsrNonCandidateSm &sm, const Kiv::Ptr<Orb::TimerWheel> &wheel) : Timer(wheel), sm_(sm) {}
    void onTime() override { sm_.handleBsrTimerExpiry(); }

   private:
    BsrNonCandidateSm &sm_;
  };
  class KivSzTimer : public Orb::Timer {
   public:
    KivSzTimer(BsrNonCandidateSm &sm, const Kiv::Ptr<Orb::TimerWheel> &wheel) : Timer(wheel), sm_(sm) {}
    void onTime() override { sm_.handleSzTimerExpiry(); }

   private:
    BsrNonCandidateSm &sm_;
  };
  class KivBsrStatus : public Status::Notifiee {
   public:
    explicit KivBsrStatus(BsrNonCandidateSm &sm) : sm_(sm) { notifierIs(sm.bsrStatus_); }
    void onBsTimeout() override { sm_.handleBsTimeout(); }
    void onSzTimeout() override { sm_.handleSzTimeout(); }

   private:
    BsrNonCandidateSm &sm_;
  };

  const std::string &vrfName() const { return bsrSm_.vrfName(); }
  bool isGlobalZone() const { return zone_ == bsrSm_.globalOrNonScopeZone(); }
  void handleInitialized();
  void handleBsm();
  void handleBsmOfAnyBsr(const Packet::BootstrapMessage &bsm);
  bool isPreferred(const Packet::BootstrapMessage &bsm) const;
  void handlePreferredBsm(const Packet::BootstrapMessage &bsm);
  void handleBsrTimerExpiry();
  void handleSzTimerExpiry();
  void handleBsTimeout();
  void handleSzTimeout();
  void writeBsr(ElectedBsrStatus &bsr, const Packet::BootstrapMessage &bsm);
  void doArmBsTimer();

  PimBsrSm &bsrSm_;
  const Pax::IpGenPrefix zone_;
  const Kiv::Ptr<Status> bsrStatus_;
  BsrNonCandidateState state_ = BsrNonCandidateState::noInfo;
  bool initialized_ = false;
  Kiv::Ptr<Packet::BootstrapMessage> bsm_;
  LastBsm lastBsm_;
  Kiv::Ptr<PimBsrRxFragments> lastBsmFragments_;
  KivBsTimer bsTimer_;
  KivSzTimer szTimer_;
  KivBsrStatus kivBsrStatus_;
};

}  // namespace Routing::Pim::Bsr
