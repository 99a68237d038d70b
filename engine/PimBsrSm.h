/// The Bootstrap Router engine of one VRF.
///
/// It takes accepted Bootstrap messages from PimBsmStatus, finds their scope zone and hands them to
/// the zone's state machine, which is created on demand. The machines decide; they call back into
/// the engine to store an RP set (RpSetStore.cpp), to collect split groups (BsmReassembly.cpp) and
/// to flood messages (BsmForwarding.cpp, BsmFragmentation.cpp). Advertisements of candidate RPs are
/// sent and collected through CandidateRps.cpp. The learned RPs of each zone are
/// aged and mirrored into the published set by the reactors of RpSetMirror.h.
///
/// The engine owns its machines, reactors and timers; all go with it. It writes no status when it goes.
#pragma once

#include <memory>

#include "engine/PublishedRpSet.h"
#include "engine/RxFragments.h"
#include "engine/TxFragments.h"
#include "model/InternalStatus.h"
#include "model/Status.h"
#include "platform/ip/IntfStatus.h"
#include "platform/orb/Random.h"
#include "platform/orb/TimerWheel.h"
#include "platform/pim/PimStatus.h"
#include "platform/routing/TrieGen.h"

namespace Routing::Pim::Bsr {

class BsrCandidateSm;
class BsrNonCandidateSm;
class CrpAdvertisements;
class LastBsm;
class PimBsrTrieBuilderSm;
class RpCandidateSm;

class PimBsrSm : public Kiv::Entity {
#define ATTRIBUTES(ATTRIBUTE)                                                         \
  /* age at which an incomplete group is discarded, and period of looking; seconds */ \
  ATTRIBUTE(value, uint32_t, fragmentTimeout, FragmentTimeout, 25)                    \
  ATTRIBUTE(value, uint32_t, fragmentInterval, FragmentInterval, 10)
  KIV_ENTITY(PimBsrSm, ATTRIBUTES)
#undef ATTRIBUTES

 public:
  /// `random` outlives the engine; a missing status is fatal.
  PimBsrSm(const Kiv::Ptr<Bsr::Status> &bsrStatus, const Kiv::Ptr<const Pim::Status> &pimStatus,
           const Kiv::Ptr<PimBsmStatus> &bsmStatus, const Kiv::Ptr<PimCrpMsgStatus> &crpMsgStatus,
           const Kiv::Ptr<RpCandidateStatus> &rpCandidateStatus, const Kiv::Ptr<Orb::TimerWheel> &timerWheel,
           const Kiv::Ptr<const Ip::AllIntfStatusDir> &allIntfStatusDir, Orb::Random &random);
  ~PimBsrSm() override;

  const std::string &vrfName() const { return bsrStatus_->name(); }
  const Kiv::Ptr<Bsr::Status> &bsrStatus() const { return bsrStatus_; }
  const Kiv::Ptr<const Pim::Status> &pimStatus() const { return pimStatus_; }
  const Kiv::Ptr<PimBsmStatus> &bsmStatus() const { return bsmStatus_; }
  const Kiv::Ptr<PimCrpMsgStatus> &crpMsgStatus() const { return crpMsgStatus_; }
  const Kiv::Ptr<RpCandidateStatus> &rpCandidateStatus() const { return rpCandidateStatus_; }
  const Kiv::Ptr<Orb::TimerWheel> &timerWheel() const { return timerWheel_; }
  const Kiv::Ptr<const Ip::AllIntfStatusDir> &allIntfStatusDir() const { return allIntfStatusDir_; }
  const Kiv::Ptr<TrieGen> &bsrTrie() const { return bsrTrie_; }
  PublishedRpSet &published() { return *published_; }
  /// 224.0.0.0/4 or ff00::/8: the zone of everything that is not administratively scoped.
  const Pax::IpGenPrefix &globalOrNonScopeZone() const { return globalOrNonScopeZone_; }
  double now() const { return timerWheel_->now(); }

  /// The machine of a zone in which we are a candidate, or null.
  BsrCandidateSm *candidateSm(const Pax::IpGenPrefix &zone) const;
  /// The advertiser of one RP address and priority, or null.
  RpCandidateSm *rpCandidateSm(const CrpOptions &options) const;
  const Kiv::Table<CrpOptions, std::unique_ptr<RpCandidateSm>> &rpCandidateSm() const { return rpCandidateSm_; }
  /// The machine of a zone in which we are no candidate, or null.
  BsrNonCandidateSm *nonCandidateSm(const Pax::IpGenPrefix &zone) const;
  const Kiv::Table<Pax::IpGenPrefix, std::unique_ptr<BsrNonCandidateSm>> &nonCandidateSm() const {
    return nonCandidateSm_;
  }
  void nonCandidateSmDel(const Pax::IpGenPrefix &zone);

