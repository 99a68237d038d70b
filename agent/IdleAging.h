/// The aging of what was learned in VRFs in which nothing runs.
#pragma once

#include <set>

#include "agent/Agent.h"
#include "platform/orb/TimerFor.h"

namespace Routing::Pim::Bsr {

/// While the machines of a VRF are away, since its interfaces or PIM there are, nobody else ages what they had learned
/// and published. An RP goes when its hold time is over; a BSR when nothing could have come from it for the timeout,
/// and with it an election that this router had won. Whatever is left is found by the machines when they come back.
/// RootSm owns it, and says in which VRFs nothing runs.
class IdleAging {
 public:
  IdleAging(const Agent::Process &process, const Mounts &mounts);

  void idleIs(const L3::VrfName &vrf, bool idle);

 private:
  void age();

  const Agent::Process process_;
  const Mounts &mounts_;
  std::set<L3::VrfName> idle_;
  Orb::TimerFor<&IdleAging::age> timer_;
};

}  // namespace Routing::Pim::Bsr
