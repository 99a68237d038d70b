/// Whether what an operator names is there.
#pragma once

#include <optional>
#include <string>

#include "daemon/Answers.h"
#include "daemon/control/Request.h"
#include "view/VrfView.h"

namespace Routing::Pim::Bsr {

// All throw std::out_of_range where it is not, with the names that there are if they are few.

/// The VRF has to be configured; an empty text names none.
void checkVrf(const Answers::Process &process, const std::string &vrf);

/// The interface or the zone that "show" or "explain" is about has to be configured, the zone can be learned instead.
/// Where past events are asked for, it is enough that one of them is of the VRF or of the zone. Throws
/// std::invalid_argument where the text is no zone.
void checkNames(const Answers::Process &process, const Control::Request &request);

/// The VRF as it is now; empty where it is not configured, or nothing is known of it.
std::optional<VrfView> viewOf(const Answers::Process &process, const L3::VrfName &vrf);

}  // namespace Routing::Pim::Bsr
