/// Who offers what: which interface stands behind a zone, a range of a candidate RP, a border or an accepted source of
/// advertisements, through which line of the configuration, and why a line comes to nothing.
///
/// A source is one line of the configuration: an explicit range, or an ACL that is named. An offer is a source together
/// with one prefix that follows from it. Sources come from the entities, which are in force, or from a configuration
/// file, which is not yet; everything after that is the same for both, and keeps no state and writes nothing. Status,
/// the removal of what an earlier run left there, the checks of a file and the tables for operators all ask here.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "config/PermittedPrefixes.h"
#include "model/Config.h"

namespace Routing::Pim::Bsr {

enum class Role : uint8_t { border, candidateBsr, candidateRp, filter };

/// What a source says of its prefixes, as far as its role has it.
struct CandidacyOptions {
  uint16_t priority = bsrPriorityUnset;  ///< the number for "unset" is that of RP priorities, too
  uint32_t hashMaskLen = hashMaskLenUnset;
  uint32_t interval = bsPeriodUnset;  ///< the bootstrap period, seconds

  /// Empty when a candidate BSR can be made of it.
  const char *lack() const;
  bool operator==(const CandidacyOptions &) const = default;
};
static_assert(bsrPriorityUnset == rpPriorityUnset);

struct Source {
  Role role;
  Pax::IntfId intfId;      ///< empty for a filter, which is of the VRF
  Pax::IpGenPrefix range;  ///< empty where an ACL is the source
  std::string acl;         ///< empty for an explicit range
  CandidacyOptions options;

  bool isAcl() const { return !acl.empty(); }
  /// As operators are told.
  std::string name() const { return isAcl() ? acl : "group"; }
  /// Whether its options can stand: a candidate BSR needs all of them, a candidate RP its priority.
  bool hasOptions() const;
};
using Sources = std::vector<Source>;

struct Offer {
  Source source;
  Pax::IpGenPrefix prefix;  ///< empty where an ACL permits none
  std::string lack;         ///< why the configuration does not make use of it; empty where it does
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

/// Every source by what it comes to, in the order of the sources; of an ACL that permits nothing, one without prefix.
Offers offersOf(const Sources &sources, const Permits &permits);
/// Why an ACL is of no use in a role; empty when it is.
std::string whyUseless(Role role, const std::string &acl, const std::optional<PermittedPrefixes> &permitted);

/// Those of one prefix that a candidate RP serves, where it is known which of its ACLs permit that.
Offers offersOf(const RpCandidateConfig &config, const Pax::IpGenPrefix &prefix,
                const std::function<bool(const std::string &acl)> &permits);

/// Sorts by prefix, interface and then source: the explicit range first, then the ACLs by name.
void sortOffers(Offers &offers);
/// Of offers of one interface and prefix, the one whose options stand: the last in that order that has any. Null when
/// none has.
const Offer *standing(const Offers &offers);

}  // namespace Routing::Pim::Bsr
