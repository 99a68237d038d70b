/// Sentences for operators.
#pragma once

#include <sstream>
#include <string>

namespace Routing::Pim::Bsr {

/// What `<<` prints of all of them.
template <class... Parts>
std::string sentence(const Parts &...parts) {
  std::ostringstream text;
  (text << ... << parts);
  return text.str();
}

}  // namespace Routing::Pim::Bsr
