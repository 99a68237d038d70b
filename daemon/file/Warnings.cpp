#include <algorithm>

#include "daemon/file/Checks.h"
#include "daemon/file/Entries.h"
#include "daemon/file/Zones.h"
#include "engine/CrpGoodbyes.h"

namespace Routing::Pim::Bsr {

namespace {

/// A zone or a border, and where it is said.
struct Said {
  Pax::IpGenPrefix prefix;
  std::string entry;
};

class WarningFinder {
 public:
  WarningFinder(const Configuration &configuration, const Places &places, Findings &findings)
      : configuration_(configuration),
        places_(places),
        findings_(findings),
        all_(Pax::allGroups(configuration.family)) {}

  void find() {
    for (const auto &[vrf, settings] : configuration_.vrfConfig) {
      judgeTimes(entryPath({"vrfConfig", vrf.text()}), settings);
      judgeZones(settings, zones(vrf, settings));
      for (const auto &[intfId, candidacy] : settings.rpCandidateConfig) judgeRanges(rpEntry(vrf, intfId), candidacy);
    }
    for (const auto &[intfId, settings] : configuration_.intfConfig) judgeBorders(intfId, settings);
    judgeAcls();
  }

 private:
  void warn(const std::string &entry, const std::string &message) { findings_.warning(places_.of(entry), message); }

  void judgeTimes(const std::string &entry, const VrfSettings &settings) {
    const uint32_t interval = largestInterval(settings);
    if (interval != 0 && settings.holdTime < holdTimeOf(interval)) {
      findings_.warning(entry + "/holdTime", std::to_string(settings.holdTime) + " is under 2 x interval + 10 = " +
                                                 std::to_string(holdTimeOf(interval)));
    }
    const uint32_t szLeast = 10 * settings.holdTime;
    if (settings.szTimeout >= szLeast) return;
    findings_.warning(entry + "/szTimeout", std::to_string(settings.szTimeout) +
                                                " is under 10 x holdTime and counts as " + std::to_string(szLeast));
  }

  std::vector<Said> zones(const L3::VrfName &vrf, const VrfSettings &settings) const {
    std::vector<Said> zones;
    for (const auto &[intfId, candidacy] : settings.bsrCandidateConfig) {
      const std::string entry = bsrEntry(vrf, intfId);
      for (const auto &[zone, values] : candidacy.group) {
        zones.push_back({zone, entry + entryPath({"group", textOf(zone)})});
      }
      for (const auto &[acl, values] : candidacy.acl) append(zones, acl, entry + entryPath({"acl", acl}));
    }
    return zones;
  }
  void append(std::vector<Said> &said, const std::string &acl, const std::string &entry) const {
    for (const Pax::IpGenPrefix &group : permittedGroups(configuration_, acl)) said.push_back({group, entry});
  }

  void judgeZones(const VrfSettings &settings, const std::vector<Said> &zones) {
    static const Pax::IpGenPrefix scoped(Pax::IpGenAddr::v4(239u << 24), 8);
    Prefixes ranges;
    for (const auto &[intfId, candidacy] : settings.rpCandidateConfig) {
      for (const auto &[range, sources] : rangesOf(configuration_, candidacy)) ranges.insert(range);
    }
    for (const Said &zone : zones) {
      if (zone.prefix == all_) continue;
      const std::string name = "zone " + textOf(zone.prefix);
      if (configuration_.family == Pax::AddressFamily::ipv4 && !scoped.covers(zone.prefix)) {
        warn(zone.entry, name + " is outside 239.0.0.0/8, where administrative scopes are");
      }
      const auto inside = [&](const Pax::IpGenPrefix &range) { return zone.prefix.covers(range); };
      if (std::none_of(ranges.begin(), ranges.end(), inside)) {
        warn(zone.entry, "no candidate RP of this router serves a range inside " + name);
      }
    }
  }

  /// Ranges of one priority share an advertisement, where they are in one zone.
  void judgeRanges(const std::string &entry, const RpCandidacy &candidacy) {
    std::map<Pax::IpGenPrefix, RpPriority> priorities;
    for (const auto &[acl, options] : candidacy.acl) {
      for (const Pax::IpGenPrefix &range : permittedGroups(configuration_, acl)) priorities[range] = options.priority;
    }
    for (const auto &[range, options] : candidacy.groupRange) priorities[range] = options.priority;
    std::map<RpPriority, size_t> ranges;
    for (const auto &[range, priority] : priorities) ++ranges[priority];
    for (const auto &[priority, count] : ranges) {
      if (count <= CrpGoodbyes::mostCounted) continue;
      warn(entry, std::to_string(count) + " ranges have priority " + std::to_string(priority) +
                      ", and the BSR of a zone is told of the first " + std::to_string(CrpGoodbyes::mostCounted) +
                      " in it");
    }
  }

  void judgeBorders(const Pax::IntfId &intfId, const IntfSettings &settings) {
    const std::string entry = intfEntry(configuration_, intfId);
    std::vector<Said> borders;
    for (const Pax::IpGenPrefix &group : settings.bsrBorderGrp) {
      borders.push_back({group, entry + entryPath({"bsrBorderGrp", textOf(group)})});
    }
    for (const std::string &acl : settings.bsrBorderAcl) append(borders, acl, entry + entryPath({"bsrBorderAcl", acl}));
    const auto settingsOfVrf = configuration_.vrfConfig.find(L3::VrfName(intfId.vrf()));
    if (settingsOfVrf == configuration_.vrfConfig.end()) return;
    const auto isBorder = [&](const Pax::IpGenPrefix &zone) {
      return std::any_of(borders.begin(), borders.end(), [&](const Said &border) { return border.prefix == zone; });
    };
    for (const Said &border : borders) {
      for (const Said &zone : zones(settingsOfVrf->first, settingsOfVrf->second)) {
        if (!border.prefix.covers(zone.prefix) || isBorder(zone.prefix)) continue;
        warn(border.entry, "border " + textOf(border.prefix) + " does not block zone " + textOf(zone.prefix) +
                               ", only the zone of its own range");
      }
    }
  }

  void judgeAcls() {
    std::set<std::string> judged;
    for (const AclUse &use : aclUses(configuration_)) {
      if (!use.groups) continue;
      if (permittedGroups(configuration_, use.acl).empty()) {
        warn(use.entry, "ACL " + use.acl + " permits no range of groups");
      }
      if (judged.insert(use.acl).second) judgeJoined(use.acl, configuration_.acl.at(use.acl));
    }
  }
  void judgeJoined(const std::string &acl, const AclRules &rules) {
    const Prefixes permitted = permittedGroups(configuration_, acl);
    for (size_t i = 0; i < rules.size(); ++i) {
      const Pax::IpGenPrefix &source = rules[i].filter.source;
      if (rules[i].action != Acl::Action::permit || !all_.covers(source) || permitted.contains(source)) continue;
      for (const Pax::IpGenPrefix &prefix : permitted) {
        if (!prefix.covers(source)) continue;
        warn(entryPath({"acl", acl, std::to_string(i)}),
             textOf(source) + " is joined with what else the ACL permits and counts as " + textOf(prefix));
      }
    }
  }

  const Configuration &configuration_;
  const Places &places_;
  Findings &findings_;
  const Pax::IpGenPrefix all_;
};

}  // namespace

void findWarnings(const Configuration &configuration, const Places &places, Findings &findings) {
  WarningFinder(configuration, places, findings).find();
}

}  // namespace Routing::Pim::Bsr
