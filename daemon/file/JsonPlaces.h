/// Lines and columns of what a finding is about.
#pragma once

#include <string_view>

#include "daemon/file/Findings.h"

namespace Routing::Pim::Bsr {

/// Says of each finding that has the path of a member or an element where in `text` that begins. The text is JSON with
/// comments.
void findPlaces(std::string_view text, Findings &findings);

/// LINE:COLUMN of what follows the first `length` bytes.
std::string placeOf(std::string_view text, size_t length);

/// What the parser says about a text that is no JSON, for people: "parse error at line 1, column 2: syntax error while
/// parsing object key - unexpected '}'; expected string literal" becomes "the name of a member has to be here, in
/// double quotes, not '}'; is the comma before it one too many?"
std::string inPlainWords(std::string_view reason);

}  // namespace Routing::Pim::Bsr
