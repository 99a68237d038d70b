/// The start of one VRF: what is mounted for it alone, and how its Container is filled.
#pragma once

#include "agent/Container.h"
#include "agent/Mounts.h"

namespace Routing::Pim::Bsr {

/// Lives from the moment when the VRF has everything it shares with others until its machines are made; RootSm owns
/// it and makes them. Writes the Container and nothing else.
class VrfStart {
 public:
  /// A start that makes machines must not be disturbed: they write, and what they write may concern the VRF. It is
  /// looked at again afterwards.
  enum class Phase { mounting, makingMachines, toBeLookedAtAgain };
  Phase phase = Phase::mounting;

  /// Mounts the VRF's counters, packet channel and routes, under the paths of the family. `container` outlives it.
  VrfStart(Statehub::Store &store, Pax::AddressFamily af, Container &container);

  /// Mounts the kernel's interfaces in the VRF's network namespace too.
  void kernelInterfacesMount(const Pax::NamespaceName &networkNamespace);
  /// To be called last. `mounted` may be called inside, and may destroy this.
  void whenMounted(std::function<void()> mounted) { mounts_.whenComplete(std::move(mounted)); }
  /// With what was mounted here and with the VRF's part of what all share.
  void fill(const Mounts &shared) const;

 private:
  void fillMountedOnly(const Mounts &shared) const;

  const Pax::AddressFamily af_;
  Container &container_;
  Statehub::MountGroup mounts_;
  Kiv::Ptr<const IO::ChannelStatus> channelStatus_;
  Kiv::Ptr<const KernelNetInfo::Status> kernelVrfIntfStatusDir_;
};

}  // namespace Routing::Pim::Bsr
