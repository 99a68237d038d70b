/// The Bootstrap Router engine of one VRF.
///
/// It takes accepted Bootstrap messages from PimBsmStatus, finds their scope zone and hands them to
/// the zone's state machine, which is created on demand. The machines decide, and call the parts of the
/// engine: RpSetStore keeps what messages list, BsmReassembly collects split groups, BsmSender floods.
/// CandidateRps advertises our own candidate RPs; those of others go to the candidate machine of their zone,
/// which collects them. The reactors of RpSetMirror.h age the learned RPs and report them to PublishedRpSet.
///
/// The engine owns its machines, parts, reactors and timers; all go with it. It writes no status when
/// it goes.
#pragma once

#include <memory>
#include <utility>
#include <vector>

#include "platform/kiv/Attributes.h"
#include "platform/pax/IntfId.h"
#include "platform/pax/IpGenPrefix.h"

namespace Ip {
class AllIntfStatusDir;
}
namespace Orb {
class Random;
class TimerWheel;
}  // namespace Orb
namespace Routing {
class TrieGen;
}
namespace Routing::Pim {
class RpCandidateStatus;
class Status;
}  // namespace Routing::Pim
namespace Routing::Pim::Packet {
class BootstrapMessage;
}

namespace Routing::Pim::Bsr {

class BsmReassembly;
class BsmSender;
class BsrCandidateSm;
class BsrNonCandidateSm;
class CandidateRps;
class Capacity;
class LastBsm;
class PimBsmStatus;
class PimBsrRxFragments;
class PimBsrTrieBuilderSm;
class PimCrpMsgStatus;
class PublishedRpSet;
class RpCandidateSm;
class RpSetStore;
class Status;
class ZoneWatcher;
struct CrpOptions;

class PimBsrSm : public Kiv::Entity {
#define ATTRIBUTES(ATTRIBUTE)                                                                 \
  /* seconds: age at which an incomplete group is discarded, and how often that is checked */ \
  ATTRIBUTE(value, uint32_t, fragmentTimeout, FragmentTimeout, 25)                            \
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

  const std::string &vrfName() const;
  const Kiv::Ptr<Bsr::Status> &bsrStatus() const { return bsrStatus_; }
  const Kiv::Ptr<const Pim::Status> &pimStatus() const { return pimStatus_; }
  const Kiv::Ptr<PimBsmStatus> &bsmStatus() const { return bsmStatus_; }
  const Kiv::Ptr<PimCrpMsgStatus> &crpMsgStatus() const { return crpMsgStatus_; }
  const Kiv::Ptr<RpCandidateStatus> &rpCandidateStatus() const { return rpCandidateStatus_; }
  const Kiv::Ptr<Orb::TimerWheel> &timerWheel() const { return timerWheel_; }
  const Kiv::Ptr<const Ip::AllIntfStatusDir> &allIntfStatusDir() const { return allIntfStatusDir_; }
  const Kiv::Ptr<TrieGen> &bsrTrie() const { return bsrTrie_; }
  /// 224.0.0.0/4 or ff00::/8: the zone of everything that is not administratively scoped.
  const Pax::IpGenPrefix &globalOrNonScopeZone() const { return globalOrNonScopeZone_; }
  double now() const;

  Capacity &capacity() const { return *capacity_; }
  BsmReassembly &reassembly() const { return *reassembly_; }
  RpSetStore &rpSets() const { return *rpSets_; }
  BsmSender &sender() const { return *sender_; }
  /// At most one, which takes itself out (null) before it goes.
  void zoneWatcherIs(ZoneWatcher *watcher) { zoneWatcher_ = watcher; }
  ZoneWatcher *zoneWatcher() const { return zoneWatcher_; }
  /// Only once the address family is known.
  const PublishedRpSet &published() const { return *published_; }

  /// The machine of a zone in which we are a candidate, or null.
  BsrCandidateSm *candidateSm(const Pax::IpGenPrefix &zone) const;
  /// The advertiser of each RP address and priority.
  const Kiv::Table<CrpOptions, std::unique_ptr<RpCandidateSm>> &rpCandidateSm() const;
  /// The machine of a zone in which we are no candidate, or null.
  BsrNonCandidateSm *nonCandidateSm(const Pax::IpGenPrefix &zone) const;
  const Kiv::Table<Pax::IpGenPrefix, std::unique_ptr<BsrNonCandidateSm>> &nonCandidateSm() const {
    return nonCandidateSm_;
  }
  void nonCandidateSmDel(const Pax::IpGenPrefix &zone);

