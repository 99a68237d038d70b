/// Tells the events of an agent, on Linux and in a simulation alike.
#pragma once

#include <memory>
#include <set>

#include "agent/Agent.h"
#include "agent/SystemState.h"
#include "view/Drops.h"
#include "view/EventLog.h"

namespace Routing::Pim::Bsr {

class VrfReporter;

/// Made before the agent, whose watcher it is, and ended after it, by whoever runs the agent. It only reads: what it
/// does not learn from entities, the engine and the packet ports tell it.
class EventReporter : public AgentWatcher {
 public:
  /// All of it outlives the reporter.
  struct Process {
    EventLog &log;
    Drops &drops;
    const SystemState &system;
    Kiv::Ptr<Orb::TimerWheel> wheel;
    std::function<std::vector<Pax::IntfId>(const L3::VrfName &vrf)> pimInterfaces;  ///< as configured
    /// Why the VRF does not run; empty where it is about to.
    std::function<std::string(const L3::VrfName &vrf)> awaited;
    /// Is told at the end of a turn in which BSRs, RPs or links of the VRF changed; empty if nobody wants to know.
    std::function<void(const L3::VrfName &vrf)> settled = {};
  };

  explicit EventReporter(Process process);
  ~EventReporter() override;

  /// The agent is ready; tells what it found from before, too.
  /// `remark`, if any, is what an operator should look at.
  void started(const std::string &name, const std::string &version, const std::string &remark);
  /// It is about to stop: that its VRFs stop is no news.
  void stopping(const std::string &name);
  /// A configuration is in force.
  void handleConfig();
  /// Of the process itself.
  void tell(EventKind kind, Severity severity, const std::string &text, const std::string &cause = "") {
    tell(kind, severity, {}, text, cause);
  }

  void vrfRuns(const L3::VrfName &vrf, const ContainerSm &machines) override;
  void vrfStops(const L3::VrfName &vrf) override;

 private:
  class KivRedundancy;
  class KivStage;
  class KivVrfs;

  static constexpr double patience = 2;  ///< seconds that a VRF has to start before it is told that it waits

  void tell(EventKind kind, Severity severity, const L3::VrfName &vrf, const std::string &text,
            const std::string &cause);
  void handleRole();
  void handleStage(const std::string &stage);
  void handleVrf(const L3::VrfName &vrf);
  void look(double time);
  void lookAtVrfs();
  std::string whatIsThere() const;

  const Process process_;
  bool standby_;
  bool stopping_ = false;
  std::map<L3::VrfName, std::unique_ptr<VrfReporter>> running_;
  std::map<L3::VrfName, std::string> waiting_;  // those that were told of, with the reason
  Orb::TimerFor<&EventReporter::lookAtVrfs> timer_;
  std::unique_ptr<KivRedundancy> kivRedundancy_;
  std::unique_ptr<KivStage> kivBootStage_, kivShutdownStage_;
  std::unique_ptr<KivVrfs> kivVrfs_;
};

}  // namespace Routing::Pim::Bsr
