/// Speaks and hears Hellos on the PIM interfaces of a VRF (RFC 7761 section 4.3), and writes the
/// VRF's PIM status: interfaces, neighbours, DR.
#pragma once

#include <map>
#include <memory>

#include "platform/ip/IntfStatus.h"
#include "platform/orb/Random.h"
#include "platform/orb/TimerWheel.h"
#include "platform/pim/PacketPort.h"
#include "platform/pim/PimStatus.h"
#include "platform/system/RedundancyStatus.h"

namespace Routing::Pim::IO {

/// PIM is on at every interface named with intfIs(), from the moment it is up and has a PIM address,
/// while this controller is not the standby one. Such an interface, and no other, stands in
/// Status.pimIntf. Where PIM ends, neighbours that were told of us are told so. Holds all else that a peer can send
/// within bounds: at most neighborsMost neighbours on an interface, further ones are refused with a
/// trace; a secondary address belongs to the neighbour that claimed it last.
class HelloSpeaker : public Kiv::Counted, public MessageConsumer, public BeforeBootstrap {
 public:
  struct Parameters {
    /// False: listen only, because another PIM daemon on this router speaks; then drPriority is that
    /// daemon's, and its triggered Hello counts as sent 5 s after a new neighbour or Generation ID.
    bool speak = true;
    uint32_t drPriority = 0;
    /// Of the speaker's whole life. On standby PIM is off at every interface; null is never that.
    Kiv::Ptr<const Redundancy::RedundancyStatus> redundancyStatus = nullptr;
  };
  static constexpr double period = 30;
  static constexpr double triggeredDelayMost = 5;
  static constexpr size_t neighborsMost = 256;
  static constexpr size_t listedMost = 60;      ///< own addresses in a Hello: 60 fit the least IPv6 MTU
  static constexpr uint32_t packetMost = 2100;  ///< bytes of a packet that an agent looks at

  HelloSpeaker(const Kiv::Ptr<Status> &status, const Kiv::Ptr<const Ip::AllIntfStatusDir> &interfaces,
               const Kiv::Ptr<PacketPort> &port, const Kiv::Ptr<Orb::TimerWheel> &wheel, Orb::Random &random,
               const Parameters &parameters);
  ~HelloSpeaker() override;

  void intfIs(const Pax::IntfId &intfId);
  void intfDel(const Pax::IntfId &intfId);
  /// A change of drPriority is told at once.
  void parametersIs(const Parameters &parameters);
  /// Says goodbye (holdtime 0) on every interface and forgets them; for an orderly stop.
  void shutDown();

  void messageIs(const Pax::IntfId &intfId, const Kiv::Ptr<Packet::Message> &message) override;
  void helloFirst(const Pax::IntfId &intfId) override;

 private:
  class Interface;
  class DirReactor;
  class RedundancyReactor;
  void intfStatusChanged(const Pax::IntfId &intfId);
  void redundancyChanged();
  bool standby() const { return parameters_.redundancyStatus && parameters_.redundancyStatus->standby(); }

  const Kiv::Ptr<Status> status_;
  const Kiv::Ptr<const Ip::AllIntfStatusDir> interfaces_;
  const Kiv::Ptr<PacketPort> port_;
  const Kiv::Ptr<Orb::TimerWheel> wheel_;
  Orb::Random &random_;
  Parameters parameters_;
  std::map<Pax::IntfId, std::unique_ptr<Interface>> interface_;
  std::unique_ptr<DirReactor> reactor_;
  std::unique_ptr<RedundancyReactor> redundancyReactor_;
};

}  // namespace Routing::Pim::IO
