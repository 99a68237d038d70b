#include "agent/Mounts.h"

namespace Routing::Pim::Bsr {

void Mounts::mount(Statehub::MountGroup &group, const MountPaths &paths) {
  group.mount(MountPaths::redundancyStatus(), redundancyStatus);
  group.mount(paths.stageInput("boot"), bootStageInput);
  group.mount(paths.stageAgentStatus("boot"), bootStageStatus);
  group.mount(paths.stageInput("shutdown"), shutdownStageInput);
  group.mount(paths.stageAgentStatus("shutdown"), shutdownStageStatus);
  group.mount(MountPaths::stageProgress("boot"), bootProgress);
  group.mount(MountPaths::stageProgress("shutdown"), shutdownProgress);
  group.mount(MountPaths::stageCompletion("boot"), bootCompletion);
  group.mount(MountPaths::stageCompletion("shutdown"), shutdownCompletion);

  group.mount(paths.bsrConfigColl(), configColl);
  group.mount(paths.bsrClearConfigColl(), clearConfigColl);
  group.mount(paths.bsrStatusColl(), statusColl);
  group.mount(paths.rpCandidateStatusColl(), rpCandidateStatusColl);

  group.mount(paths.groupStatusColl(Mode::sparse), groupStatusColl);
  group.mount(paths.groupStatusColl(Mode::bidir), bidirGroupStatusColl);
  group.mount(paths.rpConfigColl(Mode::sparse), rpConfigColl);
  group.mount(paths.rpConfigColl(Mode::bidir), bidirRpConfigColl);
  group.mount(paths.mribStatusColl(), mribStatusColl);
  group.mount(paths.mfibConfig(), mfibConfig);
  group.mount(paths.mcastBoundaryStatus(), mcastBoundaryStatus);
  group.mount(paths.pimConfigColl(), pimConfigColl);
  group.mount(paths.pimGlobalStatus(), pimGlobalStatus);
  group.mount(paths.pimStatusColl(), pimStatusColl);

  group.mount(MountPaths::allVrfStatusLocal(), allVrfStatusLocal);
  group.mount(MountPaths::aclInput(), aclInput);
  group.mount(MountPaths::aclCli(), aclCli);
  group.mount(MountPaths::allIntfStatusDir(), allIntfStatusDir);
  group.mount(MountPaths::allIntfStatusLocalDir(), allIntfStatusLocalDir);
}

}  // namespace Routing::Pim::Bsr
