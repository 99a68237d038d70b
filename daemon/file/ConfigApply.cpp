#include "daemon/file/ConfigApply.h"

#include <algorithm>
#include <functional>

#include "daemon/file/AclRules.h"
#include "daemon/file/OffersByPlace.h"

namespace Routing::Pim::Bsr {

namespace {

// In the order of the header.
enum class Phase { setValues, hold, withdraw, narrowAcls, addAcls, addEntries, changeAcls, deleteRest };

struct Operation {
  Phase phase;
  std::function<void()> write;
};

template <class Key, class Value>
std::vector<Key> keysOf(const std::map<Key, Value> &map) {
  std::vector<Key> keys;
  keys.reserve(map.size());
  for (const auto &[key, value] : map) keys.push_back(key);
  return keys;
}

void valuesIs(Config &config, const VrfSettings &settings) {
  const bool changes = config.holdTime() != settings.holdTime;
  config.holdTimeIs(settings.holdTime);
  if (changes) config.szTimeoutIs(settings.szTimeout + 1);  // it is compared with the hold time when it changes
  config.szTimeoutIs(settings.szTimeout);
  config.mixedFragmentsIs(settings.mixedFragments);
  config.limitsIs(settings.limits);
}

// Both group and ACL entries of a candidate BSR. The priority and the mask length come last, since they
// complete an entry.
template <class Entry>
void candidacyIs(Entry &entry, const ZoneCandidacy &candidacy) {
  entry.intervalIs(candidacy.interval);
  entry.priorityIs(candidacy.priority);
  entry.hashMaskLenIs(candidacy.hashMaskLen);
}

void rangeIs(RpCandidateConfig &candidate, const Pax::IpGenPrefix &range, const RangeOptions &options) {
  candidate.groupRangeIs(range);
  candidate.groupRangeOptionsIs(range)->priorityIs(options.priority);
}

}  // namespace

class ConfigApplication::Plan {
 public:
  Plan(const Configuration &wanted, ConfigColl &coll, Acl::Input::Config &acls)
      : wanted_(wanted), coll_(coll), acls_(acls) {
    for (const auto &[vrf, settings] : wanted.vrfConfig) planVrf(vrf, settings);
    for (const auto &[intfId, settings] : wanted.intfConfig) planInterface(intfId, settings);
    for (const auto &[name, rules] : wanted.acl) planAcl(name, rules);
    planDeletions();
    std::stable_sort(operations_.begin(), operations_.end(),
                     [](const Operation &a, const Operation &b) { return a.phase < b.phase; });
  }

  // Does the next operation; false when there is none left.
  bool step() {
    if (next_ < operations_.size()) operations_[next_++].write();
    return next_ < operations_.size();
  }

 private:
  // The configuration of a VRF when it is called.
  struct ConfigOf {
    ConfigColl &coll;
    const L3::VrfName &vrf;
    Config &operator()() const { return *coll.vrfConfigIs(vrf); }
  };

  void plan(Phase phase, std::function<void()> write) { operations_.push_back({phase, std::move(write)}); }

  // Plans `del` for every key that is not wanted.
  template <class Keys, class Wanted, class Delete>
  void planOthers(Phase phase, const Keys &keys, const Wanted &wanted, const Delete &del) {
    for (const auto &key : keys) {
      if (!wanted.contains(key)) plan(phase, [del, key] { del(key); });
    }
  }

  void planVrf(const L3::VrfName &vrf, const VrfSettings &settings) {
    const ConfigOf config{coll_, vrf};
    plan(Phase::setValues, [config, &settings] { valuesIs(config(), settings); });
    if (const auto present = coll_.vrfConfig(vrf)) {
      const VrfSettings bridge = planBridge(vrf, settings, present);
      planWithdrawals(present, bridge);
      planRest(present, bridge, settings);
    }
    planEntries(config, settings);
  }

  void planEntries(const ConfigOf &config, const VrfSettings &settings) {
    for (const auto &entry : settings.bsrCandidateConfig) {
      const auto candidate = [config, at = &entry.first] { return config().bsrCandidateConfigIs(*at); };
      plan(Phase::addEntries, [candidate] { candidate(); });
      for (const auto &zone : entry.second.group) {
        plan(Phase::addEntries, [candidate, at = &zone] { candidacyIs(*candidate()->groupIs(at->first), at->second); });
      }
      for (const auto &acl : entry.second.acl) {
        plan(Phase::addEntries, [candidate, at = &acl] { candidacyIs(*candidate()->aclIs(at->first), at->second); });
      }
    }
    for (const auto &entry : settings.rpCandidateConfig) {
      const auto candidate = [config, at = &entry.first] { return config().rpCandidateConfigIs(*at); };
      plan(Phase::addEntries, [candidate, candidacy = &entry.second] {
        candidate()->modeIs(candidacy->mode);
        candidate()->advIntervalIs(CrpAdvInterval(candidacy->advInterval));
      });
      for (const auto &range : entry.second.groupRange) {
        plan(Phase::addEntries, [candidate, at = &range] { rangeIs(*candidate(), at->first, at->second); });
      }
      for (const auto &acl : entry.second.acl) {
        plan(Phase::addEntries, [candidate, at = &acl] {
          candidate()->aclIs(at->first);
          candidate()->aclOptionsIs(at->first)->priorityIs(at->second.priority);
        });
      }
    }
    // Together: a filter of some of its ACLs would deny what the others permit.
    plan(Phase::addEntries, [config, &settings] {
      for (const std::string &acl : settings.crpFilterAcl) config().crpFilterAclIs(acl);
    });
  }

