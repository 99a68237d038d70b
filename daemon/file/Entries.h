/// The entries of a configuration by their paths, as Places takes them.
#pragma once

#include <initializer_list>
#include <string>

#include "config/Offers.h"
#include "daemon/file/Configuration.h"

namespace Routing::Pim::Bsr {

/// "/NAME/NAME..."
std::string entryPath(std::initializer_list<std::string_view> names);
std::string textOf(const Pax::IpGenPrefix &prefix);
/// Of the settings of an interface.
std::string borderEntry(const Configuration &configuration, const Pax::IntfId &intfId);
/// Of a source of the VRF.
std::string entryOf(const Configuration &configuration, const L3::VrfName &vrf, const Source &source);

}  // namespace Routing::Pim::Bsr
