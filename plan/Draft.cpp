#include "plan/Draft.h"

#include "daemon/EventLines.h"

namespace Planning {

using Routing::Pim::Bsr::EventLines;

namespace {

constexpr size_t widest = 120;

std::string blanks(size_t count) { return std::string(count, ' '); }

std::string onOneLine(const Draft::Json &json) {
  if (!json.is_structured() || json.empty()) return json.dump();
  std::string text;
  for (const auto &[name, value] : json.items()) {
    if (!text.empty()) text += ", ";
    if (json.is_object()) text += Draft::Json(name).dump() + ": ";
    text += onOneLine(value);
  }
  return json.is_object() ? "{ " + text + " }" : "[" + text + "]";
}

// As many elements a line as fit.
std::string filledLines(const Draft::Json &list, size_t indent) {
  std::string text = "[", line;
  for (const auto &element : list) {
    const std::string next = onOneLine(element);
    if (indent + 2 + line.size() + 1 + next.size() + 1 > widest) {
      text.append("\n").append(blanks(indent + 2)).append(line);
      line.clear();
    }
    line.append(line.empty() ? "" : " ").append(next).append(&element == &list.back() ? "" : ",");
  }
  return text.append("\n").append(blanks(indent + 2)).append(line).append("\n").append(blanks(indent)).append("]");
}

void put(std::string &text, const Draft::Comments &comments, size_t indent) {
  for (const std::string &comment : comments) {
    text += comment.empty() ? "\n" : blanks(indent) + "// " + EventLines::printable(comment) + "\n";
  }
}

void put(std::string &text, const Draft::Section &section) {
  put(text, section.comments, 2);
  text += "  " + Draft::Json(section.name).dump() + (section.isList ? ": [\n" : ": {\n");
  for (const Draft::Entry &entry : section.entries) {
    put(text, entry.comments, 4);
    text += blanks(4);
    if (!section.isList) text += Draft::Json(entry.name).dump() + ": ";
    text += laidOut(entry.value, 4);
    text += &entry == &section.entries.back() ? "\n" : ",\n";
  }
  text += section.isList ? "  ]" : "  }";
}

}  // namespace

std::string laidOut(const Draft::Json &json, size_t indent) {
  const std::string line = onOneLine(json);
  constexpr size_t name = 24;  // and what else may stand before or behind it
  if (!json.is_structured() || indent + name + line.size() <= widest) return line;
  const bool isFlat = json.is_array() && !json.front().is_structured();
  if (isFlat) return filledLines(json, indent);
  std::string text;
  for (const auto &[key, value] : json.items()) {
    text.append(text.empty() ? "\n" : ",\n").append(blanks(indent + 2));
    if (json.is_object()) text += Draft::Json(key).dump() + ": ";
    text += laidOut(value, indent + 2);
  }
  const char *brackets = json.is_object() ? "{}" : "[]";
  return brackets[0] + text + "\n" + blanks(indent) + brackets[1];
}

std::string toText(const Draft &draft) {
  std::string text;
  put(text, draft.comments, 0);
  text += "{\n";
  for (const Draft::Entry &entry : draft.head) {
    put(text, entry.comments, 2);
    text += "  " + Draft::Json(entry.name).dump() + ": " + laidOut(entry.value, 2);
    text += &entry == &draft.head.back() && draft.sections.empty() ? "\n" : ",\n";
  }
  for (const Draft::Section &section : draft.sections) {
    put(text, section);
    text += &section == &draft.sections.back() ? "\n" : ",\n";
  }
  return text + "}\n";
}

}  // namespace Planning