  /// Stores the RP set of one accepted message, or fragment, for the zone. A refresh updates only
  /// what exists.
  void storeRpSet(const Pax::IpGenPrefix &zone, const Kiv::Ptr<Packet::BootstrapMessage> &bsm, bool refresh);
  /// Renews the hold times of what `bsm` (null: nothing) lists, and sets its forward flag.
  void refreshRpSet(const Pax::IpGenPrefix &zone, const Kiv::Ptr<Packet::BootstrapMessage> &bsm);
  /// Makes sure that a scoped zone has a set, if an empty one, for its own prefix.
  void keepOwnSet(const Pax::IpGenPrefix &zone);
  /// Whether any RP of the zone is known.
  bool hasRps(const Pax::IpGenPrefix &zone) const;
  /// Gives every RP of the zone the hash mask length that we announce.
  void hashMaskLenIs(const Pax::IpGenPrefix &zone, uint32_t length) const;
  /// Deletes every RP set of the zone.
  void clearRpSet(const Pax::IpGenPrefix &zone);
  /// Removes the zone's set of `prefix` if it has lost its last RP, and the zone's entry if that was
  /// its last set and the zone has no BSR. A scoped zone's own prefix stays, empty, while the zone
  /// has a BSR, so that its groups do not fall back to the global zone. What is just being filled stays.
  void removeEmptySet(const Pax::IpGenPrefix &zone, const Pax::IpGenPrefix &prefix);

  /// The open collection of a fragment tag, or null.
  Kiv::Ptr<PimBsrRxFragments> bsmRxFragments(uint16_t tag) const;
  void bsmRxFragmentsDel(uint16_t tag);

  /// Floods a message out of every PIM interface that has a neighbour and is no border of the zone,
  /// the one that it came in on included (RFC 5059 section 3.4). Whether it went out on any.
  bool forwardBsm(const Pax::IpGenPrefix &zone, const Kiv::Ptr<Packet::BootstrapMessage> &bsm);
  /// The same for a message that came in, unless its no-forward bit is set.
  void doForwardBsm(const Pax::IpGenPrefix &zone, const Kiv::Ptr<Packet::BootstrapMessage> &bsm);
  /// Remembers an accepted message and what is still incomplete of it; collections of an earlier tag end.
  void doKeepBsm(LastBsm &lastBsm, Kiv::Ptr<PimBsrRxFragments> &lastBsmFragments,
                 const Kiv::Ptr<Packet::BootstrapMessage> &bsm);
  /// Sends one message on one interface, with the forward bit given.
  void doSendTriggeredBsm(const Pax::IpGenPrefix &zone, bool forward, const Pax::IntfId &intfId,
                          const Kiv::Ptr<Packet::BootstrapMessage> &bsm);
  /// Bytes of the message as the agent counts them, by the groups' total RP counts.
  uint32_t doComputeBsmLength(const Packet::BootstrapMessage &bsm) const;

 private:
  class KivBsrStatus;
  class KivBsmStatus;
  class KivCrpMsgStatus;
  class KivCrp;
  class KivPimStatus;
  class KivPimIntf;
  class KivFragmentTimer;
  class KivBsrTrie;
  class KivBsr;
  class KivCrpZoneStatus;
  class KivCrpStatus;
  class KivCrpSet;
  class KivRp;

  void handleInitialized();
  void handleAf();
  void followStatus();
  void handleBsm();
  void handleBsrCandidate();
  void handleBsrCandidate(const Pax::IpGenPrefix &zone);
  void handleCandidateSm(const Pax::IpGenPrefix &zone);
  void candidateSmIs(const Pax::IpGenPrefix &zone);
  void candidateSmDel(const Pax::IpGenPrefix &zone);
  void doUnconfigureCandidate(const Pax::IpGenPrefix &zone);
  void maybeInitNonCandidateSm();
  /// The last messages of every zone that has a machine.
  std::vector<std::pair<Pax::IpGenPrefix, const LastBsm *>> lastBsms() const;
  BsrNonCandidateSm &nonCandidateSmIs(const Pax::IpGenPrefix &zone);

  // Candidate RPs (CandidateRps.cpp)
  void handleRpCandidate() const;
  void handleCrp(const Pax::IpGenAddr &rpAddress);
  void handleCrpMsg();
  void rpCandidateSmIs(const CrpOptions &options);
  void rpCandidateSmDel(const CrpOptions &options);

  // Reactors come and go with what they watch.
  void handlePimIntf(const Pax::IntfId &intfId);
  void handleTriggeredHelloSent();
  void handleBootstrapRouter(const Pax::IpGenPrefix &zone);
  void handleCrpStatus(const Pax::IpGenPrefix &zone);
  void handleBsrTrie(const Pax::IpGenPrefix &zone);

  // Storing (RpSetStore.cpp)
  struct Store;
  bool storeGroup(Store &store, const Packet::BootstrapGroupData &group);
  bool storeRp(Store &store, RpCandidateSet &set, const Packet::BootstrapGroupData &group,
               const Packet::BootstrapRpData &data) const;
  Kiv::Ptr<RpCandidateSet> setToStoreInto(const Store &store, const Pax::IpGenPrefix &prefix,
                                          const Packet::BootstrapGroupData::RpList &rps);

