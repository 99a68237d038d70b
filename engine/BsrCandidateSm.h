/// The election of one scope zone in which this router is a candidate BSR (RFC 5059 section 3.1.1).
///
/// The machine decides, from the messages it is handed and from its own bootstrap timer, whether this
/// router is a plain candidate, pending, or the elected BSR. It publishes the zone's BSR, and while
/// elected it originates the zone's messages and collects the advertisements of candidate RPs.
#pragma once

#include <map>

#include "engine/LastBsm.h"
#include "engine/PimBsrSm.h"
#include "engine/RxFragments.h"
#include "model/InternalStatus.h"
#include "model/Status.h"
#include "platform/orb/Random.h"
#include "platform/orb/TimerWheel.h"
#include "platform/orb/TokenBucket.h"

namespace Routing::Pim::Bsr {

/// Owned by the engine, one per zone with a candidate. Inert until every attribute of the candidate
/// is set; an attribute that becomes unset makes it inert again.
class BsrCandidateSm {
 public:
  /// Seconds: what a newly elected BSR with nothing to announce waits before its next message, and how
  /// soon a change of the RP set is announced or told again (RFC 5059 section 5: BS_Min_Interval).
  static constexpr double bsMinInterval = 10;
  /// So many senders of lesser weight are answered at once, then one more in each interval (seconds).
  static constexpr uint32_t answerBurst = 5;
  static constexpr double answerInterval = 2;
  /// In so many consecutive messages a withdrawn RP is listed with hold time 0.
  static constexpr uint8_t withdrawalListings = 3;
  /// BSR priority of the last message of a candidate that goes, so that others take over.
  static constexpr uint8_t bsMinPriority = 0;

  BsrCandidateSm(PimBsrSm &bsrSm, const Pax::IpGenPrefix &zone, const Kiv::Ptr<Status> &bsrStatus,
                 const Kiv::Ptr<Orb::TimerWheel> &timerWheel, Orb::Random &random);
  BsrCandidateSm(const BsrCandidateSm &) = delete;
  BsrCandidateSm &operator=(const BsrCandidateSm &) = delete;

  BsrCandidateState state() const { return state_; }
  const Kiv::Ptr<BsrCandidate> &candidate() const { return candidate_; }
  const LastBsm &lastBsm() const { return lastBsm_; }
  /// The groups of the last messages that are still incomplete; null when there are none.
  const Kiv::Ptr<PimBsrRxFragments> &lastBsmFragments() const { return lastBsmFragments_; }
  /// Takes over what the zone's machine of the other kind had kept.
  void lastBsmIs(const LastBsm &lastBsm, const Kiv::Ptr<PimBsrRxFragments> &lastBsmFragments) {
    lastBsm_ = lastBsm;
    lastBsmFragments_ = lastBsmFragments;
  }
  double nextExpiry() const { return bsTimer_.timeMin(); }

  /// Takes an accepted message of the zone.
  void bsmIs(const Kiv::Ptr<Packet::BootstrapMessage> &bsm);
  /// Originates one message; `shutDown` gives it BSR priority 0, so that others take over. Whether it
  /// went out on any interface.
  bool doSendBsm(bool shutDown);
  /// A triggered Hello has gone out to a new neighbour, who can now hear us.
  void handleTriggeredHelloSent();
  /// Merges one advertised range into the zone's RP set (RFC 5059 section 3.3).
  void doAddCrp(const Kiv::Ptr<Packet::CrpGroupInfo> &groupInfo, const Pax::IpGenAddr &rpAddress, RpPriority priority,
                CrpHoldTime holdTime);
  /// A zone inside ours has got a BSR, which collects that zone's ranges from now on: we give them up.
  void handleInnerZone(const Pax::IpGenPrefix &inner);
  /// Seconds to wait before we take over (RFC 5059 section 5: BS_Rand_Override).
  uint32_t bs_rand_override() const;

 private:
  class KivBsTimer : public Orb::Timer {
   public:
    KivBsTimer(BsrCandidateSm &sm, const Kiv::Ptr<Orb::TimerWheel> &wheel) : Timer(wheel), sm_(sm) {}
    void onTime() override { sm_.handleBsrTimerExpiry(); }

   private:
    BsrCandidateSm &sm_;
  };
  class KivBsrStatus : public Status::Notifiee {
   public:
    explicit KivBsrStatus(BsrCandidateSm &sm) : sm_(sm) { notifierIs(sm.bsrStatus_); }
    void onBsTimeout() override { sm_.handleBsTimeout(); }

