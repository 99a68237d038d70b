/// One interface of the Hello speaker, which owns it: sending Hellos there, its neighbors, its DR. For the speaker
/// only.
#pragma once

#include <string>
#include <unordered_map>

#include "platform/kiv/Table.h"
#include "platform/orb/TimerFor.h"
#include "platform/orb/TokenBucket.h"
#include "platform/pim/HelloSpeaker.h"

namespace Routing::Pim::IO {

/// It follows the status of the interface. While that is up and has a PIM address, and this controller is not on
/// standby, its PimIntf is in the VRF's PIM status, and this class alone writes it. Each start there is a new
/// Generation ID. The destruction writes and says nothing; leave() does.
class HelloSpeaker::Interface {
 public:
  Interface(HelloSpeaker &speaker, const Pax::IntfId &intfId);
  ~Interface();

  /// The interface's status, or null while the router has no such interface.
  void intfStatusIs(const Kiv::Ptr<const Ip::IntfStatus> &intfStatus);
  /// A Hello has arrived here. Our own, looped back, is ignored.
  void helloIs(const Packet::HelloMessage &hello);
  /// Looks at everything that PIM depends on here, turns it on or off, and takes over a new address or MTU.
  void settle();
  /// Says Hello unless every neighbor has heard one.
  void helloFirst();
  /// The speaker has new parameters; `before` are the old ones.
  void parametersChanged(const Parameters &before);
  /// Says goodbye and takes the PimIntf away.
  void leave();

 private:
  class StatusReactor;
  struct Neighbor;

  void start();
  void stop();
  void addressChanged();
  /// Our addresses here changed; a new Address List goes out at once if neighbors know the old one.
  void ownListChanged();
  /// Begins a new generation, with the first Hello after a random delay.
  void speakFromNowOn();
  /// False when nothing went out: the port failed, we only listen, or there is nobody to say goodbye to.
  bool sendHello(uint16_t holdTime = Packet::HelloMessage::holdTimeDefault);
  void periodicHello();
  void triggeredHello();

  /// Whether the address is one of this router's.
  bool isOurs(const Pax::IpGenAddr &address) const;
  /// Whether the neighbor, which was none of ours when it came, has not become one since.
  bool isStillOther(Neighbor &neighbor) const;
  /// Our Address List here: the usable addresses besides the PIM address.
  std::vector<Pax::IpGenAddr> ownList() const;
  Neighbor *neighbor(const Pax::IpGenAddr &address) const;
  /// The new neighbor that sent the Hello; null when there are too many.
  Neighbor *neighborIs(const Packet::HelloMessage &hello);
  /// False when every neighbor has a better right to be there than a stranger.
  bool makeRoom();
  void refresh(Neighbor &neighbor, const Packet::HelloMessage &hello);
  void secondaryAre(Neighbor &neighbor, const std::vector<Pax::IpGenAddr> &list);
  void secondaryDel(Neighbor &neighbor, const Pax::IpGenAddr &address);
  /// Why the neighbor may not have a listed address; empty if it may, or has it already.
  std::string whyNot(const Neighbor &neighbor, const Pax::IpGenAddr &address) const;
  /// A neighbor is new or has restarted: it gets a triggered Hello, one for all who come within its delay.
  void greet();
  void neighborDel(Pax::IpGenAddr address);
  /// To be called when a Hello begins to look at other objects here: the port may fetch them ahead.
  void noteFootprint();
  void electDr();

  // What each Hello needs comes first.
  HelloSpeaker &speaker_;
  const Pax::IntfId intfId_;
  Kiv::Ptr<PimIntf> pimIntf_;  // null while the interface is not usable
  uint32_t generationId_ = 0;
  bool spoke_ = false;                // we have said Hello here and not goodbye since
  bool everyoneHeardUs_ = false;      // no neighbor is new since our last Hello
  bool toldAll_ = false;              // our Address List is still the one in that Hello
  std::vector<Pax::IpGenAddr> told_;  // our Address List in that Hello
  Kiv::Table<Pax::IpGenAddr, std::unique_ptr<Neighbor>> neighbor_;
  Orb::TimerFor<&Interface::periodicHello> periodic_{speaker_.wheel_, *this};
  Kiv::Ptr<const Ip::IntfStatus> intfStatus_;
  std::unordered_map<Pax::IpGenAddr, Pax::IpGenAddr> owner_;  // secondary address to its neighbor
  Orb::TimerFor<&Interface::triggeredHello> triggered_{speaker_.wheel_, *this};
  Orb::TokenBucket complaint_{1, complaintInterval};
  std::unique_ptr<StatusReactor> reactor_;
};

/// A neighbor with the timer of its holdtime.
struct HelloSpeaker::Interface::Neighbor {
  Neighbor(Interface &interface, const Pax::IpGenAddr &address, const Kiv::Ptr<PimNeighbor> &status)
      : interface(interface), address(address), status(status) {}
  void expire() { interface.neighborDel(address); }

  Interface &interface;
  const Pax::IpGenAddr address;
  const Kiv::Ptr<PimNeighbor> status;
  uint32_t otherSince = 0;  // the version of our own addresses at which its address was none of them
  Orb::TimerFor<&Neighbor::expire> expiry{interface.speaker_.wheel_, *this};
};

}  // namespace Routing::Pim::IO
