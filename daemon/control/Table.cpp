#include "daemon/control/Table.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <utility>
#include <vector>

#include "platform/orb/Duration.h"

namespace Control {

namespace {

constexpr size_t foldWidth = 40;
// Elements of a list that are shown, and of a list within one of these.
constexpr size_t mostElements = 20, mostInner = 8;

struct Cell {
  std::vector<std::string> lines;
  bool right = false;  ///< numbers are aligned by their last digit
};
using Line = std::vector<Cell>;

// UTF-8 continuation bytes take no room.
size_t widthOf(const std::string &text) {
  return static_cast<size_t>(std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xc0) != 0x80; }));
}

std::string textOf(const Rows &value);

// The first of them, with commas between them.
std::string listText(const Rows &list, size_t most) {
  std::string joined;
  for (size_t i = 0; i < std::min(list.size(), most); ++i) joined.append(i > 0 ? "," : "").append(textOf(list[i]));
  return joined;
}

// "225.0.0.0/8,226.0.0.0/8,...+253"
std::string innerText(const Rows &list) {
  const std::string text = listText(list, mostInner);
  return list.size() <= mostInner ? text : text + ",...+" + std::to_string(list.size() - mostInner);
}

// The first member is what it is about, and the others have their names: "225.0.0.0/8 priority=5".
std::string objectText(const Rows &object) {
  std::string joined;
  for (const auto &[name, value] : object.items()) {
    const std::string text = textOf(value);
    if (joined.empty()) {
      joined = text;
    } else if (text != "-") {
      joined.append(" ").append(name).append("=").append(text);
    }
  }
  return joined;
}

// On one line. Every number with a fraction is a duration.
std::string textOf(const Rows &value) {
  if (value.is_null() || (value.is_structured() && value.empty())) return "-";
  if (value.is_boolean()) return value.get<bool>() ? "yes" : "no";
  if (value.is_string()) return value.get<std::string>();
  if (value.is_number_float()) return Orb::durationText(value.get<double>());
  if (value.is_object()) return objectText(value);
  return value.is_array() ? innerText(value) : value.dump();
}

// Appends the text in lines of the fold width, as far as it can be parted behind a comma or at a blank. Those after
// the first begin with `indent`.
void addFolded(std::string text, const std::string &indent, std::vector<std::string> &lines) {
  while (widthOf(text) > foldWidth) {
    size_t end = text.find_last_of(", ", foldWidth - 1);
    if (end == text.npos || end < indent.size()) end = text.find_first_of(", ", foldWidth);
    if (end == text.npos) break;
    lines.push_back(text.substr(0, text[end] == ',' ? end + 1 : end));
    text.replace(0, end + 1, indent);
  }
  lines.push_back(text);
}

// Rules and the like, which are of no use but in full.
bool isOfTexts(const Rows &list) {
  return std::any_of(list.begin(), list.end(), [](const Rows &element) {
    return element.is_string() && element.get_ref<const std::string &>().find(' ') != std::string::npos;
  });
}

// Texts with blanks, objects and lists in a list have lines of their own; other lists are folded where they are wide.
Cell cellOf(const Rows &value, bool isWhole) {
  Cell cell{{}, value.is_number()};
  if (!value.is_array() || value.empty()) {
    cell.lines = {textOf(value)};
    return cell;
  }
  const size_t most = isWhole || isOfTexts(value) ? value.size() : std::min(value.size(), mostElements);
  if (isOfTexts(value) || value[0].is_structured()) {
    for (size_t i = 0; i < most; ++i) addFolded(textOf(value[i]), "  ", cell.lines);
  } else {
    addFolded(listText(value, most), "", cell.lines);
  }
  if (most < value.size()) {
    cell.lines.push_back(std::string("... ").append(std::to_string(value.size() - most)).append(" more, see --json"));
  }
  return cell;
}

