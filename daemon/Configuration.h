/// What a configuration file says, as plain data: checked, defaults filled in.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "platform/pax/IntfId.h"
#include "platform/pax/Ranged.h"

namespace Routing::Pim::Bsr {

/// One VRF and where PIM is on in it.
struct PimVrf {
  Pax::NamespaceName networkNamespace;  ///< empty for the one that the program starts in
  std::vector<Pax::IntfId> interfaces;
  bool speak = true;  ///< false: another PIM daemon on this router sends the Hellos
  uint32_t drPriority = 0;
  bool operator==(const PimVrf &) const = default;
};

/// Configuration of the agent in one VRF. Times in seconds.
struct VrfSettings {
  uint32_t holdTime = 130;
  uint32_t szTimeout = 1300;
  bool operator==(const VrfSettings &) const = default;
};

struct Configuration {
  std::map<L3::VrfName, PimVrf> pim;
  std::map<L3::VrfName, VrfSettings> vrfConfig;  ///< one for each VRF of `pim`
  bool operator==(const Configuration &) const = default;
};

}  // namespace Routing::Pim::Bsr
