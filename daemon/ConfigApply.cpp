#include "daemon/ConfigApply.h"

#include <algorithm>

#include "daemon/AclOrder.h"

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

/// The zones and ACLs that the entities have now.
Configuration zonesNow(Pax::AddressFamily family, const ConfigColl &coll, const Acl::Input::Config &acls) {
  Configuration now;
  now.family = family;
  for (const auto &[name, acl] : acls.acl()) now.acl.emplace(name, rulesOf(*acl));
  for (const auto &[vrf, config] : coll.vrfConfig()) {
    for (const auto &[intfId, candidate] : config->bsrCandidateConfig()) {
      BsrCandidacy &candidacy = now.vrfConfig[vrf].bsrCandidateConfig[intfId];
      for (const auto &[zone, group] : candidate->group()) candidacy.group.emplace(zone, family);
      for (const auto &[name, acl] : candidate->acl()) candidacy.acl.emplace(name, family);
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

class Application {
 public:
  Application(const Configuration &wanted, ConfigColl &coll, Acl::Input::Config &acls)
      : wanted_(wanted), coll_(coll), acls_(acls), before_(zonesNow(wanted.family, coll, acls)) {}

  void apply() {
    for (const auto &[vrf, settings] : wanted_.vrfConfig) timesIs(*coll_.vrfConfigIs(vrf), settings);
    for (const L3::VrfName &vrf : coll_.vrfConfig().keys()) giveUp(vrf);
    for (const auto &[name, rules] : wanted_.acl) {
      if (!acls_.acl(name)) rulesIs(name, rules);
    }
    for (const auto &[vrf, settings] : wanted_.vrfConfig) prefixesIs(vrf, settings);
    for (const std::string &name : changedAcls(before_, wanted_)) rulesIs(name, wanted_.acl.at(name));
    for (const auto &[vrf, settings] : wanted_.vrfConfig) entriesIs(*coll_.vrfConfigIs(vrf), settings);
    for (const auto &[intfId, settings] : wanted_.intfConfig) bordersIs(*coll_.intfConfigIs(intfId), settings);
    for (const auto &[vrf, settings] : wanted_.vrfConfig) othersDel(*coll_.vrfConfigIs(vrf), settings);
    for (const auto &[intfId, settings] : wanted_.intfConfig) bordersDel(*coll_.intfConfigIs(intfId), settings);
    deleteOthers(coll_.intfConfig(), wanted_.intfConfig, [this](const auto &intfId) { coll_.intfConfigDel(intfId); });
    deleteOthers(coll_.vrfConfig(), wanted_.vrfConfig, [this](const auto &vrf) { coll_.vrfConfigDel(vrf); });
    deleteOthers(acls_.acl(), wanted_.acl, [this](const auto &name) { acls_.aclDel(name); });
  }

 private:
  static void timesIs(Config &config, const VrfSettings &settings) {
    config.holdTimeIs(settings.holdTime);
    config.szTimeoutIs(settings.szTimeout);
  }

  void rulesIs(const std::string &name, const AclRules &rules) {
    const auto next = Kiv::make<Acl::AclSubConfig>();
    uint32_t sequence = 0;
    for (const Acl::IpRule &rule : rules) next->ruleBySequenceIs(++sequence, rule);
    acls_.aclIs(name)->currCfgIs(next);
  }

  void giveUp(const L3::VrfName &vrf) {
    const OfferedZones wanted = offeredZones(wanted_, vrf);
    const auto candidacies = valueOr(wanted_.vrfConfig, vrf).bsrCandidateConfig;
    const auto config = coll_.vrfConfig(vrf);
    for (const Pax::IntfId &intfId : config->bsrCandidateConfig().keys()) {
      const auto candidate = config->bsrCandidateConfig(intfId);
      const auto others = [&](const Pax::IpGenPrefix &zone) { return byAnother(wanted.zone, zone, intfId); };
      for (const Pax::IpGenPrefix &zone : candidate->group().keys()) {
        if (others(zone)) candidate->groupDel(zone);
      }
      for (const std::string &acl : candidate->acl().keys()) {
        // Of what it permits now, and of what its rules are about to permit.
        const bool kept = valueOr(candidacies, intfId).acl.contains(acl);
        for (const Configuration *rules : {&before_, &wanted_}) {
          const Prefixes zones = permittedGroups(*rules, acl);
          if (!kept && std::any_of(zones.begin(), zones.end(), others)) candidate->aclDel(acl);
        }
        if (byAnother(wanted.acl, acl, intfId)) candidate->aclDel(acl);
      }
    }
  }

  /// What does not hang on the rules of ACLs.
  void prefixesIs(const L3::VrfName &vrf, const VrfSettings &settings) {
    const auto config = coll_.vrfConfigIs(vrf);
    const OfferedZones offered = offeredZones(before_, vrf);
    for (const auto &[intfId, candidacy] : settings.bsrCandidateConfig) {
      const auto candidate = config->bsrCandidateConfigIs(intfId);
      for (const auto &[zone, values] : candidacy.group) {
        if (!byAnother(offered.zone, zone, intfId)) candidacyIs(*candidate->groupIs(zone), values);
      }
    }
    for (const auto &[intfId, candidacy] : settings.rpCandidateConfig) {
      const auto candidate = config->rpCandidateConfigIs(intfId);
      candidate->modeIs(candidacy.mode);
      candidate->advIntervalIs(CrpAdvInterval(candidacy.advInterval));
      for (const auto &[range, options] : candidacy.groupRange) {
        candidate->groupRangeIs(range);
        candidate->groupRangeOptionsIs(range)->priorityIs(options.priority);
      }
    }
  }

  static void entriesIs(Config &config, const VrfSettings &settings) {
    for (const auto &[intfId, candidacy] : settings.bsrCandidateConfig) {
      const auto candidate = config.bsrCandidateConfigIs(intfId);
      for (const auto &[zone, values] : candidacy.group) candidacyIs(*candidate->groupIs(zone), values);
      for (const auto &[acl, values] : candidacy.acl) candidacyIs(*candidate->aclIs(acl), values);
    }
    for (const auto &[intfId, candidacy] : settings.rpCandidateConfig) {
      const auto candidate = config.rpCandidateConfigIs(intfId);
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

  static void othersDel(Config &config, const VrfSettings &wanted) {
    for (const auto &[intfId, candidacy] : wanted.bsrCandidateConfig) {
      bsrEntriesDel(*config.bsrCandidateConfigIs(intfId), candidacy);
    }
    for (const auto &[intfId, candidacy] : wanted.rpCandidateConfig) {
      rpEntriesDel(*config.rpCandidateConfigIs(intfId), candidacy);
    }
    deleteOthers(config.bsrCandidateConfig(), wanted.bsrCandidateConfig,
                 [&](const auto &intfId) { config.bsrCandidateConfigDel(intfId); });
    deleteOthers(config.rpCandidateConfig(), wanted.rpCandidateConfig,
                 [&](const auto &intfId) { config.rpCandidateConfigDel(intfId); });
    deleteOthers(config.crpFilterAcl(), wanted.crpFilterAcl, [&](const auto &acl) { config.crpFilterAclDel(acl); });
  }

  const Configuration &wanted_;
  ConfigColl &coll_;
  Acl::Input::Config &acls_;
  const Configuration before_;
};

}  // namespace

void configurationApply(const Configuration &configuration, ConfigColl &coll, Acl::Input::Config &acls) {
  Application(configuration, coll, acls).apply();
}

}  // namespace Routing::Pim::Bsr
