#include <map>

#include "config/ConfigSm.h"
#include "config/KivBsrCandidateConfig.h"
#include "view/Json.h"
#include "view/Reasons.h"

namespace Routing::Pim::Bsr {

namespace {

/// What one interface offers for a zone.
struct Offer {
  struct Values {
    uint16_t priority = bsrPriorityUnset;
    uint32_t hashMaskLen = hashMaskLenUnset;
    uint32_t interval = bsPeriodUnset;
  };
  Values values;
  std::vector<std::string> sources;
  std::string lack;
};

std::string lackOf(const Offer::Values &values) {
  if (values.priority == bsrPriorityUnset) return "priority not set";
  return values.hashMaskLen == hashMaskLenUnset ? "hash mask length not set" : "";
}

template <class Entry>
void addSource(Offer &offer, const std::string &source, const Entry &entry) {
  const Offer::Values values{entry.priority(), entry.hashMaskLen(), entry.interval()};
  if (offer.sources.empty() || lackOf(values).empty()) offer.values = values;
  offer.sources.push_back(source);
  offer.lack = lackOf(offer.values);
}

/// By zone; ACLs without groups stand under the empty one.
using Offers = std::multimap<Pax::IpGenPrefix, Offer>;

Offers offersOf(const VrfView &view, const BsrCandidateConfig &config) {
  Offers offers;
  const auto offerOf = [&](const Pax::IpGenPrefix &zone) -> Offer & {
    const auto present = offers.find(zone);
    return (present == offers.end() ? offers.emplace(zone, Offer()) : present)->second;
  };
  for (const auto &[zone, entry] : config.group()) addSource(offerOf(zone), "group", *entry);
  for (const std::string &acl : sortedKeys(config.acl())) {
    const BsrCandidateAcl &entry = *config.acl(acl);
    for (const Pax::IpGenPrefix &zone : permittedBy(view, acl).groups) addSource(offerOf(zone), acl, entry);
    const std::string lack = whyNoGroup(view, acl);
    if (lack.empty()) continue;
    Offer &offer = offers.emplace(Pax::IpGenPrefix(), Offer())->second;
    addSource(offer, acl, entry);
    offer.lack = lack;
  }
  return offers;
}

std::string whyNotServed(const VrfView &view, const Pax::IntfId &intfId, const BsrCandidate *candidate) {
  const std::string why = whyNoAddress(view, intfId);
  if (!why.empty() || !candidate || candidate->intfId() == intfId) return why;
  std::ostringstream text;
  text << candidate->intfId() << " serves the zone";
  return text.str();
}

Rows rowOf(const VrfView &view, const Pax::IpGenPrefix &zone, const Pax::IntfId &intfId, const Offer &offer) {
  const auto candidate = view.configSm ? view.status->cbsr(zone) : nullptr;
  const bool served = candidate && candidate->intfId() == intfId;
  Offer::Values values = offer.values;
  if (served) values = {candidate->priority(), candidate->hashMaskLen(), candidate->bsPeriod()};
  const auto *reactor = view.configSm ? view.configSm->bsrCandidateConfig(intfId) : nullptr;
  const std::string why = whyNotServed(view, intfId, candidate.get());
  const std::string lack = served ? lackOf(values) : offer.lack;

  Rows row{{"vrf", toJson(view.vrf)}};
  row["zone"] = zone.isEmpty() ? Rows() : toJson(zone);
  row["interface"] = toJson(intfId);
  row["address"] = toJson(addressOf(view, intfId));
  row["priority"] = values.priority == bsrPriorityUnset ? Rows() : toJson(values.priority);
  row["hashMaskLen"] = values.hashMaskLen == hashMaskLenUnset ? Rows() : toJson(values.hashMaskLen);
  row["interval"] = values.interval == bsPeriodUnset ? Rows() : toJson(values.interval);
  row["state"] = served && candidate->state() != BsrCandidateState::unset ? toJson(candidate->state()) : Rows();
  row["elected"] = served && candidate->elected();
  row["sources"] = served && reactor ? reactor->sources(zone) : offer.sources;
  addReason(row, served && lack.empty(), why.empty() ? lack : why);
  return row;
}

}  // namespace

void showCandidateBsr(const VrfView &view, Rows &rows) {
  std::multimap<std::pair<Pax::IpGenPrefix, Pax::IntfId>, Offer> all;
  for (const auto &[intfId, config] : view.config->bsrCandidateConfig()) {
    const Offers offers = offersOf(view, *config);
    for (const auto &[zone, offer] : offers) all.emplace(std::pair(zone, intfId), offer);
  }
  for (const auto &[key, offer] : all) rows.push_back(rowOf(view, key.first, key.second, offer));
}

}  // namespace Routing::Pim::Bsr
