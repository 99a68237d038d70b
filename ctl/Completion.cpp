#include "ctl/Completion.h"

#include <algorithm>
#include <array>
#include <sstream>

#include "ctl/Options.h"
#include "daemon/control/Streams.h"

namespace Control {

namespace {

constexpr std::array allCompleted{
    Completed{"vrfs", "show", "vrf", "vrf"},      Completed{"zones", "show", "bsr", "zone"},
    Completed{"rps", "show", "rp-set", "rp"},     Completed{"interfaces", "show", "interfaces", "interface"},
    Completed{"paths", "show", "state", "path"},  Completed{"modules", "trace", "", "module"},
    Completed{"kinds", "show", "events", "kind"},
};

// Under what the operand of a noun or verb, or the value of an option, is completed; empty: not at all.
std::string kindOf(std::string_view operand) {
  if (operand == "[ZONE]" || operand == "PREFIX") return "zones";
  if (operand == "ADDRESS" || operand == "[PREFIX|RP]") return "rps";
  if (operand == "[INTERFACE]") return "interfaces";
  if (operand == "[PATH]") return "paths";
  if (operand == "[MODULE=LEVEL]") return "modules";
  if (operand == "KIND") return "kinds";
  return operand == "NAME" ? "vrfs" : "";
}

// "active|standby" as words; nothing of operands that are no fixed words.
std::string fixedWordsOf(std::string_view operands) {
  std::string first(operands.substr(0, operands.find(' ')));
  const bool fixed =
      std::none_of(first.begin(), first.end(), [](char c) { return c == '[' || (c >= 'A' && c <= 'Z'); });
  std::replace(first.begin(), first.end(), '|', ' ');
  return fixed ? first : "";
}

std::string namesOfNouns(std::span<const Noun> entries) {
  std::string names;
  for (const Noun &noun : entries) names.append(names.empty() ? "" : " ").append(noun.name);
  return names;
}

// Lines of shell: what is offered, by the case in which it is.
struct Cases {
  std::string byOption;  // the option before
  std::string values;    // other options than --socket that take a value
  std::string free;      // those of them for which nothing is offered
  std::string byVerb;    // for the first operand of the verb
  std::string byNoun;    // for the operand of the noun
};

std::string caseOf(const std::string &pattern, const char *function, const std::string &what) {
  return "    " + pattern + ") " + function + " '" + what + "' ;;\n";
}

void addOptions(Cases &cases, std::string &names) {
  for (const OptionHelp &option : optionsHelp()) {
    std::string pattern;
    for (const std::string &name : option.names) {
      names += name + " ";
      pattern += (pattern.empty() ? "" : "|") + name;
    }
    const std::string kind = kindOf(option.value);
    if (option.value.empty() || pattern == "--socket") continue;
    cases.values += (cases.values.empty() ? "" : "|") + pattern;
    if (option.value == "SEVERITY") {
      cases.byOption += caseOf(pattern, "_pimbsrctl_words", severities);
    } else if (!kind.empty()) {
      cases.byOption += caseOf(pattern, "_pimbsrctl_ask", kind);
    } else {
      cases.free += (cases.free.empty() ? "" : "|") + pattern;
    }
  }
}

void addVerb(const Verb &verb, const std::string &followed, Cases &cases) {
  const std::string name = verb.name;
  const bool isMonitor = name == "monitor";
  const std::string nouns = verb.takesNoun ? namesOfNouns(nounsOf(verb)) : "";
  const std::string words = isMonitor ? followed : verb.takesNoun ? nouns : fixedWordsOf(verb.operands);
  const std::string kind = verb.takesNoun ? "" : kindOf(verb.operands);
  if (!words.empty()) cases.byVerb += caseOf(name, "_pimbsrctl_words", words);
  if (!kind.empty()) cases.byVerb += caseOf(name, "_pimbsrctl_ask", kind);
  for (const Noun &noun : verb.takesNoun || isMonitor ? nounsOf(verb) : std::span<const Noun>()) {
    const std::string asked = isMonitor && !followedOf(noun.name) ? "" : kindOf(noun.operand);
    if (!asked.empty()) cases.byNoun += caseOf("'" + name + " " + noun.name + "'", "_pimbsrctl_ask", asked);
  }
}

}  // namespace

const Completed *completedOf(std::string_view kind) {
  const auto found =
      std::ranges::find(allCompleted, kind, [](const Completed &each) { return std::string_view(each.kind); });
  return found == allCompleted.end() ? nullptr : &*found;
}

std::string bashCompletion() {
  std::ostringstream out;
  std::string options, verbNames, nounNames = namesOfNouns(nouns()), followed = followedNames();
  std::erase(followed, ',');
  Cases cases;
  addOptions(cases, options);
  for (const Verb &verb : verbs()) {
    verbNames += std::string(verb.name) + " ";
    addVerb(verb, followed, cases);
    for (const Noun &noun : verb.own) nounNames.append(nounOf(noun.name) ? "" : std::string(" ") + noun.name);
  }
  out << R"sh(# bash completion of pimbsrctl, printed by "pimbsrctl print bash".
_pimbsrctl_words() { COMPREPLY+=($(compgen -W "$1" -- "$current")); }
_pimbsrctl_ask() { _pimbsrctl_words "$(pimbsrctl "${agent[@]}" print "$1" 2> /dev/null)"; }
_pimbsrctl() {
  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]} words=("${COMP_WORDS[@]}")
  local cword=$COMP_CWORD agent=() operands=() help='' i
  # Addresses have colons, which part words otherwise.
  if [[ -n $BASH_VERSION ]] && declare -F _get_comp_words_by_ref > /dev/null; then
    _get_comp_words_by_ref -n := -c current -p previous -w words -i cword
  fi
  for ((i = 1; i < cword; ++i)); do
    case ${words[i]} in
    -4|-6|--ipv4|--ipv6) agent+=("${words[i]}") ;;
    --socket) agent+=(--socket "${words[i+1]}"); i=$((i + 1)) ;;
    --help) help=1 ;;
    )sh"
      << cases.values << R"sh() i=$((i + 1)) ;;
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
    --socket) COMPREPLY=($(compgen -f -- "$current")) ;;
)sh" << cases.byOption
      << "    " << cases.free << R"sh() ;;
    *) _pimbsrctl_operand ;;
  esac
}
_pimbsrctl_operand() {
  if [[ $current == -* ]]; then _pimbsrctl_words ')sh"
      << options << R"sh('; return; fi
  case ${#operands[@]} in
  0) _pimbsrctl_words ')sh"
      << verbNames << R"sh('
     if [[ -n $help ]]; then _pimbsrctl_words ')sh"
      << nounNames << R"sh('; fi ;;
  1) case ${operands[0]} in
)sh" << cases.byVerb
      << R"sh(    esac ;;
  *) if [[ ${operands[0]} == monitor ]]; then _pimbsrctl_words ')sh"
      << followed << R"sh('; fi
     if [[ -n $help ]]; then return; fi
     case "${operands[*]}" in
)sh" << cases.byNoun
      << R"sh(    esac ;;
  esac
}
complete -F _pimbsrctl pimbsrctl
)sh";
  return out.str();
}

// The bash script serves zsh as well, through zsh's own bridge.
std::string zshCompletion() {
  return "#compdef pimbsrctl\n# zsh completion of pimbsrctl, printed by \"pimbsrctl print zsh\".\n"
         "autoload -U +X bashcompinit && bashcompinit\n" +
         bashCompletion() + "_bash_complete -F _pimbsrctl\n";
}

}  // namespace Control
