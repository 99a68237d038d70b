/// Sends Bootstrap messages out of the VRF's PIM interfaces, cut into fragments where they do not fit
/// (RFC 5059 sections 3.4, 3.5 and 4.1).
///
/// A message is handed to `PimBsmStatus` once for each interface: whoever watches that sends it. The
/// fragments of a message are built once for each MTU and forgotten when the message is out. Nothing
/// else is written, the counters of what cannot be sent aside.
///
/// Fragments, and the messages for a new neighbor, go out in a burst and then at a limited rate, on each
/// interface (BsmQueue) and on all together; a message that fits goes at once unless some of its zone wait
/// there. What waits goes with its interface, and with the interface's last neighbor.
#pragma once

#include <memory>

#include "engine/BsmQueue.h"
#include "engine/PimBsrSm.h"
#include "engine/TxFragments.h"
#include "platform/orb/TimerFor.h"
#include "platform/pim/PimStatus.h"

namespace Routing::Pim::Bsr {

/// Owned by the engine.
class BsmSender {
 public:
  explicit BsmSender(const PimBsrSm &sm) : sm_(sm), timer_(sm.timerWheel(), *this) {}

  /// Floods a message out of every PIM interface that has a neighbor and is no border of the zone,
  /// the one that it came in on included. Whether it went out on any.
  bool forwardBsm(const Pax::IpGenPrefix &zone, const Kiv::Ptr<Packet::BootstrapMessage> &bsm);
  /// The same for a message that came in, unless its no-forward bit is set.
  void doForwardBsm(const Pax::IpGenPrefix &zone, const Kiv::Ptr<Packet::BootstrapMessage> &bsm);
  /// Sends one message on one interface, with the forward bit given, when it is its turn.
  void doSendTriggeredBsm(const Pax::IpGenPrefix &zone, bool forward, const Pax::IntfId &intfId,
                          const Kiv::Ptr<Packet::BootstrapMessage> &bsm);
  /// Bytes of the message as the agent counts them, by the groups' total RP counts.
  uint32_t doComputeBsmLength(const Packet::BootstrapMessage &bsm) const;
  /// Forgets what waits for an interface, or for all.
  void waitingDel(const Pax::IntfId &intfId) { queue_.erase(intfId); }
  void waitingDelAll();

 private:
  using GroupData = Packet::BootstrapOptionalData::GroupData;

  const std::string &vrfName() const { return sm_.vrfName(); }
  bool usableForZone(const Pax::IpGenPrefix &zone, const Pax::IntfId &intfId, const PimIntf &pimIntf) const;
  // Of one entry for an interface. False if some of it is left.
  bool sendBsm(const Pax::IpGenPrefix &zone, uint32_t length, const Pax::IntfId &oif, uint32_t mtu,
               BsmQueue::Entry &entry);
  bool fragmentAndSendBsm(const Pax::IpGenPrefix &zone, uint32_t mtu, uint32_t totalLength, const Pax::IntfId &oif,
                          BsmQueue::Entry &entry);
  bool sendFragments(const Pax::IpGenPrefix &zone, const Pax::IntfId &oif, BsmQueue::Entry &entry);
  bool sendTriggered(const Pax::IpGenPrefix &zone, const Pax::IntfId &oif, uint32_t mtu, BsmQueue::Entry &entry);

  BsmQueue &queueIs(const Pax::IntfId &intfId);
  bool maySend(const BsmQueue &queue) const;
  bool takeTurn(BsmQueue &queue);
  void wait(const Pax::IpGenPrefix &zone, const Pax::IntfId &oif, BsmQueue::Entry entry);
  void sendWaiting();
  void sendWaiting(const Pax::IntfId &intfId, BsmQueue &queue);
  bool sendWaiting(const Pax::IpGenPrefix &zone, const Pax::IntfId &intfId, const PimIntf &pimIntf,
                   BsmQueue::Entry &entry);
  void handOver(const Pax::IntfId &oif, const Kiv::Ptr<Packet::BootstrapMessage> &bsm);
  std::shared_ptr<const PimBsrTxFragments> buildFragments(const Pax::IpGenPrefix &zone, uint32_t mtu,
                                                          uint32_t totalLength,
                                                          const Kiv::Ptr<Packet::BootstrapMessage> &bsm);
  void doSplitLater(const Pax::IpGenPrefix &zone, uint8_t zoneRpCount, PimBsrTxFragments &fragments,
                    const Kiv::Ptr<Packet::BootstrapGroupData> &group, GroupData &inPieces);
  void bsmFragmentsDelAll();

  const PimBsrSm &sm_;
  Kiv::Table<uint32_t, std::shared_ptr<const PimBsrTxFragments>> bsmFragments_;  // by MTU, of the message being sent
  GroupData splitGroupRpData_;                                                   // its groups waiting to be split
  Kiv::Table<Pax::IntfId, std::unique_ptr<BsmQueue>> queue_;  // of interfaces that had something to queue
  Orb::TokenBucket pace_{2048, 1.0 / 16384};                  // of all interfaces: some ms of sending in one turn
  Orb::TimerFor<static_cast<void (BsmSender::*)()>(&BsmSender::sendWaiting)> timer_;
};

}  // namespace Routing::Pim::Bsr
