/// Rows as operators read them.
#pragma once

#include <string>

#include "daemon/control/Nouns.h"
#include "daemon/control/Request.h"

namespace Control {

/// In the layout of the noun, with its columns in their order. A null noun: a table of whatever fields
/// the first row has.
std::string toTable(const Rows &rows, const Noun *noun);

}  // namespace Control