  // The candidates that are not wanted, and the unwanted sources of the others.
  void planWithdrawals(const Kiv::Ptr<Config> &config, const VrfSettings &wanted) {
    for (const Pax::IntfId &intfId : config->bsrCandidateConfig().keys()) {
      const auto stays = wanted.bsrCandidateConfig.find(intfId);
      planZonesDel(config->bsrCandidateConfig(intfId),
                   stays == wanted.bsrCandidateConfig.end() ? BsrCandidacy() : stays->second);
    }
    planOthers(Phase::withdraw, config->bsrCandidateConfig().keys(), wanted.bsrCandidateConfig,
               [config](const auto &intfId) { config->bsrCandidateConfigDel(intfId); });
    planOthers(Phase::withdraw, config->rpCandidateConfig().keys(), wanted.rpCandidateConfig,
               [config](const auto &intfId) { config->rpCandidateConfigDel(intfId); });
    for (const auto &[intfId, candidacy] : wanted.rpCandidateConfig) {
      if (const auto candidate = config->rpCandidateConfig(intfId)) {
        planRangesDel(candidate, candidacy);
      }
    }
  }
  void planZonesDel(const Kiv::Ptr<BsrCandidateConfig> &candidate, const BsrCandidacy &wanted) {
    planOthers(Phase::withdraw, candidate->group().keys(), wanted.group,
               [candidate](const auto &zone) { candidate->groupDel(zone); });
    planOthers(Phase::withdraw, candidate->acl().keys(), wanted.acl,
               [candidate](const auto &acl) { candidate->aclDel(acl); });
  }
  void planRangesDel(const Kiv::Ptr<RpCandidateConfig> &candidate, const RpCandidacy &wanted) {
    planOthers(Phase::withdraw, candidate->groupRange().keys(), wanted.groupRange,
               [candidate](const auto &range) { candidate->groupRangeDel(range); });
    planOthers(Phase::withdraw, candidate->acl().keys(), wanted.acl,
               [candidate](const auto &acl) { candidate->aclDel(acl); });
    planOthers(Phase::withdraw, candidate->groupRangeOptions().keys(), wanted.groupRange,
               [candidate](const auto &range) { candidate->groupRangeOptionsDel(range); });
    planOthers(Phase::withdraw, candidate->aclOptions().keys(), wanted.acl,
               [candidate](const auto &acl) { candidate->aclOptionsDel(acl); });
  }

  // What the bridge has held, and filters that go.
  void planRest(const Kiv::Ptr<Config> &config, const VrfSettings &bridge, const VrfSettings &wanted) {
    for (const auto &[intfId, held] : bridge.bsrCandidateConfig) {
      planOthers(Phase::deleteRest, keysOf(held.group), wanted.bsrCandidateConfig.at(intfId).group,
                 [config, at = intfId](const auto &zone) { config->bsrCandidateConfigIs(at)->groupDel(zone); });
    }
    for (const auto &[intfId, held] : bridge.rpCandidateConfig) {
      planOthers(Phase::deleteRest, keysOf(held.groupRange), wanted.rpCandidateConfig.at(intfId).groupRange,
                 [config, at = intfId](const auto &range) {
                   const auto candidate = config->rpCandidateConfigIs(at);
                   candidate->groupRangeDel(range);
                   candidate->groupRangeOptionsDel(range);
                 });
    }
    planOthers(Phase::deleteRest, config->crpFilterAcl().keys(), wanted.crpFilterAcl,
               [config](const auto &acl) { config->crpFilterAclDel(acl); });
  }

