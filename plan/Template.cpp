#include "plan/Template.h"

#include <stdexcept>

namespace Planning {

using nlohmann::json;

namespace {

const json &valueOf(const std::string &name, const json &values) {
  const auto found = values.find(name);
  if (found == values.end()) throw std::invalid_argument("there is no value for ${" + name + "}");
  return *found;
}

std::string textOf(const std::string &name, const json &values) {
  const json &value = valueOf(name, values);
  if (value.is_structured())
    throw std::invalid_argument("${" + name + "} is no text or number, and has to stand alone");
  return value.is_string() ? value.get<std::string>() : value.dump();
}

// Unset where the text is not one name and nothing else.
const json *onlyValue(const std::string &text, const json &values) {
  const bool isName = text.starts_with("${") && text.find('}') == text.size() - 1;
  return isName ? &valueOf(text.substr(2, text.size() - 3), values) : nullptr;
}

std::string filledText(const std::string &text, const json &values) {
  std::string result;
  size_t at = 0;
  for (size_t begin; (begin = text.find("${", at)) != std::string::npos;) {
    const size_t end = text.find('}', begin);
    if (end == std::string::npos) break;
    result.append(text, at, begin - at).append(textOf(text.substr(begin + 2, end - begin - 2), values));
    at = end + 1;
  }
  return result.append(text, at);
}

}  // namespace

json filled(const json &pattern, const json &values) {
  if (pattern.is_string()) {
    const auto &text = pattern.get_ref<const std::string &>();
    const json *only = onlyValue(text, values);
    return only ? *only : json(filledText(text, values));
  }
  if (!pattern.is_structured()) return pattern;
  json result = pattern.is_object() ? json::object() : json::array();
  for (const auto &[name, value] : pattern.items()) {
    if (pattern.is_object()) {
      result[filledText(name, values)] = filled(value, values);
    } else {
      result.push_back(filled(value, values));
    }
  }
  return result;
}

}  // namespace Planning
