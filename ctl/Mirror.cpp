#include "ctl/Mirror.h"

#include <algorithm>

#include "daemon/control/Streams.h"

namespace Control {

namespace {

std::string textOfValue(const Rows &value) {
  if (value.is_null()) return "none";
  return value.is_string() ? value.get<std::string>() : rowText(value);
}

std::string eventText(const Rows &row) {
  return textOfValue(row.value("time", Rows())) + ' ' + textOfValue(row.value("severity", Rows())) + ' ' +
         textOfValue(row.value("text", Rows())) + '\n';
}

// "rp-set changed  vrf=default rp=10.0.0.1 priority=1->2"; of what was there before, the key and what differs.
std::string changeText(const std::string &noun, const std::string &change, const Rows &row, const Rows &before,
                       const std::vector<std::string> &key) {
  std::string text = noun + ' ' + change;
  const Rows lasting = lastingOf(row);
  for (const auto &[name, value] : lasting.items()) {
    const bool isKey = std::find(key.begin(), key.end(), name) != key.end();
    const Rows was = before.is_object() ? before.value(name, Rows()) : value;
    if (before.is_object() && !isKey && was == value) continue;
    text += ' ' + name + '=' + (was == value ? "" : textOfValue(was) + "->") + textOfValue(value);
  }
  return text + '\n';
}

}  // namespace

std::string Mirror::keyOf(const Rows &row) const {
  std::vector<const char *> columns;
  for (const std::string &column : key_) columns.push_back(column.c_str());
  return Control::keyOf(columns, row);
}

void Mirror::apply(const Rows &line) {
  if (line.contains("snapshot")) {
    key_ = line.value("key", std::vector<std::string>());
    rows_.clear();
    for (const Rows &row : line["snapshot"]) rows_[keyOf(row)] = lastingOf(row);
  } else if (line.value("change", "") == "removed") {
    rows_.erase(keyOf(line["row"]));
  } else if (line.contains("row")) {
    rows_[keyOf(line["row"])] = lastingOf(line["row"]);
  }
}

Rows Mirror::rows() const {
  Rows all = Rows::array();
  for (const auto &[key, row] : rows_) all.push_back(row);
  return all;
}

Rows Mirror::before(const Rows &row) const {
  const auto found = rows_.find(keyOf(row));
  return found == rows_.end() ? Rows() : found->second;
}

std::string textOf(const Rows &line, const Mirror &mirror) {
  const std::string noun = line.value("noun", "");
  const bool isEvent = noun == eventsNoun;
  std::string text;
  if (line.contains("snapshot")) {
    for (const Rows &row : line["snapshot"]) {
      text += isEvent ? eventText(row) : changeText(noun, "is", row, Rows(), {});
    }
  } else if (line.contains("row")) {
    const Rows &row = line["row"];
    const std::string change = line.value("change", "");
    const Rows before = change == "changed" ? mirror.before(row) : Rows();
    text = isEvent ? eventText(row) : changeText(noun, change, row, before, mirror.key());
  }
  return text;
}

}  // namespace Control
