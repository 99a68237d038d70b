/// The agent of one address family, as one process runs it.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "agent/AgentWatcher.h"
#include "agent/Container.h"
#include "agent/ContainerSm.h"
#include "agent/Mounts.h"
#include "agent/RedundancyStatusSm.h"
#include "agent/Shutdown.h"
#include "platform/acl/AclConfigAggregatorSm.h"

namespace Routing::Pim::Bsr {

class RootSm;

/// Mounts what it needs, and while this controller does not stand by, runs the protocol in every VRF that qualifies:
/// which those are RootSm decides. Owned by the process, or by the host of a simulated router. The families differ in
/// the paths that they mount. Its end, like a change to standby, keeps all status and sends nothing.
class Agent {
 public:
  /// The stages that an agent runs. One of another name is ignored.
  static constexpr std::string_view bootStage = "NetworkAgent";
  static constexpr std::string_view shutdownStage = "NetworkAgentShutdown";

  /// The loop that drives an agent: its clock, and what its timers wake. Outlives the agent.
  struct Process {
    Statehub::Store &store;
    Orb::Clock &clock;
    Orb::Waker &waker;
    Orb::Random &random;
  };

  virtual ~Agent();

  /// Mounts everything; the rest follows when all of it is there, perhaps inside this call. A second call does
  /// nothing.
  void doInit();

  /// At most one; null for none.
  void watcherIs(AgentWatcher *watcher) { watcher_ = watcher; }

  const std::string &name() const { return name_; }
  Pax::AddressFamily af() const { return af_; }
  bool standbyMode() const { return standbyMode_; }
  /// Whether a hitless shutdown has begun.
  bool shutdown() const { return shutdown_.begun(); }
  /// Null while the mounts are pending, and in standby.
  const RootSm *rootSm() const { return rootSm_.get(); }

  using ContainerColl = std::map<L3::VrfName, std::unique_ptr<Container>>;
  using ContainerSms = Shutdown::ContainerSms;
  const ContainerColl &containerColl() const { return containerColl_; }
  /// Null when the VRF is not known.
  Container *container(const L3::VrfName &vrf) const;
  /// The VRFs that run, and one of them; null when that does not run.
  const ContainerSms &containerSm() const { return containerSm_; }
  const ContainerSm *containerSm(const L3::VrfName &vrf) const;

 protected:
  Agent(Pax::AddressFamily af, const Process &process);
  /// Mounts everything, under the paths of the family.
  void doAfInit(Statehub::MountGroup &group) { mounts_.mount(group, MountPaths(af_)); }
  /// Everything is there; a place for what only one family has.
  virtual void doAfMountsComplete() {}
  Mounts mounts_;

 private:
  friend class RootSm;
  /// While one exists, machines are being made, and a change of standby, which would end them, waits.
  class Starting {
   public:
    explicit Starting(Agent &agent) : agent_(agent) { ++agent_.starting_; }
    ~Starting();
    Starting(const Starting &) = delete;
    Starting &operator=(const Starting &) = delete;

   private:
    Agent &agent_;
  };

  void doMountsComplete();
  void standbyModeIs(bool standby);
  void handleStandbyMode();
  void doCleanup();
  void rootSmIs(Pax::AddressFamily af, uint32_t maxRoutes);
  void doStage(std::string_view stageClass, std::string_view stage);
  void doBootStage(std::string_view stage);
  void doShutdownStage(std::string_view stage);
  void doShutdownStageComplete();

  Container &containerIs(const L3::VrfName &vrf);
  void containerDel(const L3::VrfName &vrf) { containerColl_.erase(vrf); }
  void containerSmIs(const L3::VrfName &vrf);
  void containerSmDel(const L3::VrfName &vrf);

  const Pax::AddressFamily af_;
  const std::string name_;
  const Process process_;
  AgentWatcher *watcher_ = nullptr;
  std::unique_ptr<Statehub::MountGroup> mountGroup_;
  bool standbyMode_ = false;
  bool mountsComplete_ = false;
  int starting_ = 0;
  bool standbyWaits_ = false;
  std::unique_ptr<Acl::AclConfigAggregatorSm> aclConfigAggregatorSm_;
  ContainerColl containerColl_;
  ContainerSms containerSm_;
  std::unique_ptr<RootSm> rootSm_;
  Shutdown shutdown_;
  std::unique_ptr<Stage::StagesHelper> bootStagesHelper_;
  std::unique_ptr<Stage::StagesHelper> shutdownStagesHelper_;
  std::unique_ptr<RedundancyStatusSm> redundancyStatusSm_;
};

/// "PimBsr", of IPv4.
class Agent4 : public Agent {
 public:
  explicit Agent4(const Process &process) : Agent(Pax::AddressFamily::ipv4, process) {}
};

/// "PimBsr6", of IPv6.
class Agent6 : public Agent {
 public:
  explicit Agent6(const Process &process) : Agent(Pax::AddressFamily::ipv6, process) {}
};

/// The agent of the family; any other than IPv4 and IPv6 is fatal.
std::unique_ptr<Agent> makeAgent(Pax::AddressFamily af, const Agent::Process &process);

}  // namespace Routing::Pim::Bsr
