/// The rows that answer "show NOUN": one file a noun, one function a file.
#pragma once

#include <map>
#include <vector>

#include "engine/PimBsrSm.h"
#include "model/Status.h"
#include "platform/acl/Acl.h"
#include "platform/ip/IntfStatus.h"
#include "platform/pim/PacketPort.h"
#include "platform/pim/PimStatus.h"
#include "platform/pim/RpHash.h"
#include "view/Json.h"

namespace Routing::Pim::Bsr {

class ConfigSm;

/// A VRF as it is now. What comes with the namespace is null while that is away.
struct VrfView {
  L3::VrfName vrf;
  Pax::AddressFamily af = Pax::AddressFamily::unknown;
  double now = 0;
  Kiv::Ptr<const Config> config;
  std::map<Pax::IntfId, Kiv::Ptr<const IntfConfig>> intfConfig;  ///< the VRF's own
  std::vector<Pax::IntfId> pimInterfaces;                        ///< where PIM is to be on
  Kiv::Ptr<const Acl::Input::Config> ipAclConfig;
  Kiv::Ptr<const Status> status;
  Kiv::Ptr<const Ip::AllIntfStatusDir> interfaces;
  Kiv::Ptr<const Pim::Status> pimStatus;
  const ConfigSm *configSm = nullptr;
  PimBsrSm *bsrSm = nullptr;
  const Flume::PacketCounters *packets = nullptr;
  const RpHashSm *rpHashSm = nullptr;
  const RpHashSm *bidirRpHashSm = nullptr;
};

/// The rows of a noun that VRFs have, sorted by VRF and then by the noun's own keys. Throws
/// std::invalid_argument when it is none, or when the argument is not what the noun needs. `views` are
/// sorted by VRF.
Rows rowsOf(std::string_view noun, const std::vector<VrfView> &views, const std::string &argument = "");

// Each appends the rows of one VRF.
void showBsr(const VrfView &view, Rows &rows);
// Everything configured has a row, which says why if it is not in force.
void showCandidateBsr(const VrfView &view, Rows &rows);
void showCandidateRp(const VrfView &view, Rows &rows);
void showBorder(const VrfView &view, Rows &rows);
void showInterfaces(const VrfView &view, Rows &rows);
void showAcl(const VrfView &view, Rows &rows);
void showFilter(const VrfView &view, Rows &rows);
void showRpSet(const VrfView &view, Rows &rows);
/// The RPs that serve the group, a row for each mode in which there is one.
void showRp(const VrfView &view, const std::string &group, Rows &rows);
void showNeighbors(const VrfView &view, Rows &rows);
void showCounters(const VrfView &view, Rows &rows);

}  // namespace Routing::Pim::Bsr