  // Done by the parts, once the engine is initialized.

  /// Stores the RP set of one accepted message, or fragment, for the zone. A refresh updates only
  /// what exists.
  void storeRpSet(const Pax::IpGenPrefix &zone, const Kiv::Ptr<Packet::BootstrapMessage> &bsm, bool refresh);
  /// Renews the hold times of what `bsm` (null: nothing) lists, and sets its forward flag.
  void refreshRpSet(const Pax::IpGenPrefix &zone, const Kiv::Ptr<Packet::BootstrapMessage> &bsm);
  Kiv::Ptr<PimBsrRxFragments> bsmRxFragments(uint16_t tag) const;
  void bsmRxFragmentsDel(uint16_t tag);
  bool forwardBsm(const Pax::IpGenPrefix &zone, const Kiv::Ptr<Packet::BootstrapMessage> &bsm);
  void doSendTriggeredBsm(const Pax::IpGenPrefix &zone, bool forward, const Pax::IntfId &intfId,
                          const Kiv::Ptr<Packet::BootstrapMessage> &bsm);
  uint32_t doComputeBsmLength(const Packet::BootstrapMessage &bsm) const;

 private:
  class KivBsrStatus;
  class KivBsmStatus;
  class KivCrpMsgStatus;
  class KivPimStatus;
  class KivPimIntf;
  class KivBsrTrie;
  class KivBsr;
  class KivCrpZoneStatus;
  class KivCrpStatus;
  class KivCrpSet;
  class KivRp;

  void handleInitialized();
  void handleAf();
  void handleBsm();
  void handleBsTimeout();
  void handleSzTimeout();
  void handleBsrCandidate();
  void handleBsrCandidate(const Pax::IpGenPrefix &zone);
  void handleCandidateSm(const Pax::IpGenPrefix &zone);
  void candidateSmIs(const Pax::IpGenPrefix &zone);
  void candidateSmDel(const Pax::IpGenPrefix &zone);
  void doConfigureCandidate(const Pax::IpGenPrefix &zone);
  void doUnconfigureCandidate(const Pax::IpGenPrefix &zone);
  void maybeInitNonCandidateSm();
  /// The last messages of every zone that has a machine.
  std::vector<std::pair<Pax::IpGenPrefix, const LastBsm *>> lastBsms() const;
  BsrNonCandidateSm &nonCandidateSmIs(const Pax::IpGenPrefix &zone);

  void handleRpCandidate() const;
  void handleCrpMsg();

  void handleTriggeredHelloSent();
  void handleBsrTrie(const Pax::IpGenPrefix &zone);

  // Reactors come and go with what they follow (Reactors.cpp).
  void followStatus();
  void handlePimIntf(const Pax::IntfId &intfId);
  void handleBootstrapRouter(const Pax::IpGenPrefix &zone);
  void handleCrpStatus(const Pax::IpGenPrefix &zone);

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
  ZoneWatcher *zoneWatcher_ = nullptr;
  Pax::IpGenPrefix globalOrNonScopeZone_;
  Kiv::Ptr<TrieGen> bsrTrie_;
  std::unique_ptr<PimBsrTrieBuilderSm> bsrTrieBuilder_;
  std::unique_ptr<PublishedRpSet> published_;
  uint64_t settledVersion_ = 0;  // of the trie that published_ was settled for
  std::unique_ptr<Capacity> capacity_;
  std::unique_ptr<BsmReassembly> reassembly_;
  std::unique_ptr<RpSetStore> rpSets_;
  std::unique_ptr<BsmSender> sender_;

  Kiv::Table<Pax::IpGenPrefix, std::unique_ptr<BsrCandidateSm>> candidateSm_;
  Kiv::Table<Pax::IpGenPrefix, std::unique_ptr<BsrNonCandidateSm>> nonCandidateSm_;
  std::unique_ptr<CandidateRps> candidateRps_;
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
