/// What two configurations differ in, in numbers.
#pragma once

#include <string>

#include "daemon/file/Configuration.h"

namespace Routing::Pim::Bsr {

/// As a part of a sentence: "1 VRF added, 2 ACLs changed", or "nothing changed".
std::string differenceOf(const Configuration &before, const Configuration &now);

}  // namespace Routing::Pim::Bsr
