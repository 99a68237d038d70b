/// What is wrong with a text that is no JSON, for people.
#pragma once

#include <string_view>

#include "daemon/file/Findings.h"

namespace Routing::Pim::Bsr {

/// From what the parser says, without its own place, and how many bytes it has read: "syntax error while parsing object
/// key - unexpected '}'; ..." becomes "the name of a member has to be here, in double quotes, not '}'; is the comma
/// before it one too many?", with LINE:COLUMN as its place.
Finding syntaxErrorFrom(std::string_view text, std::string_view reason, size_t read);

}  // namespace Routing::Pim::Bsr
