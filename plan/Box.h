/// A simulated router with its agent and what that tells.
#pragma once

#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "plan/Plan.h"
#include "sim/Host.h"
#include "view/EventReporter.h"
#include "view/VrfView.h"

namespace Sim {
class Network;
}

namespace Planning {

/// What a router holds for a zone.
struct Held {
  Pax::IpGenAddr bsr;  ///< zero: none
  uint16_t priority = 0;
  uint32_t hashMaskLen = 0;
  bool elected = false;  ///< it is this router
  size_t rps = 0;        ///< pairs of a range and an RP, hidden ones included
  uint64_t digest = 0;   ///< of these (Routing::Pim::Bsr::RpSetDigest)
  /// Whether others hold the same; who is elected aside.
  bool isAsOf(const Held &other) const {
    return bsr == other.bsr && priority == other.priority && hashMaskLen == other.hashMaskLen && digest == other.digest;
  }
  bool operator==(const Held &) const = default;
};
using HeldByZone = std::map<Pax::IpGenPrefix, Held>;

/// Owned by the Simulation. Its VRFs are made at once and without links; what the configuration names of them, the
/// agent runs in.
class Box {
 public:
  using Settled = std::function<void(size_t vrf)>;

  /// `settled` is told at the end of each turn in which what is held in a VRF may have changed.
  Box(Sim::Network &network, const Router &router, Settled settled);
  ~Box();

  const Router &router() const { return router_; }
  /// By the place of the VRF.
  Sim::Router &vrf(size_t place) const { return *vrfs_[place]; }
  bool runs() const { return host_.runs(); }
  /// Whether its agent runs and is configured for the VRF.
  bool runsIn(size_t vrf) const { return runs() && isConfigured(*vrfs_[vrf]); }
  bool standsBy() const { return host_.system().redundancyStatus->standby(); }
  /// Whether messages about the zone pass the interface of the VRF, which is up.
  bool hears(size_t vrf, const Pax::IntfId &intfId, const Pax::IpGenPrefix &zone) const;
  bool hasPower() const { return vrfs_.front()->hasPower(); }
  Routing::Pim::Bsr::EventLog &log() { return log_; }

  /// What the agent has written of the VRF, also when it does not run any more; null before it has.
  Kiv::Ptr<const Routing::Pim::Bsr::Status> status(size_t vrf) const;

  // Each does nothing where there is nothing to do.
  void start();
  void stop();
  void crash();
  void powerOff();
  void powerOn();
  void standbyIs(bool standby);
  /// Brings the agent to this configuration at once, or at its next start.
  void configurationIs(const ConfigurationPtr &configuration);

  /// What the VRF holds now; empty while its agent does not run there.
  HeldByZone held(size_t vrf) const;
  /// The RPs that the VRF knows of the zone, also when the agent does not run any more.
  std::set<Pax::IpGenAddr> rps(size_t vrf, const Pax::IpGenPrefix &zone) const;
  /// The views of the VRFs in which the agent is to run, by name.
  std::vector<Routing::Pim::Bsr::VrfView> views();
  /// What "pimbsrctl --json show NOUN ARGUMENT", or "explain", prints; of events, drops and nouns about VRFs. Throws
  /// std::invalid_argument.
  Routing::Pim::Bsr::Rows shown(const std::string &noun, const std::string &argument);
  Routing::Pim::Bsr::Rows explained(const std::string &topic, const std::string &argument);

 private:
  void apply();
  bool isConfigured(const Sim::Router &vrf) const;

  const Router &router_;
  Sim::VirtualTime &time_;
  ConfigurationPtr configuration_;
  ConfigurationPtr applied_;  // what the entities say; null before the first start
  std::vector<Sim::Router *> vrfs_;
  mutable Sim::Host host_;
  Routing::Pim::Bsr::EventLog log_;
  Routing::Pim::Bsr::Drops drops_;
  Routing::Pim::Bsr::EventReporter reporter_;
};

}  // namespace Planning
