/// The election of one scope zone in which this router is a candidate BSR (RFC 5059 section 3.1.1).
///
/// The machine decides, from the messages it is handed and from its own bootstrap timer, whether this
/// router is a plain candidate, pending, or the elected BSR. While elected it originates the zone's
/// messages (BsmOrigination) and collects the advertisements of candidate RPs (CrpCollection).
///
/// It writes the zone's BSR in the status, and `elected` and `state` of the candidate. RP sets are stored,
/// and messages sent, by the engine.
#pragma once

#include <memory>

#include "engine/CrpCollection.h"
#include "engine/LastBsm.h"
#include "engine/PimBsrSm.h"
#include "engine/Resumption.h"
#include "model/InternalStatus.h"
#include "platform/orb/Random.h"
#include "platform/orb/TimerFor.h"
#include "platform/orb/TimerWheel.h"
#include "platform/orb/TokenBucket.h"

namespace Routing::Pim::Bsr {

/// Owned by the engine, one per zone with a candidate. Inert until every attribute of the candidate
/// is set; an attribute that becomes unset makes it inert again. Times in seconds.
class BsrCandidateSm {
 public:
  /// What a newly elected BSR with nothing to announce waits before its next message.
  static constexpr double bsMinInterval = BootstrapTimer::bsMinInterval;
  /// At most this many senders of lower weight are answered at once, then one more in each interval (seconds).
  static constexpr uint32_t answerBurst = 5;
  static constexpr double answerInterval = 2;
  /// BSR priority of the last message of a candidate that goes, so that others take over.
  static constexpr uint8_t bsMinPriority = 0;

  BsrCandidateSm(PimBsrSm &bsrSm, const Pax::IpGenPrefix &zone, const Kiv::Ptr<Status> &bsrStatus,
                 const Kiv::Ptr<Orb::TimerWheel> &timerWheel, Orb::Random &random);
  ~BsrCandidateSm();

  const Kiv::Ptr<BsrCandidate> &candidate() const { return candidate_; }
  const LastBsm &lastBsm() const { return lastBsm_; }
  /// Takes over what the zone's machine of the other kind had kept.
  void lastBsmIs(const LastBsm &lastBsm) { lastBsm_ = lastBsm; }
  /// When it acts next, and the timeout of BSRs that it goes by.
  const BootstrapTimer &bsTimer() const { return bsTimer_; }
  /// What the next messages still tell others to forget.
  const Withdrawals &withdrawals() const { return withdrawals_; }
  /// When the last message was originated, in seconds of the platform's clock. Without one: when this machine began.
  double lastOriginated() const { return lastOriginated_; }

  /// Takes an accepted message of the zone.
  void bsmIs(const Kiv::Ptr<Packet::BootstrapMessage> &bsm);
  /// Originates one message; `shutDown` gives it BSR priority 0, so that others take over. Whether it
  /// went out on any interface.
  bool doSendBsm(bool shutDown);
  /// The timeout of the BSRs of the VRF is another.
  void handleBsTimeout();
  /// A triggered Hello has gone out to a new neighbor, who can now hear us.
  void handleTriggeredHelloSent();
  /// Takes one advertised range, which the machine as the zone's BSR collects.
  void doAddCrp(const Kiv::Ptr<Packet::CrpGroupInfo> &groupInfo, const Pax::IpGenAddr &rpAddress, RpPriority priority,
                CrpHoldTime holdTime);
  /// A zone inside ours has got a BSR, which collects that zone's ranges from now on: we give them up.
  void handleInnerZone(const Pax::IpGenPrefix &inner);
  /// How long we wait before we take over (RFC 5059 section 5: BS_Rand_Override).
  uint32_t bs_rand_override() const;

 private:
  class KivCandidate;  // KivCandidate.h

  using Reason = BootstrapTimer::Reason;

  /// The BSR that this machine believes elected.
  struct StoredBsr {
    Pax::IpGenAddr ipAddr;
    uint16_t priority = 0;
    uint32_t hashMaskLen = 0;
  };

  void handleBsrTimerExpiry();
  using KivBsTimer = Orb::TimerFor<&BsrCandidateSm::handleBsrTimerExpiry>;

  const std::string &vrfName() const { return bsrStatus_->name(); }
  PimBsrWeight ownWeight() const;
  void stateIs(BsrCandidateState state);
  void storeSelf();
  void handleInitialized();
  void resume();
  void postpone();
  void handleBsm();
  void handlePreferredBsm(const Kiv::Ptr<Packet::BootstrapMessage> &bsm);
  void handleNonPreferredBsm(const Kiv::Ptr<Packet::BootstrapMessage> &bsm);
  void handleElectionEnd();
  void doComputeBsTimeout(const char *lead);
  void doShortenBsTimer();
  void doArmOverride(const char *lead);
  void doAnswer();
  void doOriginate(double interval);
  void traceNextExpiry(const char *lead) const;
  void doUpdateElectedBsr();
  void doDelElectedBsr();

  PimBsrSm &bsrSm_;
  const Pax::IpGenPrefix zone_;
  const Kiv::Ptr<Status> bsrStatus_;
  const Kiv::Ptr<BsrCandidate> candidate_;
  Orb::Random &random_;
  BsrCandidateState state_ = BsrCandidateState::unset;
  bool initialized_ = false;
  double lastOriginated_ = bsrSm_.now();
  StoredBsr storedBsr_;
  Kiv::Ptr<Packet::BootstrapMessage> bsm_;
  LastBsm lastBsm_;
  Resumption resumption_{bsMinInterval};
  Orb::TokenBucket answers_{answerBurst, answerInterval};
  KivBsTimer kivBsTimer_;
  BootstrapTimer bsTimer_;
  Withdrawals withdrawals_;
  CrpCollection collection_;
  std::unique_ptr<KivCandidate> kivCandidate_;
};

}  // namespace Routing::Pim::Bsr
