/// The paths that an agent mounts, by address family.
#pragma once

#include <string>
#include <string_view>

#include "platform/pax/IpGenAddr.h"
#include "platform/pax/Ranged.h"
#include "platform/pim/Types.h"
#include "platform/system/AgentName.h"

namespace Routing::Pim::Bsr {

/// The paths of one family. Makes texts; mounts and publishes nothing.
class MountPaths {
 public:
  explicit MountPaths(Pax::AddressFamily af) : af_(af), agent_(agentName(af)) {}

  /// Unicast routes, of one VRF; the default VRF has fixed paths.
  std::string routeStatus(const L3::VrfName &vrf) const { return unicast("routing", vrf); }
  std::string forwardingStatus(const L3::VrfName &vrf) const { return unicast("forwarding", vrf); }
  /// Multicast routes, forwarding and boundaries, of all VRFs.
  std::string mribStatusColl() const { return routing() + "/multicast/rib/status"; }
  std::string mfibConfig() const { return routing() + "/multicast/fib/config"; }
  std::string mcastBoundaryStatus() const { return routing() + "/multicast/boundary/status"; }

  /// Boot and shutdown stages: `kind` is "boot" or "shutdown".
  std::string stageInput(std::string_view kind) const { return stage("stageInput", kind); }
  std::string stageAgentStatus(std::string_view kind) const { return stage("stageAgentStatus", kind); }
  static std::string stageProgress(std::string_view kind) { return "stage/" + std::string(kind) + "/progress"; }
  static std::string stageCompletion(std::string_view kind) {
    return "stage/" + std::string(kind) + "/completionstatus";
  }
  /// Which of two controllers is active.
  static std::string redundancyStatus() { return "redundancy/status"; }

  /// What this agent reads and writes, of all VRFs.
  std::string bsrConfigColl() const { return pim("bsr/config"); }
  std::string bsrClearConfigColl() const { return pim("bsr/clear"); }
  std::string bsrStatusColl() const { return pim("bsr/status"); }
  std::string rpCandidateStatusColl() const { return pim("rpcandidate/status"); }
  /// What PIM has: for each mode the groups and the static RPs, and its own configuration and status.
  std::string groupStatusColl(Mode mode) const { return pim("group/status/" + modeName(mode)); }
  std::string rpConfigColl(Mode mode) const { return pim("rp/config/" + modeName(mode)); }
  std::string pimConfigColl() const { return pim("config"); }
  std::string pimGlobalStatus() const { return pim("status/global"); }
  std::string pimStatusColl() const { return pim("status"); }
  /// Of one VRF: the counters of PIM messages, and the packet channel.
  std::string messageCounters(const L3::VrfName &vrf) const { return pim("counters/" + vrf.text() + "/bsr"); }
  std::string channelStatus(const L3::VrfName &vrf) const { return pim("io/" + vrf.text()); }

  /// What the system has, of all families.
  static std::string allVrfStatusLocal() { return "ip/vrf/status/local"; }
  static std::string aclInput() { return "acl/config/input"; }
  static std::string aclCli() { return "acl/config/cli"; }
  static std::string allIntfStatusDir() { return "interface/status/all"; }
  static std::string allIntfStatusLocalDir() { return "interface/status/local"; }
  /// "kni/ns/%s/status", of a network namespace; the one without name has a path that no name gives.
  static std::string kniStatus(const Pax::NamespaceName &name) {
    return name.empty() ? "kni/status" : "kni/ns/" + name.text() + "/status";
  }

 private:
  std::string routing() const { return root("routing"); }
  std::string root(std::string_view table) const;
  std::string unicast(std::string_view table, const L3::VrfName &vrf) const;
  std::string pim(const std::string &what) const { return routing() + "/pim/" + what; }
  std::string stage(std::string_view what, std::string_view kind) const;
  static std::string modeName(Mode mode);

  const Pax::AddressFamily af_;
  const std::string agent_;
};

}  // namespace Routing::Pim::Bsr
