/// Rows as operators read them.
#pragma once

#include <string>

#include "daemon/control/Nouns.h"
#include "daemon/control/Request.h"

namespace Control {

struct TableOptions {
  bool legend = true;     ///< begin with the names of the columns
  bool prefixes = false;  ///< show the columns that list prefixes, too
};

/// In the layout of the noun, with its columns in their order; wide cells are folded, and of long lists the first
/// elements are shown, but for rules and what --prefixes asks for; durations read like 1h02m. A null
/// noun: a table of whatever fields the first row has.
std::string toTable(const Rows &rows, const Noun *noun, const TableOptions &options = {});

}  // namespace Control
