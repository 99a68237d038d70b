#include "ctl/Reference.h"

#include <algorithm>
#include <array>
#include <sstream>

#include "ctl/Options.h"

namespace Control {

namespace {

constexpr std::array allCompleted{
    Completed{"vrfs", "show", "vrf", "vrf"},     Completed{"zones", "show", "bsr", "zone"},
    Completed{"rps", "show", "rp-set", "rp"},    Completed{"interfaces", "show", "interfaces", "interface"},
    Completed{"paths", "show", "state", "path"}, Completed{"modules", "trace", "", "module"},
};

// Under what the operand of a noun or verb, or the value of an option, is completed; empty: not at all.
std::string kindOf(std::string_view operand) {
  if (operand == "[ZONE]" || operand == "PREFIX") return "zones";
  if (operand == "ADDRESS" || operand == "[PREFIX|RP]") return "rps";
  if (operand == "[INTERFACE]") return "interfaces";
  if (operand == "[PATH]") return "paths";
  if (operand == "[MODULE=LEVEL]") return "modules";
  return operand == "NAME" ? "vrfs" : "";
}

// "active|standby" as words; nothing of operands that are no fixed words.
std::string wordsOf(std::string_view operands) {
  std::string first(operands.substr(0, operands.find(' ')));
  const bool fixed =
      std::none_of(first.begin(), first.end(), [](char c) { return c == '[' || (c >= 'A' && c <= 'Z'); });
  std::replace(first.begin(), first.end(), '|', ' ');
  return fixed ? first : "";
}

std::string withOperand(const Noun &noun) { return std::string(noun.name) + (*noun.operand ? " " : "") + noun.operand; }

// scdoc takes these for marks.
std::string escaped(std::string text) {
  for (size_t at = 0; (at = text.find_first_of("_*\\#", at)) != text.npos; at += 2) text.insert(at, 1, '\\');
  return text;
}

std::vector<std::string> namesOf(const OptionHelp &option) {
  std::vector<std::string> names;
  std::istringstream words(option.names);
  for (std::string word; words >> word;) {
    if (word[0] != '-') continue;
    names.push_back(word);
  }
  return names;
}

std::string namesOfNouns(std::span<const Noun> entries) {
  std::string names;
  for (const Noun &noun : entries) names.append(names.empty() ? "" : " ").append(noun.name);
  return names;
}

}  // namespace

const Completed *completedOf(std::string_view kind) {
  const auto found =
      std::ranges::find(allCompleted, kind, [](const Completed &each) { return std::string_view(each.kind); });
  return found == allCompleted.end() ? nullptr : &*found;
}

std::string completedKinds() {
  std::string kinds;
  for (const Completed &each : allCompleted) kinds.append(kinds.empty() ? "" : ", ").append(each.kind);
  return kinds;
}

std::string manual() {
  std::ostringstream out;
  out << "pimbsrctl(1)\n\n# NAME\n\npimbsrctl - ask and control a running PIM Bootstrap Router agent\n\n# SYNOPSIS\n\n"
         "*pimbsrctl* [_OPTION_]... _VERB_ [_NOUN_] [_ARGUMENT_]\n\n# VERBS\n\n";
  for (const Verb &verb : verbs()) {
    out << "*" << verb.name << "*" << (*verb.operands ? " " : "") << escaped(verb.operands) << "\n\t"
        << escaped(verb.help) << "\n\n";
  }
  out << "# OPTIONS\n\n";
  for (const OptionHelp &option : optionsHelp()) {
    std::string names;
    for (const std::string &name : namesOf(option)) names += (names.empty() ? "*" : ", *") + name + "*";
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
  out << "# EXIT STATUS\n\n0: done; 1: failed or refused; 2: bad usage.\n";
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
    out << "| `" << verb.name << (*verb.operands ? " " : "") << cell(verb.operands) << "` | " << cell(verb.help)
        << " |\n";
  }
  out << "\n| option | |\n|---|---|\n";
  for (const OptionHelp &option : optionsHelp()) {
    std::string names;
    for (const std::string &name : namesOf(option)) names += (names.empty() ? "" : ", ") + name;
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

std::string bashCompletion() {
  std::ostringstream out;
  std::string options, values, byOption;
  for (const OptionHelp &option : optionsHelp()) {
    std::string pattern;
    for (const std::string &name : namesOf(option)) {
      options += name + " ";
      pattern += (pattern.empty() ? "" : "|") + name;
    }
    if (option.value.empty()) continue;
    values += (values.empty() ? "" : "|") + pattern;
    const std::string kind = kindOf(option.value);
    if (!kind.empty()) byOption += "    " + pattern + ") _pimbsrctl_ask " + kind + "; return ;;\n";
  }
  std::string verbNames, byVerb, byNoun;
  for (const Verb &verb : verbs()) {
    verbNames += std::string(verb.name) + " ";
    const std::string words = verb.takesNoun ? namesOfNouns(nounsOf(verb)) : wordsOf(verb.operands);
    const std::string kind = verb.takesNoun ? "" : kindOf(verb.operands);
    if (!words.empty()) byVerb += "    " + std::string(verb.name) + ") _pimbsrctl_words '" + words + "' ;;\n";
    if (!kind.empty()) byVerb += "    " + std::string(verb.name) + ") _pimbsrctl_ask " + kind + " ;;\n";
    if (!verb.takesNoun) continue;
    for (const Noun &noun : nounsOf(verb)) {
      const std::string asked = kindOf(noun.operand);
      if (!asked.empty())
        byNoun += "    '" + std::string(verb.name) + " " + noun.name + "') _pimbsrctl_ask " + asked + " ;;\n";
    }
  }
  out << R"sh(# bash completion of pimbsrctl, printed by "pimbsrctl print bash".
_pimbsrctl_words() { COMPREPLY=($(compgen -W "$1" -- "$current")); }
_pimbsrctl_ask() { _pimbsrctl_words "$(pimbsrctl "${agent[@]}" print "$1" 2> /dev/null)"; }
_pimbsrctl() {
  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]} words=("${COMP_WORDS[@]}")
  local cword=$COMP_CWORD agent=() operands=() i
  # Addresses have colons, which part words otherwise.
  if [[ -n $BASH_VERSION ]] && declare -F _get_comp_words_by_ref > /dev/null; then
    _get_comp_words_by_ref -n := -c current -p previous -w words -i cword
  fi
  for ((i = 1; i < cword; ++i)); do
    case ${words[i]} in
    -4|-6|--ipv4|--ipv6) agent+=("${words[i]}") ;;
    --socket) agent+=(--socket "${words[i+1]}"); i=$((i + 1)) ;;
    )sh"
      << values << R"sh() i=$((i + 1)) ;;
    -*) ;;
    *) operands+=("${words[i]}") ;;
    esac
  done
  _pimbsrctl_complete
  if [[ -n $BASH_VERSION ]] && declare -F __ltrim_colon_completions > /dev/null; then __ltrim_colon_completions "$current"; fi
}
_pimbsrctl_complete() {
  COMPREPLY=()
  case $previous in
    --socket) COMPREPLY=($(compgen -f -- "$current")); return ;;
)sh" << byOption
      << "    " << values << R"sh() return ;;
  esac
  if [[ $current == -* ]]; then _pimbsrctl_words ')sh"
      << options << R"sh('; return; fi
  case ${#operands[@]} in
  0) _pimbsrctl_words ')sh"
      << verbNames << R"sh(' ;;
  1) case ${operands[0]} in
)sh" << byVerb
      << R"sh(    esac ;;
  2) case "${operands[*]}" in
)sh" << byNoun
      << R"sh(    esac ;;
  esac
}
complete -F _pimbsrctl pimbsrctl
)sh";
  return out.str();
}

std::string printed(std::string_view what) {
  if (what == "bash") return bashCompletion();
  if (what == "zsh") return zshCompletion();
  if (what == "manual") return manual();
  return what == "reference" ? reference() : "";
}

// The bash script serves zsh as well, through zsh's own bridge.
std::string zshCompletion() {
  return "#compdef pimbsrctl\n# zsh completion of pimbsrctl, printed by \"pimbsrctl print zsh\".\n"
         "autoload -U +X bashcompinit && bashcompinit\n" +
         bashCompletion() + "_bash_complete -F _pimbsrctl\n";
}

}  // namespace Control
