/// What is doubtful in a configuration on this machine.
#pragma once

#include <functional>

#include "daemon/file/ConfigFile.h"
#include "platform/ip/IntfStatus.h"

namespace Routing::Pim::Bsr {

/// The interfaces of one VRF, and which of them belong to a vrf device.
struct SystemView {
  Kiv::Ptr<const Ip::AllIntfStatusDir> interfaces;
  std::function<bool(const Pax::IntfId &intfId)> inVrfDevice;
};

/// Finds warnings of one VRF, in a configuration without errors: a PIM interface of a vrf device, a
/// filter that denies our own candidate RP. What the system does not have (yet) is passed over.
void findSystemWarnings(const Configuration &configuration, const L3::VrfName &vrf, const SystemView &view,
                        Findings &findings);

/// The same of every VRF, asking the kernel for interfaces and addresses and waiting for its answer.
/// A namespace that is not there, or may not be entered, is passed over.
void findSystemWarnings(const Configuration &configuration, Findings &findings);

/// The configuration of the file, with the warnings for this machine.
LoadedConfiguration configurationForHere(const std::string &file, Pax::AddressFamily family);

}  // namespace Routing::Pim::Bsr
