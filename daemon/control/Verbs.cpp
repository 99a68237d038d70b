#include <algorithm>
#include <array>

#include "daemon/control/Nouns.h"

namespace Control {

namespace {

constexpr Column vrf{"vrf", "the VRF"};
constexpr Column zone{"zone", "group prefix of the scope zone"};
constexpr Column about{"about", "what the sentence is about; as JSON the row has what it is made from, by name"};
constexpr std::array bsrReasons{
    vrf,
    zone,
    about,
    Column{"text",
           "who is the BSR, when its next message is due or silence ends it, from which neighbor it must come, "
           "who else was heard, what was refused and what to look at next"},
};
constexpr std::array rpReasons{
    vrf,
    Column{"rp", "the address asked about"},
    about,
    Column{"text", "each prefix that it serves, from which zone and BSR, whether it is in use, announced, and why not"},
};
constexpr std::array groupReasons{
    vrf,
    Column{"group", "the group asked about"},
    about,
    Column{"text", "its RP, the rule by which that wins, the zone and prefix that decide, and every candidate"},
};
constexpr std::array topics{
    Noun{.name = "bsr",
         .help = "why this is the BSR of a zone, or there is none",
         .columns = bsrReasons,
         .layout = Noun::Layout::sentences,
         .operand = "[ZONE]"},
    Noun{.name = "rp",
         .help = "where an address is an RP, and why not",
         .columns = rpReasons,
         .layout = Noun::Layout::sentences,
         .operand = "ADDRESS"},
    Noun{.name = "group",
         .help = "why this RP serves a group",
         .columns = groupReasons,
         .layout = Noun::Layout::sentences,
         .operand = "GROUP"},
};

constexpr std::array finding{Column{"line", "FILE:PATH: message"}};
constexpr Noun findings{"findings", "what is wrong in a configuration file", finding, Noun::Layout::lines};

constexpr std::array allVerbs{
    Verb{.name = "show", .operands = "NOUN", .help = "show it once", .takesNoun = true},
    Verb{.name = "watch",
         .operands = "NOUN",
         .help = "show it again whenever it changes, counters and the like each second",
         .takesNoun = true},
    Verb{.name = "explain",
         .operands = "bsr|rp|group",
         .help = "say why, in sentences",
         .more = "Asked about a zone, the address of an RP, or a group, it answers who decides and why, since when and "
                 "until when, what was refused, and what to look at next. With --json each sentence is an object, with "
                 "what it is made from.",
         .takesNoun = true,
         .own = topics},
    Verb{.name = "monitor",
         .operands = "[NOUN|events]...",
         .help = "print each change, or run a command on it; events if nothing is named",
         .more = "It begins with what is there, and goes on until it is interrupted, also when the agent is started "
                 "again."},
    Verb{.name = "print",
         .operands = "bash|zsh|manual|reference",
         .help = "print completion for a shell, the manual page for scdoc, or the reference"},
    Verb{.name = "trace",
         .operands = "[MODULE=LEVEL]",
         .help = "set a trace level, * for every module; without an operand, list the levels"},
    Verb{.name = "check", .help = "check the configuration file without loading it", .answer = &findings},
    Verb{.name = "reload", .help = "read the configuration file again"},
    Verb{.name = "clear", .operands = "counters", .help = "set the message counters to zero"},
    Verb{.name = "redundancy",
         .operands = "active|standby",
         .help = "run, or stand by: keep what was learned and send nothing"},
    Verb{.name = "stage",
         .operands = "boot|shutdown STAGE",
         .help = "run a stage of an upgrade, and say whether it is complete"},
};

}  // namespace

std::span<const Verb> verbs() { return allVerbs; }

const Verb *verbOf(std::string_view name) {
  const auto found = std::ranges::find(allVerbs, name, [](const Verb &verb) { return std::string_view(verb.name); });
  return found == allVerbs.end() ? nullptr : &*found;
}

std::span<const Noun> nounsOf(const Verb &verb) { return verb.own.empty() ? nouns() : verb.own; }

const Noun *nounOf(const Verb &verb, std::string_view name) {
  const auto among = nounsOf(verb);
  const auto found = std::ranges::find(among, name, [](const Noun &noun) { return std::string_view(noun.name); });
  return found == among.end() ? nullptr : &*found;
}

}  // namespace Control
