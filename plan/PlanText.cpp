#include "plan/PlanText.h"

#include <algorithm>
#include <regex>

namespace Planning {

using Kiv::RangeError;

namespace {

Form<std::string> textsLike(const char *pattern, const char *what) {
  const auto read = [pattern, what](const std::string &text) {
    if (!std::regex_match(text, std::regex(pattern))) throw RangeError("\"" + text + "\" is not " + what);
    return text;
  };
  return {read, [](const std::string &text) { return text; }, std::string("^") + pattern + "$"};
}

}  // namespace

Form<std::string> anyText() { return textsLike("[^\\x00-\\x1f\\x7f]+", "a text (one line that is not empty)"); }

Form<std::string> names() {
  return textsLike("[A-Za-z0-9][A-Za-z0-9_.-]{0,63}",
                   "a name (up to 64 letters, digits, '.', '_' and '-', of which the first is a letter or digit)");
}

Form<std::string> interfaceTexts() {
  return textsLike("[^/:\\s\\x00-\\x1f\\x7f]{1,15}", "an interface name (1 to 15 bytes without blanks, '/' or ':')");
}

Form<std::string> vrfTexts() {
  return textsLike("[^/:\\s\\x00-\\x1f\\x7f]{1,100}", "a VRF name (without blanks, '/' or ':')");
}

Form<std::string> memberTexts() {
  return textsLike(
      "[A-Za-z0-9][A-Za-z0-9_.-]{0,63}(/[^/:\\s\\x00-\\x1f\\x7f]{1,100})?(:[^/:\\s\\x00-\\x1f\\x7f]{1,15})?",
      "ROUTER, ROUTER:INTERFACE, ROUTER/VRF or ROUTER/VRF:INTERFACE");
}

Form<std::string> addressTexts() { return textsLike("[0-9a-fA-F:.]+(/[0-9]{1,3})?", "an address or a prefix"); }

}  // namespace Planning