  // Reassembly (BsmReassembly.cpp)
  Kiv::Ptr<PimBsrRxFragment> collectGroup(const Packet::BootstrapMessage &bsm, const Packet::BootstrapGroupData &group);
  void collectedGroupDone(uint16_t tag, const Pax::IpGenPrefix &prefix);
  Kiv::Ptr<PimBsrRxFragments> bsmRxFragmentsIs(uint16_t tag);
  void handleBsmRxFragments(uint16_t tag);
  void handleFragmentTimerExpiry();
  void discardAged(PimBsrRxFragments &fragments) const;

  // Sending (BsmForwarding.cpp, BsmFragmentation.cpp)
  bool usableForZone(const Pax::IpGenPrefix &zone, const Pax::IntfId &intfId, const PimIntf &pimIntf) const;
  void sendBsm(const Pax::IpGenPrefix &zone, uint32_t length, const Pax::IntfId &oif, uint32_t mtu,
               const Kiv::Ptr<Packet::BootstrapMessage> &bsm);
  void handOver(const Pax::IntfId &oif, const Kiv::Ptr<Packet::BootstrapMessage> &bsm);
  void fragmentAndSendBsm(const Pax::IpGenPrefix &zone, uint32_t mtu, uint32_t totalLength, const Pax::IntfId &oif,
                          const Kiv::Ptr<Packet::BootstrapMessage> &bsm);
  PimBsrTxFragments &buildFragments(const Pax::IpGenPrefix &zone, uint32_t mtu, uint32_t totalLength,
                                    const Kiv::Ptr<Packet::BootstrapMessage> &bsm);
  using GroupData = Packet::BootstrapOptionalData::GroupData;
  void doSplitLater(const Pax::IpGenPrefix &zone, uint8_t zoneRpCount, PimBsrTxFragments &fragments,
                    const Kiv::Ptr<Packet::BootstrapGroupData> &group, GroupData &inPieces);
  void bsmFragmentsDelAll();

  const Kiv::Ptr<Bsr::Status> bsrStatus_;
  const Kiv::Ptr<const Pim::Status> pimStatus_;
  const Kiv::Ptr<PimBsmStatus> bsmStatus_;
  const Kiv::Ptr<PimCrpMsgStatus> crpMsgStatus_;
  const Kiv::Ptr<RpCandidateStatus> rpCandidateStatus_;
  const Kiv::Ptr<Orb::TimerWheel> timerWheel_;
  const double startTime_ = now();
  const Kiv::Ptr<const Ip::AllIntfStatusDir> allIntfStatusDir_;
  Orb::Random &random_;

  bool initialized_ = false;
  Pax::IpGenPrefix globalOrNonScopeZone_;
  Kiv::Ptr<TrieGen> bsrTrie_;
  std::unique_ptr<PimBsrTrieBuilderSm> bsrTrieBuilder_;
  std::unique_ptr<PublishedRpSet> published_;
  uint64_t settledVersion_ = 0;  // of the trie that published_ was settled for
  std::unique_ptr<KivFragmentTimer> fragmentTimer_;
  Kiv::Table<uint16_t, Kiv::Ptr<PimBsrRxFragments>> bsmRxFragments_;
  Kiv::Table<uint32_t, std::unique_ptr<PimBsrTxFragments>> bsmFragments_;  // by MTU, for one pass
  GroupData splitGroupRpData_;                                             // groups waiting to be split
  std::vector<Packet::BootstrapRpData> collectedRps_;                      // RPs of a completed group
  const RpCandidateSet *filling_ = nullptr;                                // the set being stored into

  Kiv::Table<Pax::IpGenPrefix, std::unique_ptr<BsrCandidateSm>> candidateSm_;
  Kiv::Table<Pax::IpGenPrefix, std::unique_ptr<BsrNonCandidateSm>> nonCandidateSm_;
  std::unique_ptr<CrpAdvertisements> crpAdvertisements_;
  Kiv::Table<CrpOptions, std::unique_ptr<RpCandidateSm>> rpCandidateSm_;
  Kiv::Table<Pax::IpGenAddr, std::unique_ptr<KivCrp>> crp_;
  Kiv::Table<Pax::IntfId, std::unique_ptr<KivPimIntf>> pimIntf_;
  Kiv::Table<Pax::IpGenPrefix, std::unique_ptr<KivBsr>> bsr_;
  Kiv::Table<Pax::IpGenPrefix, std::unique_ptr<KivCrpZoneStatus>> crpZoneStatus_;
  std::unique_ptr<KivBsrTrie> kivBsrTrie_;
  std::unique_ptr<KivBsrStatus> kivBsrStatus_;
  std::unique_ptr<KivPimStatus> kivPimStatus_;
  std::unique_ptr<KivBsmStatus> kivBsmStatus_;
  std::unique_ptr<KivCrpMsgStatus> kivCrpMsgStatus_;
};

}  // namespace Routing::Pim::Bsr
