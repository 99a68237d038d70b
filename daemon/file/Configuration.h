/// What a configuration file says, as plain data: checked, defaults filled in. Times in seconds.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "model/Config.h"
#include "platform/acl/Acl.h"
#include "view/Event.h"

namespace Routing::Pim::Bsr {

/// One VRF and where PIM is on in it.
struct PimVrf {
  Pax::NamespaceName networkNamespace;  ///< empty: not given (homesOf tells what that means)
  std::string device;                   ///< the vrf device; empty: not given
  std::vector<Pax::IntfId> interfaces;
  bool speak = true;  ///< false: another PIM daemon on this router sends the Hellos
  uint32_t drPriority = 0;
  uint32_t neighborsMost = Limits().neighbors;  ///< on each interface: that of the VRF's limits
  bool operator==(const PimVrf &) const = default;
};

/// A candidacy for one zone, or for each zone that one ACL permits.
struct ZoneCandidacy {
  explicit ZoneCandidacy(Pax::AddressFamily family) : hashMaskLen(Pax::addressBits(family) - 2) {}
  uint16_t priority = 64;
  uint32_t hashMaskLen;
  uint32_t interval = 60;
  bool operator==(const ZoneCandidacy &) const = default;
};

/// An interface that is a candidate BSR.
struct BsrCandidacy {
  std::map<Pax::IpGenPrefix, ZoneCandidacy> group;
  std::map<std::string, ZoneCandidacy> acl;
  bool operator==(const BsrCandidacy &) const = default;
};

/// One range that an RP serves, or those that one ACL permits.
struct RangeOptions {
  RpPriority priority = 192;
  bool operator==(const RangeOptions &) const = default;
};

/// An interface that is a candidate RP.
struct RpCandidacy {
  std::map<Pax::IpGenPrefix, RangeOptions> groupRange;
  std::map<std::string, RangeOptions> acl;
  Mode mode = Mode::sparse;
  uint32_t advInterval = 60;
  bool operator==(const RpCandidacy &) const = default;
};

/// Configuration of the agent in one VRF.
struct VrfSettings {
  uint32_t holdTime = 130;
  uint32_t szTimeout = 1300;
  MixedFragments mixedFragments = MixedFragments::drop;
  Limits limits;
  std::map<Pax::IntfId, BsrCandidacy> bsrCandidateConfig;
  std::map<Pax::IntfId, RpCandidacy> rpCandidateConfig;
  std::set<std::string> crpFilterAcl;
  bool operator==(const VrfSettings &) const = default;
};

/// The groups for which an interface is a border.
struct IntfSettings {
  std::set<Pax::IpGenPrefix> bsrBorderGrp;
  std::set<std::string> bsrBorderAcl;
  bool operator==(const IntfSettings &) const = default;
};

/// The rules of one ACL in their order.
using AclRules = std::vector<Acl::IpRule>;

/// An address of this machine and a TCP port.
struct Endpoint {
  Pax::IpGenAddr address;
  uint16_t port = 0;
  bool empty() const { return address.af() == Pax::AddressFamily::unknown; }
  bool operator==(const Endpoint &) const = default;
};

/// The metrics over HTTP.
struct MetricsSettings {
  Endpoint listen;  ///< empty: nowhere
  bool operator==(const MetricsSettings &) const = default;
};

struct Configuration {
  Pax::AddressFamily family = Pax::AddressFamily::ipv4;
  std::map<L3::VrfName, PimVrf> pim;
  std::map<L3::VrfName, VrfSettings> vrfConfig;  ///< one for each VRF of `pim`
  std::map<Pax::IntfId, IntfSettings> intfConfig;
  std::map<std::string, AclRules> acl;
  Severity logLevel = Severity::notice;  ///< the least of events that are logged
  MetricsSettings metrics;
  bool operator==(const Configuration &) const = default;
};

}  // namespace Routing::Pim::Bsr
