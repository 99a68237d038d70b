#include "daemon/control/Nouns.h"

#include <algorithm>
#include <array>
#include <stdexcept>

namespace Control {

namespace {

constexpr Column vrf{"vrf", "the VRF"};
constexpr Column zone{"zone", "group prefix of the scope zone"};
constexpr Column upTime{"upTime", "how long ago it was learned"};
constexpr Column expires{"expires", "how long until it expires"};
constexpr Column local{"local", "whether the RP is an address of this router"};
constexpr Column active{"active", "whether it is in force"};
constexpr Column reason{"reason", "what is not in force, and why"};

constexpr std::array agent{
    Column{"agent", "PimBsr or PimBsr6"},
    Column{"version", "its version"},
    Column{"redundancy", "active or standby"},
    Column{"shutdown", "whether a hitless shutdown was requested"},
    Column{"pendingVrfs", "the VRFs that are not ready for it yet"},
    Column{"file", "the configuration file"},
    Column{"loadedAt", "when the configuration in force was loaded"},
    Column{"lastError", "why a later reload was refused"},
    Column{"droppedTraces", "lines that nobody read from its standard error"},
    Column{"longestTurn", "the longest turn of its loop since the counters were last cleared"},
};
constexpr std::array vrfs{
    vrf,
    Column{"namespace", "its network namespace; empty for the one in which the agent was started"},
    Column{"device", "its VRF device; empty where the VRF is not one"},
    Column{"state", "unknown, known or running"},
    Column{"reason", "what it is waiting for"},
};
constexpr std::array bsr{
    vrf,
    zone,
    Column{"address", "address of the elected BSR"},
    Column{"priority", "its priority"},
    Column{"hashMaskLen", "its hash mask length"},
    Column{
        "state",
        "noInfo, acceptAny or acceptPreferred; as a candidate cBsr, pBsr or eBsr; none while the VRF is not running"},
    Column{"elected", "whether this router is the BSR"},
    upTime,
    Column{"expires", "how long until the BSR is lost, unless its next message comes"},
    Column{"nextBsm", "how long until this router sends its next message as the BSR, or takes over"},
    Column{"lastBsmFrom", "the neighbor that the BSR's last message came from"},
    Column{"lastBsmAt", "how long ago that was or, on the BSR, its own last message"},
    Column{"rpfNeighbor", "the neighbor that the BSR's messages have to come from"},
};
constexpr std::array candidateBsr{
    vrf,
    zone,
    Column{"interface", "the interface whose address it uses"},
    Column{"address", "that address"},
    Column{"priority", "BSR priority, the highest wins"},
    Column{"hashMaskLen", "hash mask length"},
    Column{"interval", "seconds between Bootstrap messages as the BSR"},
    Column{"state", "cBsr, pBsr (about to be elected) or eBsr"},
    Column{"elected", "whether it is the BSR"},
    Column{"winner", "address of the zone's BSR"},
    Column{"sources", "sources of the zone: group, or names of ACLs"},
    active,
    reason,
};
constexpr std::array candidateRp{
    vrf,
    Column{"rp", "address of the RP"},
    Column{"interface", "the interface whose address that is"},
    Column{"mode", "sparsemode or bidir"},
    Column{"interval", "seconds between advertisements"},
    Column{"groups", "prefixes served, each with its priority"},
    active,
    reason,
    Column{"zones", "where it advertises: zone, BSR, groups, groups left out, how long until the next advertisement"},
};
constexpr std::array border{
    vrf,
    Column{"prefix", "group prefix of the zone whose messages do not pass"},
    Column{"interfaces", "the interfaces that are its border"},
    Column{"sources", "what names the prefix: group, or ACLs by name"},
    active,
    reason,
};
constexpr std::array acl{
    vrf,
    Column{"acl", "name of the ACL"},
    Column{"exists", "whether it is defined"},
    Column{"rules", "its rules, the first that matches decides"},
    Column{.name = "groups", .help = "group prefixes that it permits", .isPrefixes = true},
    Column{.name = "unicast", .help = "other prefixes that it permits", .isPrefixes = true},
    Column{"users", "roles and interfaces that name it; the filter has no interface"},
    active,
    reason,
};
constexpr std::array filter{
    vrf,
    Column{"prefix", "addresses of candidate RPs that are accepted while this router is the BSR"},
    Column{"sources", "the ACLs that permit them; none if no filter is configured and all are accepted"},
    active,
    reason,
};
constexpr std::array rpSet{
    vrf,
    zone,
    Column{"group", "group prefix"},
    Column{"rp", "address of the RP"},
    local,
    Column{"mode", "sparsemode or bidir"},
    Column{"priority", "priority of the RP, the lowest wins"},
    Column{"holdTime", "advertised hold time, seconds"},
    Column{"hashMaskLen", "hash mask length of the BSR"},
    upTime,
    expires,
    Column{"published", "whether it is in the VRF's published RP set"},
    Column{"announced", "on the zone's BSR: whether its last message listed it"},
};
constexpr std::array rp{
    vrf,
    Column{"group", "the group asked about"},
    Column{"zone", "group prefix of the scope zone that decides for it"},
    Column{"bsr", "address of the zone's BSR"},
    Column{"prefix", "the longest prefix with an RP set that covers the group"},
    Column{"rp", "address of its RP"},
    local,
    Column{"mode", "sparsemode or bidir"},
    Column{"priority", "priority of the RP, the lowest wins"},
    Column{"hash", "hash of group and RP, the highest wins among equal priorities"},
    Column{"candidates", "every RP of the prefix and mode with its priority and hash, best first"},
};
constexpr std::array interfaces{
    vrf,
    Column{"interface", "the interface, as VRF/NAME outside the default VRF"},
    Column{"state", "whether PIM is on there: on or off"},
    Column{"reason", "why it is off"},
    Column{"address", "PIM address"},
    Column{"mtu", "MTU that Bootstrap messages are made to fit, in bytes"},
    Column{"dr", "designated router"},
    Column{"isDr", "whether that is this router"},
    Column{"neighbors", "number of PIM neighbors"},
    Column{"refused", "Hellos refused because there were too many neighbors"},
    Column{"border", "group prefixes for which it is a BSR border"},
};
constexpr std::array neighbors{
    vrf,
    Column{"interface", "the interface"},
    Column{"address", "source address of the neighbor's Hellos"},
    Column{"addresses", "its other addresses on the link"},
    Column{"drPriority", "DR priority, if it sends one"},
    Column{"generationId", "generation ID, if it sends one"},
    upTime,
    expires,
};
constexpr std::array counters{
    vrf,
    Column{"errors", "messages that the agent rejected, by reason"},
    Column{"refused", "what was refused because a limit was reached, by limit"},
    Column{"packets", "packets that never reached the agent, by reason, and those received and sent"},
};
constexpr std::array config{
    Column{"pim", "the VRFs and where PIM is on"},
    Column{"vrfConfig", "timers, candidates and filters of each VRF"},
    Column{"intfConfig", "borders of each interface"},
    Column{"acl", "the ACLs"},
    Column{"metrics", "where the metrics are served over HTTP"},
};
constexpr std::array state{
    Column{"path", "its path in the state store"},
    Column{"type", "the type of the entity there; with a PATH, which may go on into it, its contents as JSON"},
};
constexpr std::array events{
    Column{"seq", "its number"},
    Column{"time", "when it happened, UTC"},
    Column{"severity", "in the words of syslog"},
    Column{"kind", "what it is"},
    Column{"text",
           "the whole in one sentence; as JSON also the VRF, zone, group, RP, BSR, interface, neighbor, old and "
           "new value and cause that apply, each by its name"},
};
constexpr std::array drops{
    vrf,
    Column{"interface", "where it arrived"},
    Column{"neighbor", "who sent it; none stands for all who are no PIM neighbors there, but for candidate RPs"},
    Column{"reason", "why it was refused"},
    Column{"bsr", "the BSR that it was from, or for"},
    Column{"count", "how many, since the counters were last cleared"},
    Column{"last", "seconds since the last one"},
    Column{"echo", "whether these are copies of messages that this router accepted or sent, which is no fault"},
};
constexpr std::array metrics{Column{"line", "a line of OpenMetrics text"}};
constexpr std::array log{Column{"line", "time, module, level and text"}};

constexpr Noun entity{"entity", "the contents of an entity", state, Noun::Layout::file};

constexpr std::array summary{
    Column{"vrf", "the VRF; none for the agent"},
    Column{"subject", "what it is about, a noun that shows more; in the last row all"},
    Column{"state", "ok, warning or problem"},
    Column{"text", "what is so"},
};

constexpr std::array allNouns{
    Noun{"summary", "whether all is well, and what is not", summary},
    Noun{"agent", "the agent itself", agent, Noun::Layout::fields},
    Noun{"vrf", "every configured VRF, and whether the agent runs there", vrfs},
    Noun{"bsr", "the elected BSR of each scope zone", bsr},
    Noun{"candidate-bsr", "this router's candidate BSRs", candidateBsr},
    Noun{"candidate-rp", "this router's candidate RPs", candidateRp},
    Noun{.name = "rp-set",
         .help = "the RPs learned from the BSRs: all, one, or those for a group or within a range",
         .columns = rpSet,
         .operand = "[PREFIX|RP]"},
    Noun{.name = "rp", .help = "the RP that serves a group", .columns = rp, .operand = "GROUP"},
    Noun{"border", "the BSR borders", border},
    Noun{"acl", "the ACLs and who uses them", acl},
    Noun{"filter", "the candidate RPs that are accepted", filter},
    Noun{.name = "interfaces",
         .help = "every configured interface, whether PIM is on there, and why not",
         .columns = interfaces,
         .operand = "[INTERFACE]"},
    Noun{.name = "neighbors", .help = "the PIM neighbors", .columns = neighbors, .operand = "[INTERFACE]"},
    Noun{"counters", "message counters of each VRF", counters, Noun::Layout::fields, true},
    Noun{"config", "the configuration in force with its defaults, as a file that can be loaded", config,
         Noun::Layout::file},
    Noun{.name = "state", .help = "the state store", .columns = state, .operand = "[PATH]", .about = &entity},
    Noun{"events", "the last events; --since, --zone, --severity and --kind choose among them", events},
    Noun{"drops", "what was refused, the latest first", drops},
    Noun{"metrics", "the metrics, as a monitoring system gets them", metrics, Noun::Layout::lines},
    Noun{"log", "the last trace lines", log, Noun::Layout::lines},
};

}  // namespace

std::span<const Noun> nouns() { return allNouns; }

const Noun *nounOf(std::string_view name) {
  const auto found = std::ranges::find(allNouns, name, [](const Noun &noun) { return std::string_view(noun.name); });
  return found == allNouns.end() ? nullptr : &*found;
}

void checkArgument(const Noun &noun, const std::string &argument) {
  const std::string name(noun.name), operand(noun.operand);
  if (operand.empty() && !argument.empty()) throw std::invalid_argument("'" + name + "' takes no argument");
  const bool isNeeded = !operand.empty() && !operand.starts_with('[');
  if (isNeeded && argument.empty()) throw std::invalid_argument("'" + name + "' needs '" + operand + "'");
}

}  // namespace Control
