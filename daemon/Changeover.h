/// From one configuration to the next, while the agent runs.
#pragma once

#include <optional>
#include <vector>

#include "daemon/VrfHost.h"
#include "daemon/file/ConfigApply.h"

namespace Routing::Pim::Bsr {

/// VRFs that go, or are to be elsewhere, do so first, since another may take over their namespace or device; then the
/// configuration entities change, in the phases of ConfigApplication; then VRFs come, or change their interfaces. All
/// that it is made of outlives it.
class Changeover {
 public:
  Changeover(const VrfHost::Process &process, VrfHosts &hosts, const Configuration &before, Configuration wanted);

  /// Does a slice, which is over when the turn of the loop is long. True at the end.
  bool goOn();
  const Configuration &wanted() const { return wanted_; }

 private:
  bool step();
  void hostIs(const L3::VrfName &vrf, const PimVrf &pim);

  const VrfHost::Process process_;
  VrfHosts &hosts_;
  const Configuration wanted_;
  std::vector<L3::VrfName> gone_;
  std::optional<ConfigApplication> application_;
  std::map<L3::VrfName, PimVrf>::const_iterator next_;  // whose host is to be brought up to date
  bool applied_ = false;
};

}  // namespace Routing::Pim::Bsr
