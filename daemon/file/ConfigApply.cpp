#include "daemon/file/ConfigApply.h"

#include <algorithm>
#include <iterator>

#include "daemon/file/Zones.h"

namespace Routing::Pim::Bsr {

namespace {

AclRules rulesOf(const Acl::AclConfig &acl) {
  AclRules rules;
  if (!acl.currCfg()) return rules;
  auto sequence = acl.currCfg()->ruleBySequence().keys();
  std::sort(sequence.begin(), sequence.end());
  for (const uint32_t number : sequence) rules.push_back(*acl.currCfg()->ruleBySequence(number));
  return rules;
}

/// The ACLs and the candidates' sources that the entities have now, with whatever values.
Configuration sourcesNow(Pax::AddressFamily family, const ConfigColl &coll, const Acl::Input::Config &acls) {
  Configuration now;
  now.family = family;
  for (const auto &[name, acl] : acls.acl()) now.acl.emplace(name, rulesOf(*acl));
  for (const auto &[vrf, config] : coll.vrfConfig()) {
    VrfSettings &settings = now.vrfConfig[vrf];
    for (const auto &[intfId, candidate] : config->bsrCandidateConfig()) {
      BsrCandidacy &candidacy = settings.bsrCandidateConfig[intfId];
      for (const auto &[zone, group] : candidate->group()) candidacy.group.emplace(zone, family);
      for (const auto &[name, acl] : candidate->acl()) candidacy.acl.emplace(name, family);
    }
    for (const auto &[intfId, candidate] : config->rpCandidateConfig()) {
      RpCandidacy &candidacy = settings.rpCandidateConfig[intfId];
      for (const auto &[range, in] : candidate->groupRange()) candidacy.groupRange[range];
      for (const auto &[name, in] : candidate->acl()) candidacy.acl[name];
    }
  }
  return now;
}

/// The value of the key, or a default one.
template <class Map>
typename Map::mapped_type valueOr(const Map &map, const typename Map::key_type &key) {
  const auto found = map.find(key);
  return found == map.end() ? typename Map::mapped_type() : found->second;
}

/// Group and ACL entries of a candidate BSR alike.
template <class Entry>
void candidacyIs(Entry &entry, const ZoneCandidacy &candidacy) {
  entry.intervalIs(candidacy.interval);
  entry.priorityIs(candidacy.priority);
  entry.hashMaskLenIs(candidacy.hashMaskLen);
}

/// Calls `del` with every key of the collection that is not wanted.
template <class Collection, class Wanted, class Delete>
void deleteOthers(const Collection &present, const Wanted &wanted, const Delete &del) {
  for (const auto &key : present.keys()) {
    if (!wanted.contains(key)) del(key);
  }
}

void rangeIs(RpCandidateConfig &candidate, const Pax::IpGenPrefix &range, const RangeOptions &options) {
  candidate.groupRangeIs(range);
  candidate.groupRangeOptionsIs(range)->priorityIs(options.priority);
}

void bsrEntriesDel(BsrCandidateConfig &candidate, const BsrCandidacy &wanted) {
  deleteOthers(candidate.group(), wanted.group, [&](const auto &zone) { candidate.groupDel(zone); });
  deleteOthers(candidate.acl(), wanted.acl, [&](const auto &acl) { candidate.aclDel(acl); });
}

void rpEntriesDel(RpCandidateConfig &candidate, const RpCandidacy &wanted) {
  deleteOthers(candidate.groupRange(), wanted.groupRange, [&](const auto &range) { candidate.groupRangeDel(range); });
  deleteOthers(candidate.acl(), wanted.acl, [&](const auto &acl) { candidate.aclDel(acl); });
  deleteOthers(candidate.groupRangeOptions(), wanted.groupRange,
               [&](const auto &range) { candidate.groupRangeOptionsDel(range); });
  deleteOthers(candidate.aclOptions(), wanted.acl, [&](const auto &acl) { candidate.aclOptionsDel(acl); });
}

/// Whether a source of the prefix stays.
template <class Values>
bool goesOn(const Offers<Values> &before, const Pax::IpGenPrefix &prefix, const std::map<std::string, Values> &wanted) {
  const auto sources = before.find(prefix);
  return sources != before.end() &&
         std::any_of(wanted.begin(), wanted.end(), [&](const auto &w) { return sources->second.contains(w.first); });
}

Prefixes both(const Prefixes &some, const Prefixes &others) {
  Prefixes both;
  std::set_intersection(some.begin(), some.end(), others.begin(), others.end(), std::inserter(both, both.end()));
  return both;
}

class Application {
 public:
  Application(const Configuration &wanted, ConfigColl &coll, Acl::Input::Config &acls)
      : wanted_(wanted), coll_(coll), acls_(acls), before_(sourcesNow(wanted.family, coll, acls)), bridge_(wanted) {}

