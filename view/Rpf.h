/// The way towards an address, in the operator's words: from which neighbor its Bootstrap messages have to come.
#pragma once

#include <string>

#include "platform/pim/PimRpfTable.h"
#include "view/VrfView.h"

namespace Routing::Pim::Bsr {

/// The RPF neighbor toward the address, as the gate for Bootstrap messages looks it up; unset where PIM does not run.
RpfInfo rpfTowards(const VrfView &view, const Pax::IpGenAddr &address);
/// Why there is none: "there is no route to 10.0.0.1"; empty where there is one.
std::string whyNoRpf(const VrfView &view, const Pax::IpGenAddr &address);
/// What shows why there is none: the route where that is missing, the neighbors where it leads to none.
std::string rpfCommand(const VrfView &view, const Pax::IpGenAddr &address);
/// What shows the route on this router: "ip -n blue route get 10.0.0.1".
std::string routeCommand(const VrfView &view, const Pax::IpGenAddr &address);

}  // namespace Routing::Pim::Bsr
