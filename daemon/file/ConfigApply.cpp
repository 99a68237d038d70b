#include "daemon/file/ConfigApply.h"

#include <algorithm>
#include <functional>
#include <tuple>

#include "daemon/file/FileOffers.h"

namespace Routing::Pim::Bsr {

namespace {

// In the order of the header.
enum class Phase { setValues, hold, withdraw, narrowAcls, addAcls, addEntries, changeAcls, deleteRest };

struct Operation {
  Phase phase;
  std::function<void()> write;
};

AclRules rulesOf(const Acl::AclConfig &acl) {
  AclRules rules;
  if (!acl.currCfg()) return rules;
  auto sequence = acl.currCfg()->ruleBySequence().keys();
  std::sort(sequence.begin(), sequence.end());
  for (const uint32_t number : sequence) rules.push_back(*acl.currCfg()->ruleBySequence(number));
  return rules;
}

// By role, interface and prefix; each list is sorted by source.
using OffersByPlace = std::map<std::tuple<Role, Pax::IntfId, Pax::IpGenPrefix>, Offers>;

OffersByPlace byPlace(Offers offers) {
  OffersByPlace places;
  sortOffers(offers);
  for (Offer &offer : offers) {
    if (offer.prefix.isEmpty()) continue;
    places[{offer.source.role, offer.source.intfId, offer.prefix}].push_back(std::move(offer));
  }
  return places;
}

// Whether a source stays, even if its values change.
bool goesOn(const Offers &before, const Offers &wanted) {
  return std::any_of(wanted.begin(), wanted.end(), [&](const Offer &next) {
    return std::any_of(before.begin(), before.end(),
                       [&](const Offer &present) { return present.source.acl == next.source.acl; });
  });
}

// Calls `del` with every key of the collection that is not wanted.
template <class Collection, class Wanted, class Delete>
void deleteOthers(const Collection &present, const Wanted &wanted, const Delete &del) {
  for (const auto &key : present.keys()) {
    if (!wanted.contains(key)) del(key);
  }
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

void entriesIs(Config &config, const VrfSettings &settings) {
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

// The candidates that are not wanted, and the unwanted sources of the others.
void candidatesDel(Config &config, const VrfSettings &wanted) {
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

void bordersIs(IntfConfig &config, const IntfSettings &settings) {
  for (const Pax::IpGenPrefix &group : settings.bsrBorderGrp) config.bsrBorderGrpIs(group);
  for (const std::string &acl : settings.bsrBorderAcl) config.bsrBorderAclIs(acl);
}

void bordersDel(IntfConfig &config, const IntfSettings &wanted) {
  deleteOthers(config.bsrBorderGrp(), wanted.bsrBorderGrp, [&](const auto &group) { config.bsrBorderGrpDel(group); });
  deleteOthers(config.bsrBorderAcl(), wanted.bsrBorderAcl, [&](const auto &acl) { config.bsrBorderAclDel(acl); });
}

// Rules that permit what the ACL permits both now and next.
AclRules rulesOfWhatStays(const PermittedPrefixes &now, const PermittedPrefixes &next) {
  AclRules rules;
  for (const auto part : {&PermittedPrefixes::groups, &PermittedPrefixes::unicast}) {
    for (const Pax::IpGenPrefix &prefix : now.*part) {
      if ((next.*part).contains(prefix)) rules.push_back({Acl::Action::permit, {prefix}});
    }
  }
  return rules;
}

class Application {
 public:
  Application(const Configuration &wanted, ConfigColl &coll, Acl::Input::Config &acls)
      : wanted_(wanted), coll_(coll), acls_(acls) {
    for (const auto &[vrf, settings] : wanted.vrfConfig) planVrf(vrf, settings);
    for (const auto &[intfId, settings] : wanted.intfConfig) planInterface(intfId, settings);
    for (const auto &[name, rules] : wanted.acl) planAcl(name, rules);
    planDeletions();
  }

  void apply() {
    std::stable_sort(operations_.begin(), operations_.end(),
                     [](const Operation &a, const Operation &b) { return a.phase < b.phase; });
    for (const Operation &operation : operations_) operation.write();
  }

 private:
  void plan(Phase phase, std::function<void()> write) { operations_.push_back({phase, std::move(write)}); }

  void planVrf(const L3::VrfName &vrf, const VrfSettings &settings) {
    const auto config = [this, &vrf]() -> Config & { return *coll_.vrfConfigIs(vrf); };
    plan(Phase::setValues, [=, &settings] { valuesIs(config(), settings); });
    if (const auto present = coll_.vrfConfig(vrf)) {
      const VrfSettings bridge = planBridge(vrf, settings, present);
      plan(Phase::withdraw, [=] { candidatesDel(*present, bridge); });
    }
    plan(Phase::addEntries, [=, &settings] { entriesIs(config(), settings); });
    plan(Phase::deleteRest, [=, &settings] {
      candidatesDel(config(), settings);
      deleteOthers(config().crpFilterAcl(), settings.crpFilterAcl,
                   [&](const auto &acl) { config().crpFilterAclDel(acl); });
    });
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
    plan(Phase::addEntries, [this, &intfId, &settings] { bordersIs(*coll_.intfConfigIs(intfId), settings); });
    plan(Phase::deleteRest, [this, &intfId, &settings] { bordersDel(*coll_.intfConfigIs(intfId), settings); });
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
    for (const auto &[vrf, config] : coll_.vrfConfig()) {
      if (!wanted_.vrfConfig.contains(vrf)) plan(Phase::withdraw, [config = config] { candidatesDel(*config, {}); });
    }
    plan(Phase::deleteRest, [this] {
      deleteOthers(coll_.intfConfig(), wanted_.intfConfig, [this](const auto &intfId) { coll_.intfConfigDel(intfId); });
      deleteOthers(coll_.vrfConfig(), wanted_.vrfConfig, [this](const auto &vrf) { coll_.vrfConfigDel(vrf); });
      deleteOthers(acls_.acl(), wanted_.acl, [this](const auto &name) { acls_.aclDel(name); });
    });
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
};

}  // namespace

void configurationApply(const Configuration &configuration, ConfigColl &coll, Acl::Input::Config &acls) {
  Application(configuration, coll, acls).apply();
}

}  // namespace Routing::Pim::Bsr
