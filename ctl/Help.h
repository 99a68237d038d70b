/// What --help prints.
#pragma once

#include <string>
#include <vector>

namespace Control {

/// Verbs, nouns and options.
std::string usage();

/// What a verb does, or what one gives a noun and gets: "bsr", "show bsr", "explain". A noun of several verbs is told
/// for each. Throws UsageError where there is none.
std::string helpOn(const std::vector<std::string> &operands);

/// The line "  NAME   WHAT IT IS", and more where that needs more: none is longer than 80 columns.
std::string helpLine(const std::string &name, std::string_view help);

}  // namespace Control
