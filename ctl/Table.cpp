#include "ctl/Table.h"

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>
#include <vector>

namespace Control {

namespace {

struct Cell {
  std::string text;
  bool right = false;  ///< numbers are aligned by their last digit
};
using Line = std::vector<Cell>;

Cell cellOf(const Rows &value) {
  if (value.is_null()) return {"-"};
  if (value.is_boolean()) return {value.get<bool>() ? "yes" : "no"};
  if (value.is_string()) return {value.get<std::string>()};
  if (value.is_number_float()) return {std::to_string(std::llround(value.get<double>())), true};
  if (!value.is_structured()) return {value.dump(), value.is_number()};
  const char *separator = value.is_array() ? "," : " ";
  std::string joined;
  for (const Rows &element : value) {
    if (!joined.empty()) joined += separator;
    joined += cellOf(element).text;
  }
  return {joined.empty() ? "-" : joined};
}

// UTF-8 continuation bytes take no room.
size_t widthOf(const std::string &text) {
  return static_cast<size_t>(std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xc0) != 0x80; }));
}

std::string aligned(const std::vector<Line> &lines) {
  std::vector<size_t> widths;
  for (const Line &line : lines) {
    widths.resize(std::max(widths.size(), line.size()));
    for (size_t i = 0; i < line.size(); ++i) widths[i] = std::max(widths[i], widthOf(line[i].text));
  }
  std::string out;
  for (const Line &line : lines) {
    std::string text;
    for (size_t i = 0; i < line.size(); ++i) {
      const std::string padding(widths[i] - widthOf(line[i].text), ' ');
      if (i > 0) text += "  ";
      text += line[i].right ? padding + line[i].text : line[i].text + padding;
    }
    text.erase(text.find_last_not_of(' ') + 1);
    out += text + '\n';
  }
  return out;
}

std::string tableOf(const Rows &rows, const std::vector<std::string> &columns) {
  std::vector<Line> lines(1);
  for (const Rows &row : rows) {
    Line line;
    for (const std::string &column : columns) line.push_back(row.contains(column) ? cellOf(row[column]) : Cell{"-"});
    lines.push_back(std::move(line));
  }
  // A header is aligned as its column is.
  for (size_t i = 0; i < columns.size(); ++i) {
    const auto isNumber = [i](const Line &line) { return line[i].right; };
    lines[0].push_back({columns[i], std::any_of(lines.begin() + 1, lines.end(), isNumber)});
  }
  return aligned(lines);
}

void addFields(const Rows &object, const std::string &prefix, std::vector<Line> &lines) {
  for (const auto &[name, value] : object.items()) {
    if (value.is_object()) {
      addFields(value, prefix + name + ".", lines);
    } else {
      lines.push_back({{prefix + name}, cellOf(value)});
    }
  }
}

std::string fieldsOf(const Rows &rows) {
  std::string out;
  for (const Rows &row : rows) {
    std::vector<Line> lines;
    addFields(row, "", lines);
    if (!out.empty()) out += '\n';
    out += aligned(lines);
  }
  return out;
}

std::string linesOf(const Rows &rows, const std::string &column) {
  std::string out;
  for (const Rows &row : rows) out += (row.contains(column) ? cellOf(row[column]).text : "") + '\n';
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

std::string toTable(const Rows &rows, const Noun *noun) {
  std::vector<std::string> columns;
  if (!noun) {
    if (rows.empty()) return "";
    for (const auto &[name, value] : rows[0].items()) columns.push_back(name);
    return tableOf(rows, columns);
  }
  for (const Column &column : noun->columns) columns.emplace_back(column.name);
  switch (noun->layout) {
    case Noun::Layout::table: return tableOf(rows, columns);
    case Noun::Layout::fields: return fieldsOf(rows);
    case Noun::Layout::file: return rows.empty() ? "" : rows[0].dump(2) + '\n';
    case Noun::Layout::sentences: return sentencesOf(rows);
    case Noun::Layout::lines: break;
  }
  return linesOf(rows, columns.front());
}

}  // namespace Control