   private:
    BsrCandidateSm &sm_;
  };
  class KivCandidate : public BsrCandidate::Notifiee {
   public:
    explicit KivCandidate(BsrCandidateSm &sm) : sm_(sm) { notifierIs(sm.candidate_); }
    void onAddress() override { handleIpChange(); }
    void onPriority() override { handlePriority(); }
    void onHashMaskLen() override { handleHashMaskLen(); }
    void onBsPeriod() override { handleBsPeriod(); }
    void onElected() override { handleElected(); }

   private:
    const std::string &vrfName() const { return sm_.vrfName(); }
    BsrCandidateSm *bsrCandidateSm() const { return &sm_; }
    static BsrCandidateState eBsr() { return BsrCandidateState::eBsr; }
    void handleIpChange();
    void handlePriority();
    void handleHashMaskLen();
    void handleBsPeriod();
    void handleElected();
    bool staysElectedOrRestarts();
    BsrCandidateSm &sm_;
  };

  /// The BSR that this machine believes elected.
  struct StoredBsr {
    Pax::IpGenAddr ipAddr;
    uint16_t priority = 0;
    uint32_t hashMaskLen = 0;
  };

  const std::string &vrfName() const { return bsrSm_.vrfName(); }
  bool isComplete() const;
  PimBsrWeight ownWeight() const;
  void stateIs(BsrCandidateState state);
  void handleInitialized();
  void postpone();
  void handleBsm();
  void handlePreferredBsm(const Kiv::Ptr<Packet::BootstrapMessage> &bsm);
  void handleNonPreferredBsm(const Kiv::Ptr<Packet::BootstrapMessage> &bsm);
  void handleBsrTimerExpiry();
  void handleBsTimeout();
  void doComputeBsTimeout(const char *lead);
  void doShortenBsTimer();
  void doAnswer();
  void doOriginate(double interval);
  double soonerWhileAnnouncing(bool wentOut, double interval);
  void handleElectionEnd();
  void doArmBsTimer(double seconds);
  void doWriteExpiry();
  void doUpdateElectedBsr();
  void doDelElectedBsr();
  void storeSelf();

  // Originating (BsmOrigination.cpp)
  struct Withdrawn {
    Mode mode;
    uint8_t listingsLeft = withdrawalListings;
  };
  using WithdrawnRps = std::map<Pax::IpGenAddr, Withdrawn>;
  void doAddGroupData(Packet::BootstrapMessage &bsm, const Pax::IpGenPrefix &prefix, const RpCandidateSet *set);
  std::vector<std::pair<Pax::IpGenAddr, Mode>> takeWithdrawn(const Pax::IpGenPrefix &prefix);
  Packet::BootstrapGroupData::RpList rpsToList(const Pax::IpGenPrefix &prefix, const RpCandidateSet *set, bool &bidir);

  // Collecting (CrpCollection.cpp)
  Kiv::Ptr<RpCandidateSet> crpSetToAddTo(const Pax::IpGenPrefix &prefix);
  void withdrawCrp(const Pax::IpGenPrefix &prefix, const Pax::IpGenAddr &rpAddress, Pim::RpCandidate &rp);
  void refreshCrp(const Packet::CrpGroup &group, Pim::RpCandidate &rp, RpPriority priority, CrpHoldTime holdTime);
  void doPullBsTimer();

  PimBsrSm &bsrSm_;
  const Pax::IpGenPrefix zone_;
  const Kiv::Ptr<Status> bsrStatus_;
  const Kiv::Ptr<BsrCandidate> candidate_;
  Orb::Random &random_;
  BsrCandidateState state_ = BsrCandidateState::unset;
  bool initialized_ = false;
  uint32_t bsTimeout_ = 0;
  StoredBsr storedBsr_;
  Kiv::Ptr<Packet::BootstrapMessage> bsm_;
  LastBsm lastBsm_;
  Kiv::Ptr<PimBsrRxFragments> lastBsmFragments_;
  Orb::TokenBucket answers_{answerBurst, answerInterval};
  bool answering_ = false;   // the timer is armed for an answer that had to wait
  bool announcing_ = false;  // an election that outlived a restart has yet to reach the neighbours
  bool announced_ = false;   // one of these messages went out
  double resumed_ = 0;       // time of that restart
  std::map<Pax::IpGenPrefix, WithdrawnRps> withdrawn_;  // to be listed with hold time 0
  KivBsTimer bsTimer_;
  KivBsrStatus kivBsrStatus_;
  KivCandidate kivCandidate_;
};

}  // namespace Routing::Pim::Bsr