  void apply() {
    for (const auto &[vrf, settings] : wanted_.vrfConfig) timesIs(*coll_.vrfConfigIs(vrf), settings);
    for (auto &[vrf, settings] : bridge_.vrfConfig) hold(*coll_.vrfConfigIs(vrf), before_.vrfConfig[vrf], settings);
    for (const auto &[vrf, config] : coll_.vrfConfig()) candidatesDel(*config, bridge_.vrfConfig[vrf]);
    for (const auto &[name, rules] : before_.acl) giveUp(name, rules);
    for (const auto &[name, rules] : wanted_.acl) {
      if (!before_.acl.contains(name)) rulesIs(name, rules);
    }
    for (const auto &[vrf, settings] : wanted_.vrfConfig) entriesIs(*coll_.vrfConfigIs(vrf), settings);
    for (const auto &[intfId, settings] : wanted_.intfConfig) bordersIs(*coll_.intfConfigIs(intfId), settings);
    for (const auto &[name, rules] : wanted_.acl) {
      if (before_.acl.contains(name) && before_.acl.at(name) != rules) rulesIs(name, rules);
    }
    for (const auto &[vrf, settings] : wanted_.vrfConfig) othersDel(*coll_.vrfConfigIs(vrf), settings);
    for (const auto &[intfId, settings] : wanted_.intfConfig) bordersDel(*coll_.intfConfigIs(intfId), settings);
    deleteOthers(coll_.intfConfig(), wanted_.intfConfig, [this](const auto &intfId) { coll_.intfConfigDel(intfId); });
    deleteOthers(coll_.vrfConfig(), wanted_.vrfConfig, [this](const auto &vrf) { coll_.vrfConfigDel(vrf); });
    deleteOthers(acls_.acl(), wanted_.acl, [this](const auto &name) { acls_.aclDel(name); });
  }

 private:
  /// The scoped-zone timeout is judged by the hold time whenever it changes, so it does so now.
  static void timesIs(Config &config, const VrfSettings &settings) {
    const bool judge = config.holdTime() != settings.holdTime;
    config.holdTimeIs(settings.holdTime);
    if (judge) config.szTimeoutIs(settings.szTimeout + 1);
    config.szTimeoutIs(settings.szTimeout);
  }

  /// Gives an explicit entry to what an interface keeps while all its sources are exchanged. A new range gets one,
  /// too: a candidate RP that exchanges its ranges is never without any.
  void hold(Config &config, const VrfSettings &before, VrfSettings &bridge) {
    for (auto &[intfId, candidacy] : bridge.bsrCandidateConfig) {
      const auto offered = zonesOf(before_, valueOr(before.bsrCandidateConfig, intfId));
      for (const auto &[zone, sources] : zonesOf(wanted_, candidacy)) {
        if (!offered.contains(zone) || goesOn(offered, zone, sources)) continue;
        const ZoneCandidacy &values = candidacy.group.insert_or_assign(zone, sources.rbegin()->second).first->second;
        candidacyIs(*config.bsrCandidateConfigIs(intfId)->groupIs(zone), values);
      }
    }
    for (auto &[intfId, candidacy] : bridge.rpCandidateConfig) {
      const auto candidate = config.rpCandidateConfig(intfId);
      if (!candidate) continue;
      const auto offered = rangesOf(before_, valueOr(before.rpCandidateConfig, intfId));
      for (const auto &[range, sources] : rangesOf(wanted_, candidacy)) {
        if (goesOn(offered, range, sources)) continue;
        const RangeOptions &options =
            candidacy.groupRange.insert_or_assign(range, sources.rbegin()->second).first->second;
        rangeIs(*candidate, range, options);
      }
    }
  }