// Of a row, which may take several lines.
std::string aligned(const Line &row, const std::vector<size_t> &widths) {
  size_t height = 0;
  for (const Cell &cell : row) height = std::max(height, cell.lines.size());
  std::string out;
  for (size_t n = 0; n < height; ++n) {
    std::string text;
    for (size_t i = 0; i < row.size(); ++i) {
      const std::string &part = n < row[i].lines.size() ? row[i].lines[n] : "";
      const std::string padding(widths[i] - widthOf(part), ' ');
      if (i > 0) text += "  ";
      text += row[i].right ? padding + part : part + padding;
    }
    text.erase(text.find_last_not_of(' ') + 1);
    out += text + '\n';
  }
  return out;
}

std::string aligned(const std::vector<Line> &rows) {
  std::vector<size_t> widths;
  for (const Line &row : rows) {
    widths.resize(std::max(widths.size(), row.size()));
    for (size_t i = 0; i < row.size(); ++i) {
      for (const std::string &part : row[i].lines) widths[i] = std::max(widths[i], widthOf(part));
    }
  }
  std::string out;
  for (const Line &row : rows) out += aligned(row, widths);
  return out;
}

std::string tableOf(const Rows &rows, const std::vector<Column> &columns, bool legend) {
  std::vector<Line> lines(legend ? 1 : 0);
  for (const Rows &row : rows) {
    Line line;
    for (const Column &column : columns) line.push_back(cellOf(row.value(column.name, Rows()), column.isPrefixes));
    lines.push_back(std::move(line));
  }
  // A header is aligned as its column is.
  for (size_t i = 0; legend && i < columns.size(); ++i) {
    const bool right = std::any_of(lines.begin() + 1, lines.end(), [i](const Line &line) { return line[i].right; });
    lines[0].push_back({{columns[i].name}, right});
  }
  return aligned(lines);
}

void addFields(const Rows &object, const std::string &prefix, std::vector<Line> &lines) {
  for (const auto &[name, value] : object.items()) {
    if (value.is_object()) {
      addFields(value, prefix + name + ".", lines);
    } else {
      lines.push_back({Cell{{prefix + name}}, cellOf(value, true)});
    }
  }
}

std::string fieldsOf(const Rows &rows) {
  std::string out;
  for (const Rows &row : rows) {
    std::vector<Line> lines;
    addFields(row, "", lines);
    // Numbers are aligned among themselves, whatever long texts there are.
    size_t digits = 0;
    for (const Line &line : lines) digits = std::max(digits, line[1].right ? widthOf(line[1].lines[0]) : 0);
    for (Line &line : lines) {
      std::string &text = line[1].lines[0];
      if (std::exchange(line[1].right, false)) text.insert(0, digits - widthOf(text), ' ');
    }
    if (!out.empty()) out += '\n';
    out += aligned(lines);
  }
  return out;
}

std::string linesOf(const Rows &rows, const std::string &column) {
  std::string out;
  for (const Rows &row : rows) out += (row.contains(column) ? textOf(row[column]) : "") + '\n';
  return out;
}

// A statement begins with what it is about, up to the member that says which side of it.
Rows subjectOf(const Rows &row) {
  Rows subject;
  for (const auto &[name, value] : row.items()) {
    if (name == "about") break;
    subject[name] = value;
  }
  return subject;
}

std::string sentencesOf(const Rows &rows) {
  std::string out;
  Rows subject;
  for (const Rows &row : rows) {
    const Rows before = std::exchange(subject, subjectOf(row));
    out += (subject == before ? "  " : "") + row.value("text", "") + '\n';
  }
  return out;
}

}  // namespace

std::string toTable(const Rows &rows, const Noun *noun, const TableOptions &options) {
  std::vector<Column> columns;
  if (!noun) {
    if (rows.empty()) return "";
    for (const auto &[name, value] : rows[0].items()) columns.push_back({name.c_str(), ""});
    return tableOf(rows, columns, options.legend);
  }
  for (const Column &column : noun->columns) {
    if (!column.isPrefixes || options.prefixes) columns.push_back(column);
  }
  switch (noun->layout) {
    case Noun::Layout::table: return tableOf(rows, columns, options.legend);
    case Noun::Layout::fields: return fieldsOf(rows);
    case Noun::Layout::file: return rows.empty() ? "" : rows[0].dump(2) + '\n';
    case Noun::Layout::sentences: return sentencesOf(rows);
    case Noun::Layout::lines: break;
  }
  return linesOf(rows, columns.front().name);
}

}  // namespace Control
