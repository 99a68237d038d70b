#include <map>
#include <set>

#include "engine/RpCandidateSm.h"
#include "view/Json.h"
#include "view/Reasons.h"

namespace Routing::Pim::Bsr {

namespace {

using Priorities = std::map<Pax::IpGenPrefix, RpPriority>;

// What it would serve.
Priorities configuredGroups(const Offers &offers) {
  std::map<Pax::IpGenPrefix, Offers> byPrefix;
  for (const Offer &offer : offers) {
    if (offer.usable()) byPrefix[offer.prefix].push_back(offer);
  }
  Priorities groups;
  for (const auto &[prefix, sources] : byPrefix) {
    const Offer *offer = standing(sources);
    groups[prefix] = offer ? offer->source.options.priority : rpPriorityUnset;
  }
  return groups;
}

Priorities servedGroups(const RpCandidate &crp) {
  Priorities groups;
  for (const Pax::IpGenPrefix &prefix : crp.prefixSet().keys()) {
    const auto options = crp.prefixOptions(prefix);
    groups[prefix] = options ? options->priority() : rpPriorityUnset;
  }
  return groups;
}

// The first thing in the way of the whole candidacy, or of one of its ACLs.
std::string whyNotServed(const VrfView &view, const Pax::IntfId &intfId, const Offers &offers,
                         const Kiv::Ptr<RpCandidate> &present) {
  const std::string why = whyNoAddress(view, intfId);
  if (!why.empty()) return why;
  if (present && present->intfId() != intfId) {
    return Kiv::toText(present->intfId()) + " serves " + Kiv::toText(addressOf(view, intfId));
  }
  for (const Offer &offer : offers) {
    if (!offer.usable()) return offer.lack;
  }
  return offers.empty() ? "serves no group" : "";
}

// What the RP's machines, one for each priority, advertise to a zone.
struct Advertised {
  std::set<Pax::IpGenPrefix> groups, leftOut;
  double next = Orb::never;
};

// A message has room for the first ranges only.
void add(Advertised &advertised, const RpCandidatePrefixSet &set, double next) {
  const auto keys = set.prefixSet().keys();
  const std::set<Pax::IpGenPrefix> sorted(keys.begin(), keys.end());
  size_t counted = 0;
  for (const Pax::IpGenPrefix &prefix : sorted) {
    auto &groups = ++counted > CrpGoodbyes::mostCounted ? advertised.leftOut : advertised.groups;
    groups.insert(prefix);
  }
  advertised.next = std::min(advertised.next, next);
}

Rows zonesOf(const VrfView &view, const Pax::IpGenAddr &rp) {
  std::map<Pax::IpGenPrefix, Advertised> zones;
  for (const auto &[options, machine] : view.bsrSm->rpCandidateSm()) {
    if (options.rpAddress != rp) continue;
    for (const auto &[zone, set] : machine->crpAdvSet()) {
      if (!set->prefixSet().empty()) add(zones[zone], *set, machine->nextAdvertisement());
    }
  }
  Rows json = Rows::array();
  for (const auto &[zone, advertised] : zones) {
    const auto bsr = view.status->bootstrapRouter(zone);
    json.push_back({{"zone", toJson(zone)},
                    {"bsr", bsr ? toJson(bsr->ipAddr()) : nullptr},
                    {"groups", toJson(advertised.groups)},
                    {"leftOut", toJson(advertised.leftOut)},
                    {"nextAdvertisement", secondsBetween(view.now, advertised.next)}});
  }
  return json;
}

Rows groupsOf(const Priorities &priorities) {
  Rows json = Rows::array();
  for (const auto &[prefix, priority] : priorities) {
    json.push_back({{"prefix", toJson(prefix)}, {"priority", priority == rpPriorityUnset ? Rows() : toJson(priority)}});
  }
  return json;
}

Rows rowOf(const VrfView &view, const Pax::IntfId &intfId, const RpCandidateConfig &config, const Offers &offers) {
  const Pax::IpGenAddr address = addressOf(view, intfId);
  const auto present = view.configSm ? view.status->crp(address) : nullptr;
  const bool active = present && present->intfId() == intfId;
  Rows row{{"vrf", toJson(view.vrf)},
           {"rp", toJson(address)},
           {"interface", toJson(intfId)},
           {"mode", toJson(config.mode())},
           {"interval", toJson(config.advInterval())},
           {"groups", groupsOf(active ? servedGroups(*present) : configuredGroups(offers))}};
  addReason(row, active, whyNotServed(view, intfId, offers, present));
  row["zones"] = active && view.bsrSm ? zonesOf(view, address) : Rows::array();
  return row;
}

}  // namespace

void showCandidateRp(const VrfView &view, Rows &rows) {
  std::map<Pax::IntfId, Offers> offers;
  for (Offer &offer : offersOf(view, Role::candidateRp)) offers[offer.source.intfId].push_back(std::move(offer));
  for (const Pax::IntfId &intfId : sortedKeys(view.config->rpCandidateConfig())) {
    rows.push_back(rowOf(view, intfId, *view.config->rpCandidateConfig(intfId), offers[intfId]));
  }
}

}  // namespace Routing::Pim::Bsr
