#include "ctl/Reference.h"

#include <sstream>

#include "ctl/Completion.h"
#include "ctl/Options.h"

namespace Control {

namespace {

std::string withOperand(const Noun &noun) { return std::string(noun.name) + (*noun.operand ? " " : "") + noun.operand; }

// scdoc takes these for marks.
std::string escaped(std::string text) {
  for (size_t at = 0; (at = text.find_first_of("_*\\#", at)) != text.npos; at += 2) text.insert(at, 1, '\\');
  return text;
}

std::string inFull(const Verb &verb) { return std::string(verb.help) + (*verb.more ? ". " : "") + verb.more; }

}  // namespace

std::string manual() {
  std::ostringstream out;
  out << "pimbsrctl(1)\n\n# NAME\n\npimbsrctl - ask and control a running PIM Bootstrap Router agent\n\n# SYNOPSIS\n\n"
         "*pimbsrctl* [_OPTION_]... _VERB_ [_NOUN_] [_ARGUMENT_]\n\n# VERBS\n\n";
  for (const Verb &verb : verbs()) {
    out << "*" << verb.name << "*" << (*verb.operands ? " " : "") << escaped(verb.operands) << "\n\t"
        << escaped(inFull(verb)) << "\n\n";
  }
  out << "# OPTIONS\n\n";
  for (const OptionHelp &option : optionsHelp()) {
    std::string names;
    for (const std::string &name : option.names) names += (names.empty() ? "*" : ", *") + name + "*";
    out << names << (option.value.empty() ? "" : " ") << escaped(option.value) << "\n\t" << escaped(option.help)
        << "\n\n";
  }
  const auto list = [&](const char *title, std::span<const Noun> entries) {
    out << "# " << title << "\n\n";
    for (const Noun &noun : entries) {
      out << "## " << escaped(withOperand(noun)) << "\n\n" << escaped(noun.help) << "\n\n";
      for (const Column &column : noun.columns) out << "*" << column.name << "*\n\t" << escaped(column.help) << "\n\n";
    }
  };
  list("NOUNS", nouns());
  list("WHAT IS EXPLAINED", nounsOf(*verbOf("explain")));
  out << "# EXIT STATUS\n\n0: done; 1: failed or refused, or what is named is not there; 2: bad usage.\n";
  return out.str();
}

std::string reference() {
  std::ostringstream out;
  out << "# pimbsrctl\n\nPrinted by `pimbsrctl print reference`.\n\n| verb | |\n|---|---|\n";
  const auto cell = [](std::string text) {
    for (size_t at = 0; (at = text.find('|', at)) != text.npos; at += 2) text.insert(at, 1, '\\');
    return text;
  };
  for (const Verb &verb : verbs()) {
    out << "| `" << verb.name << (*verb.operands ? " " : "") << cell(verb.operands) << "` | " << cell(inFull(verb))
        << " |\n";
  }
  out << "\n| option | |\n|---|---|\n";
  for (const OptionHelp &option : optionsHelp()) {
    std::string names;
    for (const std::string &name : option.names) names += (names.empty() ? "" : ", ") + name;
    out << "| `" << names << (option.value.empty() ? "" : " ") << cell(option.value) << "` | " << cell(option.help)
        << " |\n";
  }
  const auto list = [&](const std::string &verb, std::span<const Noun> entries) {
    for (const Noun &noun : entries) {
      out << "\n## " << verb << " " << withOperand(noun) << "\n\n" << noun.help << "\n\n| column | |\n|---|---|\n";
      for (const Column &column : noun.columns) out << "| `" << column.name << "` | " << cell(column.help) << " |\n";
    }
  };
  list("show", nouns());
  list("explain", nounsOf(*verbOf("explain")));
  return out.str();
}

std::string printed(std::string_view what) {
  if (what == "bash") return bashCompletion();
  if (what == "zsh") return zshCompletion();
  if (what == "manual") return manual();
  return what == "reference" ? reference() : "";
}

}  // namespace Control
