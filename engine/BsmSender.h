/// Sends Bootstrap messages out of the VRF's PIM interfaces, cut into fragments where they do not fit
/// (RFC 5059 sections 3.4, 3.5 and 4.1).
///
/// A message is handed to `PimBsmStatus` once for each interface: whoever watches that sends it. The
/// fragments of a message are built once for each MTU and forgotten when the message is out. Nothing
/// else is written, the counters of a block that fits nowhere aside.
#pragma once

#include <memory>

#include "engine/PimBsrSm.h"
#include "engine/TxFragments.h"
#include "platform/pim/PimStatus.h"

namespace Routing::Pim::Bsr {

/// Owned by the engine.
class BsmSender {
 public:
  explicit BsmSender(const PimBsrSm &sm) : sm_(sm) {}

  /// Floods a message out of every PIM interface that has a neighbor and is no border of the zone,
  /// the one that it came in on included. Whether it went out on any.
  bool forwardBsm(const Pax::IpGenPrefix &zone, const Kiv::Ptr<Packet::BootstrapMessage> &bsm);
  /// The same for a message that came in, unless its no-forward bit is set.
  void doForwardBsm(const Pax::IpGenPrefix &zone, const Kiv::Ptr<Packet::BootstrapMessage> &bsm);
  /// Sends one message on one interface, with the forward bit given.
  void doSendTriggeredBsm(const Pax::IpGenPrefix &zone, bool forward, const Pax::IntfId &intfId,
                          const Kiv::Ptr<Packet::BootstrapMessage> &bsm);
  /// Bytes of the message as the agent counts them, by the groups' total RP counts.
  uint32_t doComputeBsmLength(const Packet::BootstrapMessage &bsm) const;

 private:
  using GroupData = Packet::BootstrapOptionalData::GroupData;

  const std::string &vrfName() const { return sm_.vrfName(); }
  bool usableForZone(const Pax::IpGenPrefix &zone, const Pax::IntfId &intfId, const PimIntf &pimIntf) const;
  void sendBsm(const Pax::IpGenPrefix &zone, uint32_t length, const Pax::IntfId &oif, uint32_t mtu,
               const Kiv::Ptr<Packet::BootstrapMessage> &bsm);
  void handOver(const Pax::IntfId &oif, const Kiv::Ptr<Packet::BootstrapMessage> &bsm);
  void fragmentAndSendBsm(const Pax::IpGenPrefix &zone, uint32_t mtu, uint32_t totalLength, const Pax::IntfId &oif,
                          const Kiv::Ptr<Packet::BootstrapMessage> &bsm);
  PimBsrTxFragments &buildFragments(const Pax::IpGenPrefix &zone, uint32_t mtu, uint32_t totalLength,
                                    const Kiv::Ptr<Packet::BootstrapMessage> &bsm);
  void doSplitLater(const Pax::IpGenPrefix &zone, uint8_t zoneRpCount, PimBsrTxFragments &fragments,
                    const Kiv::Ptr<Packet::BootstrapGroupData> &group, GroupData &inPieces);
  void bsmFragmentsDelAll();

  const PimBsrSm &sm_;
  Kiv::Table<uint32_t, std::unique_ptr<PimBsrTxFragments>> bsmFragments_;  // by MTU, of the message being sent
  GroupData splitGroupRpData_;                                             // its groups waiting to be split
};

}  // namespace Routing::Pim::Bsr
