/// A link of the simulated network: a wire with two ends or a LAN with many.
#pragma once

#include <array>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/orb/Random.h"
#include "platform/pax/IpGenPrefix.h"
#include "platform/sim/Frame.h"

namespace Sim {

class Router;

struct LinkParameters {
  uint32_t mtu = 1500;      ///< bytes of an IP packet
  double delay = 0.001;     ///< seconds
  double jitter = 0;        ///< at most so many seconds more, for each receiver anew; may reorder packets
  double loss = 0;          ///< the share of packets that each receiver misses, 0 to 1
  uint32_t cost = 1;        ///< of a route that crosses it, at least 1
  bool unnumbered = false;  ///< its ends have the addresses of their routers and no subnet; must not change
};

/// It carries packets among its members, which are interfaces of routers and never leave. Packets arrive in an
/// event of their own, in the order in which they were sent unless there is jitter. The Network owns it and gives
/// it its subnet and the seed of a random source of its own.
class Link {
 public:
  struct Counters {
    uint64_t sent = 0;
    uint64_t delivered = 0;  ///< counted for each receiver
    uint64_t lost = 0;       ///< counted for each receiver, because of the loss rate
    uint64_t cut = 0;        ///< sent into a cut link, or under way in it
    uint64_t tooBig = 0;     ///< refused, because over the MTU
  };

  Link(VirtualTime &time, Frames &frames, std::string name, const Pax::IpGenPrefix &subnet,
       const LinkParameters &parameters, uint64_t seed, std::function<void()> topologyChanged);

  const std::string &name() const { return name_; }
  const Pax::IpGenPrefix &subnet() const { return subnet_; }
  const LinkParameters &parameters() const { return parameters_; }
  /// Applies to what is sent from now on; the interfaces take over a new MTU, and routing a new cost.
  void parametersIs(const LinkParameters &parameters);
  const Counters &counters() const { return counters_; }
  /// `tap` sees every packet that is sent, even those that get lost.
  void tapIs(std::function<void(const Packet &)> tap) { tap_ = std::move(tap); }

  /// A cut link loses everything, what is under way included. Routing knows at once, but the interfaces stay up, and
  /// their addresses can be reached on other ways: PIM finds out by silence.
  void cut() { cutIs(true); }
  void heal() { cutIs(false); }
  bool isCut() const { return isCut_; }

  /// An interface joins the link.
  void memberIs(Intf &intf);
  const std::vector<Intf *> &members() const { return members_; }
  /// The member with this address, or null.
  Intf *memberWith(const Pax::IpGenAddr &address) const;
  /// The only other member, or null if there are several.
  Intf *peerOf(const Intf &intf) const;

  /// What each packet looks at.
  void noteFootprint(Orb::Footprint &footprint) const { footprint.add(this, &name_); }
  /// Copies the packet and lets it arrive at `receiver`, or at every other member if that is null. False if it
  /// exceeds the MTU, which only a packet to one receiver may: IP would fragment that. `hops` is how many more
  /// routers a routed packet may cross.
  bool send(Intf &sender, const Packet &packet, Intf *receiver, uint32_t hops);

 private:
  friend class Frame;
  void cutIs(bool cut);
  void dispatch(Intf &sender, const Packet &packet, Intf *receiver, uint32_t hops, double delay);
  void arrive(const Frame &frame);
  void deliver(Intf &receiver, const Frame &frame);

  // What each packet needs comes first.
  VirtualTime &time_;
  Frames &frames_;
  std::vector<Intf *> members_;
  std::array<Intf *, 2> ends_{};  // the first two members, which on a wire are all
  bool isCut_ = false;
  LinkParameters parameters_;
  Counters counters_;
  std::function<void(const Packet &)> tap_;
  const std::string name_;
  const Pax::IpGenPrefix subnet_;
  Orb::Random random_;
  const std::function<void()> topologyChanged_;
};

}  // namespace Sim
