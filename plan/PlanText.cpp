#include "plan/PlanText.h"

#include <algorithm>
#include <regex>

namespace Planning {

using Kiv::RangeError;

namespace {

constexpr size_t longest = 4000;  // bytes; std::regex_match() calls itself for each

Form<std::string> textsLike(const char *pattern, const char *what) {
  const auto read = [expression = std::regex(pattern), what](const std::string &text) {
    if (text.size() > longest) throw RangeError("a text of more than " + std::to_string(longest) + " bytes");
    if (std::regex_match(text, expression)) return text;
    std::string told = text;
    std::replace(told.begin(), told.end(), '\0', '?');  // it would end what()
    throw RangeError("\"" + told + "\" is not " + what);
  };
  return {read, [](const std::string &text) { return text; }, std::string("^") + pattern + "$"};
}

}  // namespace

Form<std::string> anyText() {
  static const auto form = textsLike("[^\\x00-\\x1f\\x7f]+", "a text (one line that is not empty)");
  return form;
}

Form<std::string> names() {
  static const auto form =
      textsLike("[A-Za-z0-9][A-Za-z0-9_.-]{0,63}",
                "a name (up to 64 letters, digits, '.', '_' and '-', of which the first is a letter or digit)");
  return form;
}

Form<std::string> interfaceTexts() {
  static const auto form =
      textsLike("[^/:\\s\\x00-\\x1f\\x7f]{1,15}", "an interface name (1 to 15 bytes without blanks, '/' or ':')");
  return form;
}

Form<std::string> vrfTexts() {
  static const auto form = textsLike("[^/:\\s\\x00-\\x1f\\x7f]{1,100}", "a VRF name (without blanks, '/' or ':')");
  return form;
}

Form<std::string> memberTexts() {
  static const auto form =
      textsLike("[A-Za-z0-9][A-Za-z0-9_.-]{0,63}(/[^/:\\s\\x00-\\x1f\\x7f]{1,100})?(:[^/:\\s\\x00-\\x1f\\x7f]{1,15})?",
                "ROUTER, ROUTER:INTERFACE, ROUTER/VRF or ROUTER/VRF:INTERFACE");
  return form;
}

Form<std::string> addressTexts() {
  static const auto form = textsLike("[0-9a-fA-F:.]+(/[0-9]{1,3})?", "an address or a prefix");
  return form;
}

}  // namespace Planning