  // What is wanted, plus explicit entries that hold what an interface keeps while all its sources are exchanged. A new
  // range gets one as well, so that a candidate RP that exchanges all its ranges is never without any.
  VrfSettings planBridge(const L3::VrfName &vrf, const VrfSettings &settings, const Kiv::Ptr<Config> &config) {
    VrfSettings bridge = settings;
    Sources sources;
    addCandidatesAndFilter(sources, *config);
    const OffersByPlace before =
        byPlace(offersOf(sources, [this](const std::string &acl) { return permittedBy(acls_, acl, wanted_.family); }));
    for (const auto &[place, offers] : byPlace(offersOf(wanted_, vrf))) {
      const auto &[role, intfId, prefix] = place;
      const auto present = before.find(place);
      if (present != before.end() && goesOn(present->second, offers)) continue;
      const Offer *stands = standing(offers);
      if (!stands) continue;  // of a border or a filter
      const CandidacyOptions options = stands->source.options;
      if (role == Role::candidateBsr && present != before.end()) {
        ZoneCandidacy values(wanted_.family);
        values.priority = options.priority;
        values.hashMaskLen = options.hashMaskLen;
        values.interval = options.interval;
        bridge.bsrCandidateConfig.at(intfId).group.insert_or_assign(prefix, values);
        plan(Phase::hold, [candidate = config->bsrCandidateConfig(intfId), zone = prefix, values] {
          candidacyIs(*candidate->groupIs(zone), values);
        });
      } else if (const auto candidate = config->rpCandidateConfig(intfId); candidate && role == Role::candidateRp) {
        bridge.rpCandidateConfig.at(intfId).groupRange.insert_or_assign(prefix, RangeOptions{options.priority});
        plan(Phase::hold, [=, range = prefix] { rangeIs(*candidate, range, {options.priority}); });
      }
    }
    return bridge;
  }

  void planInterface(const Pax::IntfId &intfId, const IntfSettings &settings) {
    const auto config = [this, &intfId] { return coll_.intfConfigIs(intfId); };
    plan(Phase::addEntries, [config] { config(); });
    for (const Pax::IpGenPrefix &group : settings.bsrBorderGrp) {
      plan(Phase::addEntries, [config, group] { config()->bsrBorderGrpIs(group); });
    }
    for (const std::string &acl : settings.bsrBorderAcl) {
      plan(Phase::addEntries, [config, acl] { config()->bsrBorderAclIs(acl); });
    }
    if (const auto present = coll_.intfConfig(intfId)) {
      planOthers(Phase::deleteRest, present->bsrBorderGrp().keys(), settings.bsrBorderGrp,
                 [present](const auto &group) { present->bsrBorderGrpDel(group); });
      planOthers(Phase::deleteRest, present->bsrBorderAcl().keys(), settings.bsrBorderAcl,
                 [present](const auto &acl) { present->bsrBorderAclDel(acl); });
    }
  }

  void planAcl(const std::string &name, const AclRules &rules) {
    const auto present = acls_.acl(name);
    if (!present) return plan(Phase::addAcls, [this, &name, &rules] { rulesIs(name, rules); });
    if (rulesOf(*present) == rules) return;
    const PermittedPrefixes now = *permittedBy(acls_, name, wanted_.family);
    const PermittedPrefixes next = permittedBy(rules, wanted_.family);
    if (!std::includes(next.groups.begin(), next.groups.end(), now.groups.begin(), now.groups.end())) {
      plan(Phase::narrowAcls, [this, &name, stay = rulesOfWhatStays(now, next)] { rulesIs(name, stay); });
    }
    plan(Phase::changeAcls, [this, &name, &rules] { rulesIs(name, rules); });
  }

  void planDeletions() {
    for (const L3::VrfName &vrf : coll_.vrfConfig().keys()) {
      if (!wanted_.vrfConfig.contains(vrf)) planWithdrawals(coll_.vrfConfig(vrf), {});
    }
    planOthers(Phase::deleteRest, coll_.intfConfig().keys(), wanted_.intfConfig,
               [this](const auto &intfId) { coll_.intfConfigDel(intfId); });
    planOthers(Phase::deleteRest, coll_.vrfConfig().keys(), wanted_.vrfConfig,
               [this](const auto &vrf) { coll_.vrfConfigDel(vrf); });
    planOthers(Phase::deleteRest, acls_.acl().keys(), wanted_.acl, [this](const auto &name) { acls_.aclDel(name); });
  }

  void rulesIs(const std::string &name, const AclRules &rules) {
    const auto next = Kiv::make<Acl::AclSubConfig>();
    uint32_t sequence = 0;
    for (const Acl::IpRule &rule : rules) next->ruleBySequenceIs(++sequence, rule);
    acls_.aclIs(name)->currCfgIs(next);
  }

  const Configuration &wanted_;
  ConfigColl &coll_;
  Acl::Input::Config &acls_;
  std::vector<Operation> operations_;
  size_t next_ = 0;  // to be done
};

ConfigApplication::ConfigApplication(const Configuration &configuration, ConfigColl &coll, Acl::Input::Config &acls)
    : plan_(std::make_unique<Plan>(configuration, coll, acls)) {}

ConfigApplication::~ConfigApplication() = default;

bool ConfigApplication::step() { return plan_->step(); }

void configurationApply(const Configuration &configuration, ConfigColl &coll, Acl::Input::Config &acls) {
  ConfigApplication application(configuration, coll, acls);
  while (application.step()) {
  }
}

}  // namespace Routing::Pim::Bsr
