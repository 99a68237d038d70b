/// What operators may ask the agent: its verbs, and the nouns with their columns.
///
/// The client's help and tables are made from this one table, and the members of the agent's rows have these names.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace Control {

struct Column {
  const char *name;
  const char *help;
  bool isPrefixes = false;  ///< shown in tables only with --prefixes
};

struct Noun {
  enum class Layout {
    table,      ///< each row on a line, under a header
    fields,     ///< each field on a line, for rows with many
    lines,      ///< the only column, as it is
    sentences,  ///< the column `text`, indented where the row is about the same as the one before
    file,       ///< the only row, as a JSON file
  };
  const char *name;
  const char *help;
  std::span<const Column> columns;
  Layout layout = Layout::table;
  /// Whether rows have further fields, which come before the last columns.
  bool hasMore = false;
  const char *operand = "";     ///< what the noun is given, as the help shows it; in brackets if it may be left out
  const Noun *about = nullptr;  ///< how the rows about an operand are laid out, where that differs
};

struct Verb {
  const char *name;
  const char *operands = "";  ///< as the help shows them; in brackets if they may be left out
  const char *help;
  const char *more = "";  ///< what else there is to say, in sentences
  bool takesNoun = false;
  const Noun *answer = nullptr;  ///< how its rows are laid out; null: a table of what they have
  std::span<const Noun> own{};   ///< the nouns of a verb that takes none of the others
};

std::span<const Noun> nouns();
std::span<const Verb> verbs();
/// Null when there is none of this name.
const Noun *nounOf(std::string_view name);
const Noun *nounOf(const Verb &verb, std::string_view name);
/// Throws std::invalid_argument where the noun takes no argument, or needs one.
void checkArgument(const Noun &noun, const std::string &argument);
/// That a verb takes.
std::span<const Noun> nounsOf(const Verb &verb);
const Verb *verbOf(std::string_view name);

}  // namespace Control
