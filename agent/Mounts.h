/// The state that an agent mounts before it does anything else.
#pragma once

#include "agent/MountPaths.h"
#include "model/Config.h"
#include "model/Status.h"
#include "platform/acl/Acl.h"
#include "platform/ip/VrfStatus.h"
#include "platform/kiv/Dir.h"
#include "platform/pim/PimSystem.h"
#include "platform/routing/Multicast.h"
#include "platform/statehub/Store.h"
#include "platform/system/RedundancyStatus.h"
#include "platform/system/Stages.h"

namespace Routing::Pim::Bsr {

/// Collections of all VRFs, read-only but for those that the agent writes. The state of single VRFs
/// is mounted when PIM becomes enabled there.
struct Mounts {
  // Of the process: redundancy and stages.
  Kiv::Ptr<const Redundancy::RedundancyStatus> redundancyStatus;
  Kiv::Ptr<const Stage::AgentConfig> bootStageInput, shutdownStageInput;
  Kiv::Ptr<Stage::AgentStatus> bootStageStatus, shutdownStageStatus;
  Kiv::Ptr<const Stage::ProgressDir> bootProgress, shutdownProgress;
  Kiv::Ptr<const Stage::CompletionStatusDir> bootCompletion, shutdownCompletion;

  // Of the agent itself; it writes the last two.
  Kiv::Ptr<const ConfigColl> configColl;
  Kiv::Ptr<const ClearConfigColl> clearConfigColl;
  Kiv::Ptr<StatusColl> statusColl;
  Kiv::Ptr<RpCandidateStatusColl> rpCandidateStatusColl;

  // Of PIM: a VRF starts when it is in each.
  Kiv::Ptr<const GroupStatusColl> groupStatusColl, bidirGroupStatusColl;
  Kiv::Ptr<const RpConfigColl> rpConfigColl, bidirRpConfigColl;
  Kiv::Ptr<const Pim::ConfigColl> pimConfigColl;
  Kiv::Ptr<const GlobalStatus> pimGlobalStatus;
  Kiv::Ptr<const Pim::StatusColl> pimStatusColl;
  Kiv::Ptr<const Multicast::Rib::StatusColl> mribStatusColl;
  Kiv::Ptr<const Multicast::Fib::VrfConfig> mfibConfig;
  Kiv::Ptr<const McastBoundary::Status> mcastBoundaryStatus;

  // Of the system: VRFs, interfaces, ACLs.
  Kiv::Ptr<const Ip::AllVrfStatusLocal> allVrfStatusLocal;
  Kiv::Ptr<const Interface::AllIntfStatusDir> allIntfStatusDir;
  Kiv::Ptr<const Interface::AllIntfStatusLocalDir> allIntfStatusLocalDir;
  Kiv::Ptr<const Kiv::Dir<Acl::Input::Config>> aclInput;
  Kiv::Ptr<const Acl::Input::Config> aclCli;
  /// The two merged, by the agent.
  Kiv::Ptr<Acl::Input::Config> aclConfig;

  /// Mounts all that the two families have alike, each under the path of its family.
  void mount(Statehub::MountGroup &group, const MountPaths &paths);
};

}  // namespace Routing::Pim::Bsr
