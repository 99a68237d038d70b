/// Lines and columns of what a finding is about.
#pragma once

#include <string_view>

#include "daemon/file/Findings.h"

namespace Routing::Pim::Bsr {

/// Says of each finding that has the path of a member or an element, and of each path in `findings.at`, where in `text`
/// that begins. The text is JSON with comments.
void findPlaces(std::string_view text, Findings &findings);

/// LINE:COLUMN of what follows the first `length` bytes.
std::string placeOf(std::string_view text, size_t length);

}  // namespace Routing::Pim::Bsr
