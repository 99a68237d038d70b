/// The only description of the configuration file: its members, their kinds, bounds and meanings. The reader, the JSON
/// Schema and the effective configuration all come from it; a member's default is what its field starts with.
///
/// describe(members, settings) hands each member of one object to `members`, which is one of
/// MemberReader, MemberSchema and MemberWriter. These have
///
///   scope()                                      where the object stands
///   number(name, field, least, most, help)       an integer
///   real(name, field, least, most, help)         a number
///   option(name, field, least, most, help)       an integer or a number that may be left out, by the type of its field
///   json(name, field, help)                      an object of free form
///   computed(name, field, least, most, help)     the same; 0 if it is not given, to be computed later
///   word(name, field, words, help)               one of a few words, each for a value
///   text(name, field, form, help)                a text
///   list(name, field, form, help)                a list of texts, for a set or a vector
///   map(name, field, form, help)                 an object with any names, for a map of described settings
///   object(name, field, help)                    an object of described settings
///   objects(name, field, help)                   a list of these
///   either(action, words, field, form, help)     exactly one of several members; its name gives `action`
///   needsOne(names, lack)                        at least one of these maps must have an entry
#pragma once

#include <algorithm>
#include <type_traits>
#include <utility>
#include <vector>

#include "daemon/file/Forms.h"

