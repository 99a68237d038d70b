/// Who offers what: which interface is behind a zone, a range of a candidate RP, a border or an accepted source of
/// advertisements, which line of the configuration says so, and why a line has no effect.
///
/// A source is one line of the configuration: an explicit range, or the name of an ACL. An offer is a source together
/// with one prefix that follows from it. Sources are collected from the entities, which are in force, or from a
/// configuration file, which is not yet in force; from there on both are treated alike. These functions keep no state
/// and write nothing. They serve the writers of status, the removal of stale status, the checks of a configuration
/// file and the tables that operators are shown.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "config/PermittedPrefixes.h"
#include "model/Config.h"

namespace Routing::Pim::Bsr {

enum class Role : uint8_t { border, candidateBsr, candidateRp, filter };

/// The options of a source. Which of them apply depends on its role.
struct CandidacyOptions {
  uint16_t priority = bsrPriorityUnset;  ///< "unset" is the same number for BSRs and RPs
  uint32_t hashMaskLen = hashMaskLenUnset;
  uint32_t interval = bsPeriodUnset;  ///< the bootstrap period, seconds

  /// What a candidate BSR still needs; empty when it is complete.
  const char *lack() const;
  bool operator==(const CandidacyOptions &) const = default;
};
static_assert(bsrPriorityUnset == rpPriorityUnset);

struct Source {
  Role role;
  Pax::IntfId intfId;      ///< empty for a filter, which belongs to the VRF
  Pax::IpGenPrefix range;  ///< empty where an ACL is the source
  std::string acl;         ///< empty for an explicit range
  CandidacyOptions options;

  bool isAcl() const { return !acl.empty(); }
  /// As shown to operators.
  std::string name() const { return isAcl() ? acl : "group"; }
  /// Whether its options are complete: a candidate BSR needs both priority and mask length, a candidate RP a priority.
  bool hasOptions() const;
};
using Sources = std::vector<Source>;

struct Offer {
  Source source;
  Pax::IpGenPrefix prefix;  ///< empty where an ACL permits none
  std::string lack;         ///< why it has no effect, in the operator's words; empty where it has
  bool usable() const { return lack.empty(); }
};
using Offers = std::vector<Offer>;

/// Of an entry of a candidate BSR, by group or by ACL.
template <class Entry>
CandidacyOptions bsrOptionsOf(const Entry &entry) {
  return {entry.priority(), entry.hashMaskLen(), entry.interval()};
}

/// Appends the sources of the entities, in their order.
void addBorder(Sources &sources, const Pax::IntfId &intfId, const IntfConfig &config);
void addCandidatesAndFilter(Sources &sources, const Config &config);

/// The sources of a VRF. `intfConfigs` is any collection of its interfaces' IntfConfig.
template <class IntfConfigs>
Sources sourcesOf(const Config &config, const IntfConfigs &intfConfigs) {
  Sources sources;
  for (const auto &[intfId, intfConfig] : intfConfigs) addBorder(sources, intfId, *intfConfig);
  addCandidatesAndFilter(sources, config);
  return sources;
}

/// What an ACL permits; nothing for one that is not defined.
using Permits = std::function<std::optional<PermittedPrefixes>(const std::string &acl)>;

/// One offer for each prefix of each source, in the order of the sources. An ACL that permits nothing gives one offer
/// without a prefix.
Offers offersOf(const Sources &sources, const Permits &permits);
/// Why an ACL has no effect in a role; empty when it has.
std::string whyUseless(Role role, const std::string &acl, const std::optional<PermittedPrefixes> &permitted);

/// The offers of a single prefix by a candidate RP, given which ACLs permit the prefix. Cheaper than all of them.
Offers offersOf(const RpCandidateConfig &config, const Pax::IpGenPrefix &prefix,
                const std::function<bool(const std::string &acl)> &permits);

/// Sorts by prefix, interface and then source: the explicit range first, then the ACLs by name.
void sortOffers(Offers &offers);
/// Of the sorted offers of one interface and prefix, the one whose options are used: the last one that is complete.
/// Null when none is.
const Offer *standing(const Offers &offers);

}  // namespace Routing::Pim::Bsr
