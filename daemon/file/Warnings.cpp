#include "daemon/file/Warnings.h"

#include <algorithm>

#include "daemon/file/Entries.h"
#include "daemon/file/FileOffers.h"
#include "engine/CrpGoodbyes.h"

namespace Routing::Pim::Bsr {

namespace {

class WarningFinder {
 public:
  WarningFinder(const Configuration &configuration, const Places &places, Findings &findings)
      : configuration_(configuration),
        places_(places),
        findings_(findings),
        all_(Pax::allGroups(configuration.family)) {}

  void find() {
    for (const auto &[vrf, settings] : configuration_.vrfConfig) {
      const Offers offers = offersOf(configuration_, vrf);
      checkTimes(vrf, settings);
      checkZones(vrf, offers);
      checkRanges(vrf, offers);
      checkBorders(vrf, offers);
      checkAcls(vrf, offers);
    }
  }

 private:
  void warn(const std::string &entry, const std::string &message) { findings_.warning(places_.of(entry), message); }
  void warn(const L3::VrfName &vrf, const Offer &offer, const std::string &message) {
    warn(entryOf(configuration_, vrf, offer.source), message);
  }

  void checkTimes(const L3::VrfName &vrf, const VrfSettings &settings) {
    const std::string entry = entryPath({"vrfConfig", vrf.text()});
    const uint32_t interval = largestInterval(configuration_, vrf);
    if (interval != 0 && settings.holdTime < holdTimeOf(interval)) {
      findings_.warning(entry + "/holdTime", std::to_string(settings.holdTime) + " is less than 2 x interval + 10 = " +
                                                 std::to_string(holdTimeOf(interval)));
    }
    const uint32_t szLeast = 10 * settings.holdTime;
    if (settings.szTimeout >= szLeast) return;
    findings_.warning(entry + "/szTimeout", std::to_string(settings.szTimeout) + " is less than 10 x holdTime; " +
                                                std::to_string(szLeast) + " is used");
  }

  void checkZones(const L3::VrfName &vrf, const Offers &offers) {
    static const Pax::IpGenPrefix scoped(Pax::IpGenAddr::v4(239u << 24), 8);
    std::vector<Pax::IpGenPrefix> ranges;
    for (const Offer &range : offers) {
      if (range.source.role == Role::candidateRp && range.usable()) ranges.push_back(range.prefix);
    }
    for (const Offer &zone : offers) {
      if (zone.source.role != Role::candidateBsr || !zone.usable() || zone.prefix == all_) continue;
      const std::string name = "zone " + textOf(zone.prefix);
      if (configuration_.family == Pax::AddressFamily::ipv4 && !scoped.covers(zone.prefix)) {
        warn(vrf, zone, name + " is outside 239.0.0.0/8, the range for administrative scopes");
      }
      const auto isInside = [&](const Pax::IpGenPrefix &range) { return zone.prefix.covers(range); };
      if (std::none_of(ranges.begin(), ranges.end(), isInside)) {
        warn(vrf, zone, "no candidate RP of this router serves a range inside " + name);
      }
    }
  }

  // Ranges of one priority share an advertisement, where they are in one zone.
  void checkRanges(const L3::VrfName &vrf, const Offers &offers) {
    std::map<Pax::IntfId, std::map<Pax::IpGenPrefix, Offers>> candidates;
    for (const Offer &offer : offers) {
      if (offer.source.role != Role::candidateRp || !offer.usable()) continue;
      candidates[offer.source.intfId][offer.prefix].push_back(offer);
    }
    for (const auto &[intfId, ranges] : candidates) {
      std::map<RpPriority, size_t> counts;
      for (const auto &[range, sources] : ranges) ++counts[standing(sources)->source.options.priority];
      for (const auto &[priority, count] : counts) {
        if (count <= CrpGoodbyes::mostCounted) continue;
        warn(entryPath({"vrfConfig", vrf.text(), "rpCandidateConfig", intfId.name()}),
             std::to_string(count) + " ranges have priority " + std::to_string(priority) +
                 "; the BSR of a zone is told of the first " + std::to_string(CrpGoodbyes::mostCounted) +
                 " of those in the zone");
      }
    }
  }

  void checkBorders(const L3::VrfName &vrf, const Offers &offers) {
    for (const Offer &border : offers) {
      if (border.source.role != Role::border || !border.usable()) continue;
      const auto isBlocked = [&](const Offer &zone) {
        return std::any_of(offers.begin(), offers.end(), [&](const Offer &other) {
          return other.source.role == Role::border && other.source.intfId == border.source.intfId &&
                 other.prefix == zone.prefix;
        });
      };
      for (const Offer &zone : offers) {
        if (zone.source.role != Role::candidateBsr || !zone.usable()) continue;
        if (!border.prefix.covers(zone.prefix) || isBlocked(zone)) continue;
        warn(vrf, border,
             "border " + textOf(border.prefix) + " does not block zone " + textOf(zone.prefix) +
                 ", only the zone of its own range");
      }
    }
  }

  void checkAcls(const L3::VrfName &vrf, const Offers &offers) {
    for (const auto &[source, prefix, lack] : offers) {
      if (!source.isAcl() || source.role == Role::filter) continue;
      if (prefix.isEmpty()) {
        warn(entryOf(configuration_, vrf, source), "ACL " + source.acl + " permits no range of groups");
      }
      if (checkedAcls_.insert(source.acl).second) checkJoined(source.acl, configuration_.acl.at(source.acl));
    }
  }
  void checkJoined(const std::string &acl, const AclRules &rules) {
    const std::set<Pax::IpGenPrefix> permitted = permittedBy(rules, configuration_.family).groups;
    for (size_t i = 0; i < rules.size(); ++i) {
      const Pax::IpGenPrefix &source = rules[i].filter.source;
      if (rules[i].action != Acl::Action::permit || !all_.covers(source) || permitted.contains(source)) continue;
      for (const Pax::IpGenPrefix &prefix : permitted) {
        if (!prefix.covers(source)) continue;
        warn(entryPath({"acl", acl, std::to_string(i)}),
             textOf(source) + " is merged with what else the ACL permits into " + textOf(prefix));
      }
    }
  }

  const Configuration &configuration_;
  const Places &places_;
  Findings &findings_;
  const Pax::IpGenPrefix all_;
  std::set<std::string> checkedAcls_;
};

}  // namespace

void findWarnings(const Configuration &configuration, const Places &places, Findings &findings) {
  WarningFinder(configuration, places, findings).find();
}

}  // namespace Routing::Pim::Bsr