namespace Routing::Pim::Bsr {

template <class Type>
using Words = std::vector<std::pair<const char *, Type>>;

// Hold times are 16 bits on the wire: 3 x the interval at most.
inline constexpr uint64_t intervalMost = 21845;
inline constexpr uint64_t holdTimeMost = 65535;
inline constexpr uint64_t priorityMost = 255;

template <class Members>
void describe(Members &members, PimVrf &pim) {
  members.text(
      "namespace", pim.networkNamespace, namespaceNames(members.scope()),
      "Its network namespace, by name under /run/netns or as a path. Without namespace and device the VRF is the "
      "namespace of its name or, where there is none, the VRF device of its name. Not for the VRF \"default\", which "
      "is "
      "the namespace that the program starts in, without the members of VRF devices.");
  members.text(
      "device", pim.device, deviceNames(members.scope()),
      "Its VRF device, in the namespace if one is given, else in the one that the program starts in. Without it, a VRF "
      "device of the VRF's name in its namespace is used if there is one.");
  members.list("interfaces", pim.interfaces, interfaceNames(members.scope()),
               "The interfaces on which PIM is enabled.");
  members.word("hello", pim.speak, Words<bool>{{"speak", true}, {"listen", false}},
               "\"speak\" sends Hellos; \"listen\" where another PIM daemon on this router does.");
  members.number("drPriority", pim.drPriority, 0, UINT32_MAX,
                 "DR priority in our Hellos, or in those of the daemon that sends them.");
}

template <class Members>
void describe(Members &members, ZoneCandidacy &candidacy) {
  const uint64_t lengthMost = std::min<uint64_t>(Pax::addressBits(members.scope().file.family), hashMaskLenUnset - 1);
  members.number("priority", candidacy.priority, 0, priorityMost, "Priority as a BSR; the highest wins.");
  members.number("hashMaskLen", candidacy.hashMaskLen, 0, lengthMost,
                 "How many leading bits of a group address select its RP: groups that share them share an RP.");
  members.number("interval", candidacy.interval, 1, intervalMost, "Bootstrap period, seconds.");
}

template <class Members>
void describe(Members &members, BsrCandidacy &candidacy) {
  members.map("group", candidacy.group, groupRanges(members.scope()),
              "By group range: the zones to be the BSR of. The range of all groups is the global zone.");
  members.map("acl", candidacy.acl, aclNames(), "By ACL: every group prefix that the ACL permits is a zone.");
  members.needsOne({"group", "acl"}, "is a candidate BSR without a zone (group or acl)");
}

template <class Members>
void describe(Members &members, RangeOptions &options) {
  members.number("priority", options.priority, 0, priorityMost, "Priority as an RP; the lowest wins.");
}

template <class Members>
void describe(Members &members, RpCandidacy &candidacy) {
  members.map("groupRange", candidacy.groupRange, groupRanges(members.scope()),
              "By group range: the groups that the RP serves.");
  members.map("acl", candidacy.acl, aclNames(), "By ACL: the RP serves every group prefix that the ACL permits.");
  members.word("mode", candidacy.mode, Words<Mode>{{"sparsemode", Mode::sparse}, {"bidir", Mode::bidir}},
               "PIM mode of the RP.");
  members.number("advInterval", candidacy.advInterval, 1, intervalMost, "Seconds between advertisements.");
  members.needsOne({"groupRange", "acl"}, "is a candidate RP without a range (groupRange or acl)");
}

// What a message or a fragment takes by itself has to fit.
inline constexpr uint64_t countMost = 1000000;
inline constexpr uint64_t bytesLeast = 65536;
inline constexpr uint64_t bytesMost = 1 << 30;

template <class Members>
void describe(Members &members, Limits &limits) {
  members.number("rps", limits.rps, 0, countMost,
                 "RPs learned from Bootstrap messages; one counts once for each range and zone.");
  members.number("zones", limits.zones, 0, countMost,
                 "Scoped zones. Those of our own candidates and borders always fit.");
  members.number("ranges", limits.ranges, 0, countMost, "Group ranges with RPs; one counts once for each zone.");
  members.number("collectedRps", limits.collectedRps, 0, countMost,
                 "Pairs of an RP and a range that the BSR collects from advertisements.");
  members.number("rangesPerRp", limits.rangesPerRp, 0, countMost, "Ranges of one RP among them.");
  members.number("keptBytes", limits.keptBytes, bytesLeast, bytesMost,
                 "Memory for the last Bootstrap messages of a zone, which new neighbors are sent.");
  members.number("openBytes", limits.openBytes, bytesLeast, bytesMost,
                 "Memory for groups of which only some fragments have arrived.");
  members.number("neighbors", limits.neighbors, 1, countMost, "PIM neighbors on each interface.");
}

template <class Members>
void describe(Members &members, VrfSettings &settings) {
  members.computed("holdTime", settings.holdTime, 1, holdTimeMost,
                   "Seconds without a Bootstrap message after which the BSR is considered lost. By default 2 x the "
                   "largest interval of the VRF's candidates + 10, or 130 without a candidate.");
  members.computed(
      "szTimeout", settings.szTimeout, 1, 10 * holdTimeMost,
      "Seconds without a BSR after which a scoped zone is forgotten. By default 10 x holdTime, which is also "
      "used instead of a smaller value.");
  members.word(
      "mixedFragments", settings.mixedFragments,
      Words<MixedFragments>{{"drop", MixedFragments::drop}, {"stop", MixedFragments::stop}},
      "What to do with a Bootstrap message that contradicts earlier fragments of its tag: \"drop\" the message, or "
      "take it and \"stop\" the agent where the contradiction shows.");
  members.object(
      "limits", settings.limits,
      "What is held of other routers' making, at most. At a limit, what is known is refreshed and what is new "
      "is refused.");
  members.map("bsrCandidateConfig", settings.bsrCandidateConfig, interfaceNames(members.scope()),
              "By interface: the candidate BSRs. Each uses the first global address of its interface.");
  members.map("rpCandidateConfig", settings.rpCandidateConfig, interfaceNames(members.scope()),
              "By interface: the candidate RPs. Each uses the first global address of its interface.");
  members.list(
      "crpFilterAcl", settings.crpFilterAcl, aclNames(),
      "ACLs of the candidate RPs that are accepted while this router is the BSR; without any, all are accepted.");
}

template <class Members>
void describe(Members &members, IntfSettings &settings) {
  members.list("bsrBorderGrp", settings.bsrBorderGrp, groupRanges(members.scope()),
               "Zones whose Bootstrap messages are blocked on the interface. Each entry blocks only the zone of "
               "exactly that range.");
  members.list("bsrBorderAcl", settings.bsrBorderAcl, aclNames(),
               "The same for every group prefix that the ACL permits.");
}

template <class Members>
void describe(Members &members, Acl::IpRule &rule) {
  members.either(rule.action, Words<Acl::Action>{{"permit", Acl::Action::permit}, {"deny", Acl::Action::deny}},
                 rule.filter.source, aclSources(members.scope()), "A prefix without host bits, or any.");
}

template <class Members>
void describe(Members &members, MetricsSettings &settings) {
  members.text("listen", settings.listen, endpoints(),
               "ADDRESS:PORT, with an IPv6 address in brackets, or PORT alone, which is on 127.0.0.1. Whoever reaches "
               "that may read the metrics. Without it they are not served.");
}

template <class Members>
void describe(Members &members, Configuration &file) {
  members.map("pim", file.pim, vrfNames(), "By name: the VRFs, each of them a network namespace or a VRF device.");
  members.map("vrfConfig", file.vrfConfig, vrfNamesPresent(members.scope()), "By VRF: its timers and candidates.");
  members.map("intfConfig", file.intfConfig, interfaceKeys(members.scope()),
              "By interface, NAME or VRF/NAME: its borders.");
  members.map("acl", file.acl, aclNames(),
              "By name: the access lists. The first rule that matches decides; what no rule matches is denied.");
  members.word("logLevel", file.logLevel,
               Words<Severity>{{"emergency", Severity::emergency},
                               {"alert", Severity::alert},
                               {"critical", Severity::critical},
                               {"error", Severity::error},
                               {"warning", Severity::warning},
                               {"notice", Severity::notice},
                               {"info", Severity::info},
                               {"debug", Severity::debug}},
               "The least severity of the events that are logged; --log-level comes before it.");
  members.object("metrics", file.metrics, "Where the metrics are served over HTTP, as GET /metrics.");
}

/// What the members of a new element start with.
template <class Type>
Type initial(const Scope &scope) {
  if constexpr (!std::is_aggregate_v<Type> && std::is_constructible_v<Type, Pax::AddressFamily>) {
    return Type(scope.file.family);
  } else {
    return Type();
  }
}

/// Where an element stands: the names of `pim` and `vrfConfig` are VRFs.
template <class Key>
Scope scopeOf(const Scope &scope, const Key &) {
  return scope;
}
inline Scope scopeOf(const Scope &scope, const L3::VrfName &vrf) { return {scope.file, vrf.text()}; }

}  // namespace Routing::Pim::Bsr
