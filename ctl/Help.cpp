#include "ctl/Help.h"

#include <algorithm>

#include "ctl/Options.h"
#include "daemon/control/Nouns.h"
#include "daemon/control/Streams.h"

namespace Control {

namespace {

constexpr size_t width = 80, column = 25;

// The text in lines, all but the first behind so many blanks; the first one has that room, too.
std::string wrapped(std::string_view text, size_t indent) {
  std::string lines;
  for (size_t room = width - indent; text.size() > room;) {
    size_t end = text.rfind(' ', room);
    if (end == text.npos) end = std::min(text.find(' '), text.size());
    lines.append(text.substr(0, end)).append("\n").append(indent, ' ');
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return lines.append(text).append("\n");
}

std::string withOperand(const std::string &name, std::string_view operand) {
  return name + (operand.empty() ? "" : " ") + std::string(operand);
}

std::string listOf(std::span<const Noun> nouns) {
  std::string text;
  for (const Noun &noun : nouns) text += helpLine(withOperand(noun.name, noun.operand), noun.help);
  return text;
}

std::string helpOf(const Verb &verb, const Noun &noun) {
  const std::string title = withOperand(std::string(verb.name) + " " + noun.name, noun.operand);
  std::string text = wrapped(title + ": " + noun.help, 0);
  for (const Column &column : noun.columns) text += helpLine(column.name, column.help);
  if (noun.hasMore) text += "  and every counter by its own name\n";
  return text;
}

std::string helpOf(const Verb &verb) {
  std::string text = wrapped(withOperand(verb.name, verb.operands) + ": " + verb.help, 0);
  if (*verb.more) text += wrapped(verb.more, 0);
  if (verb.name == std::string_view("monitor")) return text + wrapped("Nouns: " + followedNames(), 0);
  if (!verb.takesNoun) return text;
  return text + "Nouns:\n" + listOf(nounsOf(verb)) +
         wrapped("What a noun's columns are says: pimbsrctl --help " + std::string(verb.name) + " NOUN", 0);
}

// The verbs whose nouns are their own, and one that stands for the others.
std::vector<const Verb *> verbsOfNouns() {
  std::vector<const Verb *> found{verbOf("show")};
  for (const Verb &verb : verbs()) {
    if (!verb.own.empty()) found.push_back(&verb);
  }
  return found;
}

}  // namespace

std::string helpLine(const std::string &name, std::string_view help) {
  std::string line = "  " + name;
  line += line.size() < column ? std::string(column - line.size(), ' ') : '\n' + std::string(column, ' ');
  return line + wrapped(help, column);
}

std::string usage() {
  std::string text = "Usage: pimbsrctl [OPTION]... VERB [NOUN] [ARGUMENT]\nVerbs:\n";
  for (const Verb &verb : verbs()) text += helpLine(withOperand(verb.name, verb.operands), verb.help);
  text += "Nouns:\n" + listOf(nouns()) + "Options:\n";
  for (const OptionHelp &option : optionsHelp()) {
    std::string names;
    for (const std::string &name : option.names) names.append(names.empty() ? "" : ", ").append(name);
    text += helpLine(withOperand(names, option.value), option.help);
  }
  return text + "More on a verb or a noun says: pimbsrctl --help [VERB] NOUN\n";
}

std::string helpOn(const std::vector<std::string> &operands) {
  const Verb *verb = verbOf(operands[0]);
  if (verb && operands.size() == 1) return helpOf(*verb);
  const std::string &name = operands.back();
  std::string text;
  std::vector<std::string> known;
  for (const Verb *each : verbsOfNouns()) {
    if (verb && verb->own.data() != each->own.data()) continue;
    if (const Noun *noun = nounOf(*each, name)) text.append(text.empty() ? "" : "\n").append(helpOf(*each, *noun));
    for (const Noun &noun : nounsOf(*each)) {
      if (std::ranges::find(known, noun.name) == known.end()) known.emplace_back(noun.name);
    }
  }
  if (!text.empty()) return text;
  std::string names;
  for (const std::string &each : known) names.append(names.empty() ? "" : ", ").append(each);
  throw UsageError("there is no noun '" + name + "'; the nouns are: " + names);
}

}  // namespace Control
