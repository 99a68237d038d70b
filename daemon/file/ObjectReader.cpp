#include "daemon/file/ObjectReader.h"

#include <algorithm>

#include "daemon/file/JsonText.h"

namespace Routing::Pim::Bsr {

using nlohmann::json;

namespace {

std::string oneOf(const std::vector<std::string> &words) {
  if (words.size() < 3) return joined(words, " or ");
  return "one of " + joined({words.begin(), words.end() - 1}, ", ") + " or " + words.back();
}

}  // namespace

std::string shown(const json &value) {
  constexpr size_t longest = 40;
  if (value.is_structured()) return value.is_object() ? "an object" : "a list";
  std::string text = value.dump(-1, ' ', true);
  if (text.size() > longest) text.replace(longest, text.npos, "...");
  return text;
}

std::string mustBe(const std::string &what, const json &value) { return "must be " + what + ", not " + shown(value); }

ObjectReader::ObjectReader(const json &value, std::string path, Findings &findings)
    : value_(value), path_(std::move(path)), findings_(findings) {
  if (!value.is_object()) findings.error(path_, mustBe("an object", value));
}

std::string ObjectReader::path(std::string_view name) const { return pathTo(path_, name); }

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
                  mustBe("an integer from " + std::to_string(least) + " to " + std::to_string(most), *member));
  return std::nullopt;
}

std::optional<double> ObjectReader::real(const char *name, double least, double most) {
  const json *member = find(name);
  if (!member) return std::nullopt;
  if (member->is_number()) {
    const auto number = member->get<double>();
    if (number >= least && number <= most) return number;
  }
  findings_.error(path(name), mustBe("a number from " + json(least).dump() + " to " + json(most).dump(), *member));
  return std::nullopt;
}

std::optional<std::string> ObjectReader::text(const char *name) {
  const json *member = find(name);
  if (!member) return std::nullopt;
  if (member->is_string()) return member->get<std::string>();
  findings_.error(path(name), mustBe("a string", *member));
  return std::nullopt;
}

std::optional<std::string> ObjectReader::word(const char *name, const std::vector<std::string> &words) {
  const json *member = find(name);
  if (!member) return std::nullopt;
  if (member->is_string() && std::find(words.begin(), words.end(), *member) != words.end()) {
    return member->get<std::string>();
  }
  findings_.error(path(name), mustBe(oneOf(words), *member));
  return std::nullopt;
}

void ObjectReader::elements(const char *name, const Member &element) {
  visit(name, &json::is_array, "a list", element);
}

void ObjectReader::each(const char *name, const Member &member) { visit(name, &json::is_object, "an object", member); }

void ObjectReader::visit(const char *name, bool (json::*isRight)() const noexcept, const char *what,
                         const Member &member) {
  const json *found = find(name);
  if (!found) return;
  if (!(found->*isRight)()) return findings_.error(path(name), mustBe(what, *found));
  for (const auto &[key, value] : found->items()) member(key, value, pathTo(path(name), key));
}

void ObjectReader::noOthers() {
  if (!value_.is_object()) return;
  for (const auto &[name, value] : value_.items()) {
    if (std::find(known_.begin(), known_.end(), name) != known_.end()) continue;
    findings_.error(path(name), "unknown name; known here: " + joined(known_, ", "));
  }
}

}  // namespace Routing::Pim::Bsr
