/// A network on paper and what is to happen in it: checked, names resolved, defaults filled in.
///
/// Plain data. Times are seconds from the beginning; routers, VRFs and links are named by their places in the lists.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "daemon/file/Configuration.h"
#include "platform/sim/Intf.h"
#include "platform/sim/Link.h"

namespace Planning {

using ConfigurationPtr = std::shared_ptr<const Routing::Pim::Bsr::Configuration>;

struct Interface {
  std::string name;
  std::vector<Sim::IntfAddress> addresses;
  std::optional<size_t> link;  ///< unset: a loopback or another interface that leads nowhere
};

/// One VRF of a router.
struct Vrf {
  std::string name;
  std::vector<Interface> interfaces;  ///< "lo" among them, those with links in the order of the links
};

struct Router {
  std::string name;
  std::vector<Vrf> vrfs;           ///< "default" first
  ConfigurationPtr configuration;  ///< of its agent at first
  std::optional<double> start;     ///< when its agent starts; unset: when the story says so
};

/// The end of a link.
struct Member {
  size_t router = 0;
  size_t vrf = 0;
  size_t interface = 0;
  bool operator==(const Member &) const = default;
};

struct Link {
  std::string name;
  std::vector<Member> members;  ///< two or more
  Sim::LinkParameters parameters;
};

enum class Verb : uint8_t {
  // of a link
  cut,  ///< it loses everything and stays up; routing knows at once
  heal,
  change,  ///< it has other parameters from now on
  // of a router
  start,     ///< its agent
  stop,      ///< its agent, in order
  crash,     ///< its agent; the router goes on forwarding, and what was learned is found again
  powerOff,  ///< with its agent, and with what that has learned
  powerOn,   ///< its agent starts
  reload,    ///< its agent has another configuration, which is that of later starts, too
  standby,
  active,
  // of an interface
  down,
  up,
  addAddress,
  removeAddress,
};

/// What happens at one time.
struct Action {
  double at = 0;
  Verb verb{};
  size_t link = 0;                   ///< of cut, heal, change
  size_t router = 0;                 ///< of the others
  size_t vrf = 0;                    ///< of the router: where the interface is
  size_t interface = 0;              ///< of the VRF
  Sim::IntfAddress address{};        ///< of addAddress, removeAddress
  ConfigurationPtr configuration{};  ///< of reload
  Sim::LinkParameters parameters{};  ///< of change: all of them, those that stay included
  std::string text{};                ///< "Link r1-r2 is cut"
};

/// A router in one of its VRFs: what elects, and holds BSRs and RPs.
struct Node {
  size_t router = 0;
  size_t vrf = 0;
  bool operator==(const Node &) const = default;
};

/// What must hold. Nodes whose agent does not run, or stands by, are not asked, except those that are named: these hold
/// nothing then.
struct Expectation {
  enum class Kind : uint8_t {
    bsr,         ///< at `at`: the BSR of `zone` is `address`; unset: there is none
    rp,          ///< at `at`: the RP of `group` is `address`; unset: there is none
    agree,       ///< from `from` to `to`: nobody holds something else than its neighbors for longer than `seconds`
    withoutBsr,  ///< likewise: nobody is without BSR of `zone` for longer
    withoutRp,   ///< likewise: nobody has no RP of `zone` for longer
  };
  Kind kind{};
  double at = 0;
  double from = 0;
  double to = 0;
  double seconds = 0;
  Pax::IpGenPrefix zone{};
  Pax::IpGenAddr group{};
  std::optional<Pax::IpGenAddr> address{};
  std::vector<Node> nodes{};  ///< who is asked
  bool named = false;         ///< by the file: these nodes and no others
  std::string text{};         ///< as it is told: "at 90 s the BSR of 224.0.0.0/4 is r1 (10.0.0.1) everywhere"
};

/// "r1", or "r1/blue" where the VRF is not the default one.
std::string nodeName(const std::string &router, const std::string &vrf);

struct Plan {
  std::string name;
  Pax::AddressFamily family = Pax::AddressFamily::ipv4;
  uint64_t seed = 1;
  double duration = 0;
  std::vector<Router> routers;  ///< in the order of their names, in which r2 comes before r10
  std::vector<Link> links;
  std::vector<Action> story;  ///< in the order of time
  std::vector<Expectation> expectations;

  /// Every router in each of its VRFs.
  std::vector<Node> nodes() const;
  /// "r1", "r1/blue".
  std::string nameOf(const Node &node) const;
  /// Whether there are others than "default", so that VRFs are to be told.
  bool hasVrfs() const;
};

}  // namespace Planning
