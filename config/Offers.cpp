#include "config/Offers.h"

#include <algorithm>
#include <map>
#include <tuple>

namespace Routing::Pim::Bsr {

namespace {

template <class Options>
CandidacyOptions rpOptionsOf(const Kiv::Ptr<Options> &options) {
  return {options ? options->priority() : rpPriorityUnset};
}

auto sortKey(const Source &source) { return std::tie(source.intfId, source.acl); }

std::string lackOf(const Source &source) { return source.role == Role::candidateBsr ? source.options.lack() : ""; }

}  // namespace

const char *CandidacyOptions::lack() const {
  if (priority == bsrPriorityUnset) return "priority not set";
  return hashMaskLen == hashMaskLenUnset ? "hash mask length not set" : "";
}

bool Source::hasOptions() const {
  return options.priority != rpPriorityUnset && (role == Role::candidateRp || options.hashMaskLen != hashMaskLenUnset);
}

void addBorder(Sources &sources, const Pax::IntfId &intfId, const IntfConfig &config) {
  for (const auto &[range, in] : config.bsrBorderGrp()) sources.push_back({Role::border, intfId, range, {}, {}});
  for (const auto &[acl, in] : config.bsrBorderAcl()) sources.push_back({Role::border, intfId, {}, acl, {}});
}

void addCandidatesAndFilter(Sources &sources, const Config &config) {
  for (const auto &[intfId, bsr] : config.bsrCandidateConfig()) {
    for (const auto &[zone, entry] : bsr->group()) {
      sources.push_back({Role::candidateBsr, intfId, zone, {}, bsrOptionsOf(*entry)});
    }
    for (const auto &[acl, entry] : bsr->acl()) {
      sources.push_back({Role::candidateBsr, intfId, {}, acl, bsrOptionsOf(*entry)});
    }
  }
  for (const auto &[intfId, rp] : config.rpCandidateConfig()) {
    for (const auto &[range, in] : rp->groupRange()) {
      sources.push_back({Role::candidateRp, intfId, range, {}, rpOptionsOf(rp->groupRangeOptions(range))});
    }
    for (const auto &[acl, in] : rp->acl()) {
      sources.push_back({Role::candidateRp, intfId, {}, acl, rpOptionsOf(rp->aclOptions(acl))});
    }
  }
  for (const auto &[acl, in] : config.crpFilterAcl()) sources.push_back({Role::filter, {}, {}, acl, {}});
}

std::string whyUseless(Role role, const std::string &acl, const std::optional<PermittedPrefixes> &permitted) {
  if (!permitted) return "ACL " + acl + " is not defined";
  if (role == Role::filter) return permitted->unicast.empty() ? "ACL " + acl + " permits no source" : "";
  return permitted->groups.empty() ? "ACL " + acl + " permits no group" : "";
}

Offers offersOf(const Sources &sources, const Permits &permits) {
  std::map<std::string, std::optional<PermittedPrefixes>> acls;
  Offers offers;
  for (const Source &source : sources) {
    if (!source.isAcl()) {
      offers.push_back({source, source.range, lackOf(source)});
      continue;
    }
    const auto [acl, isNew] = acls.try_emplace(source.acl);
    if (isNew) acl->second = permits(source.acl);
    const std::string lack = whyUseless(source.role, source.acl, acl->second);
    if (!lack.empty()) {
      offers.push_back({source, {}, lack});
      continue;
    }
    const auto &prefixes = source.role == Role::filter ? acl->second->unicast : acl->second->groups;
    for (const Pax::IpGenPrefix &prefix : prefixes) offers.push_back({source, prefix, lackOf(source)});
  }
  return offers;
}

Offers offersOf(const RpCandidateConfig &config, const Pax::IpGenPrefix &prefix,
                const std::function<bool(const std::string &acl)> &permits) {
  Offers offers;
  const auto add = [&](const std::string &acl, const CandidacyOptions &options) {
    offers.push_back(
        {{Role::candidateRp, config.intfId(), acl.empty() ? prefix : Pax::IpGenPrefix(), acl, options}, prefix, ""});
  };
  if (const auto &options = config.groupRangeOptions(prefix)) add("", rpOptionsOf(options));
  for (const auto &[acl, in] : config.acl()) {
    if (permits(acl)) add(acl, rpOptionsOf(config.aclOptions(acl)));
  }
  sortOffers(offers);
  return offers;
}

void sortOffers(Offers &offers) {
  std::stable_sort(offers.begin(), offers.end(), [](const Offer &a, const Offer &b) {
    return a.prefix != b.prefix ? a.prefix < b.prefix : sortKey(a.source) < sortKey(b.source);
  });
}

const Offer *standing(const Offers &offers) {
  const auto found =
      std::find_if(offers.rbegin(), offers.rend(), [](const Offer &offer) { return offer.source.hasOptions(); });
  return found == offers.rend() ? nullptr : &*found;
}

}  // namespace Routing::Pim::Bsr
