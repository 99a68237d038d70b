/// Doubtful settings that depend on the interfaces and addresses of this machine.
#pragma once

#include "daemon/file/ConfigFile.h"
#include "daemon/file/VrfHome.h"
#include "platform/ip/IntfStatus.h"

namespace Routing::Pim::Bsr {

/// What this machine has of one VRF, as its monitor knew it when this was made.
struct SystemView {
  SystemView(const L3::VrfName &vrf, const FoundHome &found);
  FoundHome home;
  Kiv::Ptr<const Ip::AllIntfStatusDir> interfaces;
};

/// Checks one VRF of a configuration without errors for an interface, of PIM, a candidacy or a border, that is not
/// there or belongs to another VRF device, and for a filter that denies this router's own candidate RP.
void findSystemWarnings(const Configuration &configuration, const L3::VrfName &vrf, const SystemView &view,
                        Findings &findings);

/// The same for every VRF; asks the kernel for interfaces and addresses and waits for the answers. For a program that
/// does nothing else yet.
void findSystemWarnings(const Configuration &configuration, Findings &findings);

/// The configuration of the file, with the warnings for this machine.
LoadedConfiguration configurationForHere(const std::string &file, Pax::AddressFamily family);

}  // namespace Routing::Pim::Bsr
