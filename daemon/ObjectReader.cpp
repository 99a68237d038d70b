#include "daemon/ObjectReader.h"

#include <algorithm>
#include <set>

#include "daemon/JsonText.h"

namespace Routing::Pim::Bsr {

using nlohmann::json;

namespace {

std::string joined(const std::vector<std::string> &words) {
  std::string text;
  for (const std::string &word : words) text += (text.empty() ? "" : ", ") + word;
  return text;
}

}  // namespace

std::string shown(const json &value) {
  constexpr size_t longest = 40;
  if (value.is_structured()) return value.is_object() ? "an object" : "a list";
  std::string text = value.dump(-1, ' ', true);
  if (text.size() > longest) text.replace(longest, text.npos, "...");
  return text;
}

ObjectReader::ObjectReader(const json &value, std::string path, Findings &findings)
    : value_(value), path_(std::move(path)), findings_(findings) {
  if (!value.is_object()) findings.error(path_, shown(value) + " is no object");
}

std::string ObjectReader::path(std::string_view name) const { return pathTo(path_, name); }

bool ObjectReader::has(std::string_view name) const { return value_.is_object() && value_.contains(name); }

const json *ObjectReader::find(const char *name) {
  known_.emplace_back(name);
  return has(name) ? &value_.at(name) : nullptr;
}

std::optional<uint64_t> ObjectReader::number(const char *name, uint64_t least, uint64_t most) {
  const json *member = find(name);
  if (!member) return std::nullopt;
  if (member->is_number_unsigned()) {
    const auto number = member->get<uint64_t>();
    if (number >= least && number <= most) return number;
  }
  findings_.error(path(name),
                  shown(*member) + " is no whole number from " + std::to_string(least) + " to " + std::to_string(most));
  return std::nullopt;
}

std::optional<std::string> ObjectReader::text(const char *name) {
  const json *member = find(name);
  if (!member) return std::nullopt;
  if (member->is_string()) return member->get<std::string>();
  findings_.error(path(name), shown(*member) + " is no text");
  return std::nullopt;
}

std::optional<std::string> ObjectReader::word(const char *name, const std::vector<std::string> &words) {
  const json *member = find(name);
  if (!member) return std::nullopt;
  if (member->is_string() && std::find(words.begin(), words.end(), *member) != words.end()) {
    return member->get<std::string>();
  }
  findings_.error(path(name), shown(*member) + " is none of " + joined(words));
  return std::nullopt;
}

std::vector<std::string> ObjectReader::texts(const char *name,
                                             const std::function<std::string(const std::string &)> &check) {
  std::vector<std::string> result;
  const json *member = find(name);
  if (!member) return result;
  if (!member->is_array()) {
    findings_.error(path(name), shown(*member) + " is no list");
    return result;
  }
  std::set<std::string> seen;
  for (size_t i = 0; i < member->size(); ++i) {
    const json &element = (*member)[i];
    const std::string wrong = !element.is_string()                              ? "is no text"
                              : !seen.insert(element.get<std::string>()).second ? "is listed twice"
                                                                                : check(element.get<std::string>());
    if (wrong.empty()) {
      result.push_back(element.get<std::string>());
    } else {
      findings_.error(pathTo(path(name), std::to_string(i)), shown(element) + " " + wrong);
    }
  }
  return result;
}

void ObjectReader::each(const char *name, const Member &member) {
  const json *found = find(name);
  if (!found) return;
  if (!found->is_object()) {
    findings_.error(path(name), shown(*found) + " is no object");
    return;
  }
  for (const auto &[key, value] : found->items()) member(key, value, pathTo(path(name), key));
}

void ObjectReader::noOthers() {
  if (!value_.is_object()) return;
  for (const auto &[name, value] : value_.items()) {
    if (std::find(known_.begin(), known_.end(), name) != known_.end()) continue;
    findings_.error(path(name), "unknown name; known here: " + joined(known_));
  }
}

}  // namespace Routing::Pim::Bsr
