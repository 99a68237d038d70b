/// One interface of the Hello speaker. For the speaker only.
#pragma once

#include <unordered_map>

#include "platform/orb/TimerFor.h"
#include "platform/pim/HelloSpeaker.h"

namespace Routing::Pim::IO {

/// Follows the interface's status: while it is up and has a PIM address, its PimIntf stands in the
/// VRF's PIM status, with what Hellos tell. Writes nothing when it is destroyed; leave() comes first.
class HelloSpeaker::Interface {
 public:
  Interface(HelloSpeaker &speaker, const Pax::IntfId &intfId);
  ~Interface();

  /// The interface's status, or null while the router has no such interface.
  void intfStatusIs(const Kiv::Ptr<const Ip::IntfStatus> &intfStatus);
  void helloIs(const Packet::HelloMessage &hello);
  /// Turns PIM on or off here, as everything says that it depends on.
  void settle();
  /// Says Hello unless every neighbour has heard one.
  void helloFirst();
  void parametersChanged(const Parameters &before);
  /// Says goodbye and takes the PimIntf away.
  void leave();

 private:
  class StatusReactor;
  struct Neighbor;

  void start();
  void stop();
  void addressChanged();
  void ownListChanged();
  void speakFromNowOn();
  bool sendHello(uint16_t holdTime = Packet::HelloMessage::holdTimeDefault);
  void periodicHello();
  void triggeredHello();

  bool isOurs(const Pax::IpGenAddr &address) const;
  std::vector<Pax::IpGenAddr> ownList() const;
  Neighbor *neighborFor(const Packet::HelloMessage &hello);
  void refresh(Neighbor &neighbor, const Packet::HelloMessage &hello);
  void secondaryAre(Neighbor &neighbor, const std::vector<Pax::IpGenAddr> &list);
  void secondaryDel(Neighbor &neighbor, const Pax::IpGenAddr &address);
  void greet();
  void neighborDel(Pax::IpGenAddr address);
  void electDr();

  HelloSpeaker &speaker_;
  const Pax::IntfId intfId_;
  Kiv::Ptr<const Ip::IntfStatus> intfStatus_;
  Kiv::Ptr<PimIntf> pimIntf_;  // null while the interface is not usable
  uint32_t generationId_ = 0;
  bool spoke_ = false;                // we have said Hello here, and not goodbye
  bool everyoneHeardUs_ = false;      // no neighbour has appeared since our last Hello
  std::vector<Pax::IpGenAddr> told_;  // our Address List in that Hello
  std::unordered_map<Pax::IpGenAddr, std::unique_ptr<Neighbor>> neighbor_;
  std::unordered_map<Pax::IpGenAddr, Pax::IpGenAddr> owner_;  // secondary address to its neighbour
  Orb::TimerFor<&Interface::periodicHello> periodic_{speaker_.wheel_, *this};
  Orb::TimerFor<&Interface::triggeredHello> triggered_{speaker_.wheel_, *this};
  std::unique_ptr<StatusReactor> reactor_;
};

}  // namespace Routing::Pim::IO
