/// The Bootstrap Router of one scope zone as seen by a router that is no candidate there (RFC 5059
/// section 3.1.2): which BSR it accepts messages from, when that BSR is dead, and when a scoped
/// zone is forgotten.
#pragma once

#include "engine/LastBsm.h"
#include "engine/PimBsrSm.h"
#include "model/Status.h"
#include "platform/orb/TimerFor.h"
#include "platform/orb/TimerWheel.h"

namespace Routing::Pim::Bsr {

enum class BsrNonCandidateState : uint8_t { noInfo = 0, acceptAny = 1, acceptPreferred = 2 };
std::ostream &operator<<(std::ostream &out, BsrNonCandidateState state);

/// Owned by the engine, one per zone; the scope-zone timer of a scoped zone ends it. It writes the zone's
/// BSR in the status. RP sets are stored, and messages passed on, by the engine.
class BsrNonCandidateSm {
 public:
  BsrNonCandidateSm(PimBsrSm &bsrSm, const Pax::IpGenPrefix &zone, const Kiv::Ptr<Status> &bsrStatus,
                    const Kiv::Ptr<Orb::TimerWheel> &bsTimerWheel, const Kiv::Ptr<Orb::TimerWheel> &szTimerWheel);

  BsrNonCandidateState state() const { return state_; }
  const LastBsm &lastBsm() const { return lastBsm_; }
  /// When a scoped zone that has lost its BSR is forgotten, in seconds of the platform's clock; never, otherwise.
  double forgottenAt() const { return szTimer_.timeMin(); }
  /// Takes over what the zone's machine of the other kind had kept.
  void lastBsmIs(const LastBsm &lastBsm) { lastBsm_ = lastBsm; }
  /// Takes an accepted message of the zone.
  void bsmIs(const Kiv::Ptr<Packet::BootstrapMessage> &bsm);
  /// A timeout of the VRF is another.
  void handleBsTimeout();
  void handleSzTimeout();

 private:
  void handleBsrTimerExpiry();
  void handleSzTimerExpiry();
  using KivBsTimer = Orb::TimerFor<&BsrNonCandidateSm::handleBsrTimerExpiry>;
  using KivSzTimer = Orb::TimerFor<&BsrNonCandidateSm::handleSzTimerExpiry>;

  const std::string &vrfName() const { return bsrStatus_->name(); }
  bool isGlobalZone() const;
  void handleInitialized();
  void handleBsm();
  void handleBsmOfAnyBsr(const Packet::BootstrapMessage &bsm);
  bool isPreferred(const Packet::BootstrapMessage &bsm) const;
  void handlePreferredBsm(const Packet::BootstrapMessage &bsm);
  /// Brings an armed timer forward where the new timeout ends sooner; `resetting` is the word that its trace has.
  void doShorten(Orb::Timer &timer, uint32_t timeout, const char *name, const char *resetting);
  void writeBsr(ElectedBsrStatus &bsr, const Packet::BootstrapMessage &bsm);
  void doArmBsTimer();

  PimBsrSm &bsrSm_;
  const Pax::IpGenPrefix zone_;
  const Kiv::Ptr<Status> bsrStatus_;
  BsrNonCandidateState state_ = BsrNonCandidateState::noInfo;
  bool initialized_ = false;
  Kiv::Ptr<Packet::BootstrapMessage> bsm_;
  LastBsm lastBsm_;
  KivBsTimer bsTimer_;
  KivSzTimer szTimer_;
};

}  // namespace Routing::Pim::Bsr
