/// Sends and receives Hellos on the PIM interfaces of a VRF (RFC 7761 section 4.3), and writes the VRF's PIM status:
/// interfaces, neighbors, DR.
#pragma once

#include <memory>
#include <utility>
#include <vector>

#include "platform/ip/IntfStatus.h"
#include "platform/orb/Random.h"
#include "platform/orb/TimerWheel.h"
#include "platform/pim/OwnAddresses.h"
#include "platform/pim/PacketPort.h"
#include "platform/pim/PimStatus.h"
#include "platform/system/RedundancyStatus.h"

namespace Routing::Pim::IO {

/// One per VRF in which PIM runs, owned by the platform; it lives on while agents come and go. PIM is on at every
/// interface named with intfIs() that is up and has a PIM address, as long as this controller is not the standby
/// one. These interfaces, and no others, are in Status.pimIntf. Where PIM goes off, the neighbors that have heard a
/// Hello from us hear a goodbye, unless the link is down already.
///
/// A peer cannot make it grow without bounds. An interface has at most Parameters::neighborsMost neighbors: a new one
/// takes the place of one that said nothing but Hello or whose holdtime never ends, the latest first, or else is
/// refused; of a neighbor's addresses at most secondaryMost are kept. An address belongs to the neighbor that sends
/// from it, or else to the first that listed it, until that goes or lists it no more. The speaker never looks at the
/// configuration of the agent and knows nothing of Bootstrap messages, except that a Hello has to go before.
class HelloSpeaker : public Kiv::Counted, public MessageConsumer, public HelloSide {
 public:
  struct Parameters {
    /// False: only listen, because another PIM daemon on this router speaks. Then drPriority is that daemon's, and
    /// its triggered Hello is taken as sent 5 s after a new neighbor or Generation ID.
    bool speak = true;
    uint32_t drPriority = 0;
    /// The same for the speaker's whole life. On standby PIM is off at every interface; null is never standby.
    Kiv::Ptr<const Redundancy::RedundancyStatus> redundancyStatus = nullptr;
    uint32_t neighborsMost = 256;  ///< on an interface
  };
  static constexpr double period = 30;             ///< seconds: Hello_Period
  static constexpr double triggeredDelayMost = 5;  ///< seconds: Triggered_Hello_Delay
  static constexpr double complaintInterval = 60;  ///< seconds between traces that neighbors are refused
  static constexpr size_t secondaryMost = 128;     ///< addresses kept of a neighbor's list
  static constexpr size_t listedMost = 60;         ///< own addresses in a Hello: 60 fit the smallest IPv6 MTU
  static constexpr uint32_t packetMost = 2100;     ///< bytes of a packet that an agent receives

  HelloSpeaker(const Kiv::Ptr<Status> &status, const Kiv::Ptr<const Ip::AllIntfStatusDir> &interfaces,
               const Kiv::Ptr<PacketPort> &port, const Kiv::Ptr<Orb::TimerWheel> &wheel, Orb::Random &random,
               const Parameters &parameters);
  ~HelloSpeaker() override;

  /// Configures PIM on the interface, which need not exist yet.
  void intfIs(const Pax::IntfId &intfId);
  /// Says goodbye there and forgets the interface.
  void intfDel(const Pax::IntfId &intfId);
  /// Neighbors hear of a new drPriority at once.
  void parametersIs(const Parameters &parameters);
  /// Says goodbye (holdtime 0) on every interface and forgets them all; for an orderly stop. Without it the
  /// destruction says nothing, and neighbors wait until their holdtimes run out.
  void shutDown();

  /// The Hellos that the packet port hands over.
  void messageIs(const Pax::IntfId &intfId, const Kiv::Ptr<Packet::Message> &message) override;
  /// Says Hello on the interface if a neighbor there has not heard one yet.
  void helloFirst(const Pax::IntfId &intfId) override;
  /// Such a neighbor is not one of those that make room for others.
  void spokeOtherwise(const Pax::IntfId &intfId, const Pax::IpGenAddr &source) override;

 private:
  class Interface;
  using Named = std::pair<Pax::IntfId, std::unique_ptr<Interface>>;
  class DirReactor;
  class RedundancyReactor;
  /// What each Hello looks at, besides its Interface.
  void noteFootprint(Orb::Footprint &footprint) const;
  /// Null if PIM is not configured there.
  Interface *interface(const Pax::IntfId &intfId) const;
  void intfStatusChanged(const Pax::IntfId &intfId);
  void redundancyChanged();
  bool standby() const { return parameters_.redundancyStatus && parameters_.redundancyStatus->standby(); }

  // What each Hello needs comes first.
  const Kiv::Ptr<PacketPort> port_;
  const Kiv::Ptr<Orb::TimerWheel> wheel_;
  Parameters parameters_;
  OwnAddresses ownAddresses_;
  std::vector<Named> interface_;  // in the order of their names
  const Kiv::Ptr<Status> status_;
  const Kiv::Ptr<const Ip::AllIntfStatusDir> interfaces_;
  Orb::Random &random_;
  std::unique_ptr<DirReactor> reactor_;
  std::unique_ptr<RedundancyReactor> redundancyReactor_;
};

}  // namespace Routing::Pim::IO
