/// Groups and zones that operators ask about.
#pragma once

#include <string>

#include "view/VrfView.h"

namespace Routing::Pim::Bsr {

/// Throws std::invalid_argument where the text is no group of the family.
Pax::IpGenAddr groupFrom(const std::string &text, Pax::AddressFamily family);
/// Throws std::invalid_argument where the text is no range of groups of the family.
Pax::IpGenPrefix zoneFrom(const std::string &text, Pax::AddressFamily family);
/// The zone whose set is published for the prefix; empty where none is. The VRF runs.
Pax::IpGenPrefix publisherOf(const VrfView &view, const Pax::IpGenPrefix &prefix);

}  // namespace Routing::Pim::Bsr
