/// What is made from the table of nouns and the options to be read: the manual and the reference of the documentation.
#pragma once

#include <string>
#include <string_view>

namespace Control {

/// The page pimbsrctl(1), for scdoc.
std::string manual();
/// docs/pimbsrctl.md
std::string reference();

/// "manual" or "reference", or completion for "bash" or "zsh"; empty for anything else.
std::string printed(std::string_view what);

}  // namespace Control