  /// Where the ACL will not permit all its groups any more, it permits only what stays from now on.
  void giveUp(const std::string &name, const AclRules &rules) {
    const auto next = wanted_.acl.find(name);
    if (next == wanted_.acl.end() || next->second == rules) return;
    const PermittedPrefixes was = permittedPrefixes(rules, wanted_.family);
    const PermittedPrefixes will = permittedPrefixes(next->second, wanted_.family);
    Prefixes stay = both(was.groups, will.groups);
    if (stay == was.groups) return;
    stay.merge(both(was.unicast, will.unicast));
    AclRules permits;
    for (const Pax::IpGenPrefix &prefix : stay) permits.push_back({Acl::Action::permit, {prefix}});
    rulesIs(name, permits);
  }

  void rulesIs(const std::string &name, const AclRules &rules) {
    const auto next = Kiv::make<Acl::AclSubConfig>();
    uint32_t sequence = 0;
    for (const Acl::IpRule &rule : rules) next->ruleBySequenceIs(++sequence, rule);
    acls_.aclIs(name)->currCfgIs(next);
  }

  static void entriesIs(Config &config, const VrfSettings &settings) {
    for (const auto &[intfId, candidacy] : settings.bsrCandidateConfig) {
      const auto candidate = config.bsrCandidateConfigIs(intfId);
      for (const auto &[zone, values] : candidacy.group) candidacyIs(*candidate->groupIs(zone), values);
      for (const auto &[acl, values] : candidacy.acl) candidacyIs(*candidate->aclIs(acl), values);
    }
    for (const auto &[intfId, candidacy] : settings.rpCandidateConfig) {
      const auto candidate = config.rpCandidateConfigIs(intfId);
      candidate->modeIs(candidacy.mode);
      candidate->advIntervalIs(CrpAdvInterval(candidacy.advInterval));
      for (const auto &[range, options] : candidacy.groupRange) rangeIs(*candidate, range, options);
      for (const auto &[acl, options] : candidacy.acl) {
        candidate->aclIs(acl);
        candidate->aclOptionsIs(acl)->priorityIs(options.priority);
      }
    }
    for (const std::string &acl : settings.crpFilterAcl) config.crpFilterAclIs(acl);
  }

  static void bordersIs(IntfConfig &config, const IntfSettings &settings) {
    for (const Pax::IpGenPrefix &group : settings.bsrBorderGrp) config.bsrBorderGrpIs(group);
    for (const std::string &acl : settings.bsrBorderAcl) config.bsrBorderAclIs(acl);
  }

  static void bordersDel(IntfConfig &config, const IntfSettings &wanted) {
    deleteOthers(config.bsrBorderGrp(), wanted.bsrBorderGrp, [&](const auto &group) { config.bsrBorderGrpDel(group); });
    deleteOthers(config.bsrBorderAcl(), wanted.bsrBorderAcl, [&](const auto &acl) { config.bsrBorderAclDel(acl); });
  }

  /// Deletes the candidates that are not wanted, and of the others the sources.
  static void candidatesDel(Config &config, const VrfSettings &wanted) {
    deleteOthers(config.bsrCandidateConfig(), wanted.bsrCandidateConfig,
                 [&](const auto &intfId) { config.bsrCandidateConfigDel(intfId); });
    deleteOthers(config.rpCandidateConfig(), wanted.rpCandidateConfig,
                 [&](const auto &intfId) { config.rpCandidateConfigDel(intfId); });
    for (const auto &[intfId, candidate] : config.bsrCandidateConfig()) {
      bsrEntriesDel(*candidate, wanted.bsrCandidateConfig.at(intfId));
    }
    for (const auto &[intfId, candidate] : config.rpCandidateConfig()) {
      rpEntriesDel(*candidate, wanted.rpCandidateConfig.at(intfId));
    }
  }

  static void othersDel(Config &config, const VrfSettings &wanted) {
    candidatesDel(config, wanted);
    deleteOthers(config.crpFilterAcl(), wanted.crpFilterAcl, [&](const auto &acl) { config.crpFilterAclDel(acl); });
  }

  const Configuration &wanted_;
  ConfigColl &coll_;
  Acl::Input::Config &acls_;
  Configuration before_;
  Configuration bridge_;  ///< what is wanted, and the entries that hold what stays
};

}  // namespace

void configurationApply(const Configuration &configuration, ConfigColl &coll, Acl::Input::Config &acls) {
  Application(configuration, coll, acls).apply();
}

}  // namespace Routing::Pim::Bsr
