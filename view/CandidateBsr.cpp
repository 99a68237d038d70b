#include <algorithm>
#include <tuple>

#include "view/Json.h"
#include "view/Reasons.h"

namespace Routing::Pim::Bsr {

namespace {

std::string whyNotServed(const VrfView &view, const Pax::IntfId &intfId, const BsrCandidate *candidate) {
  const std::string why = whyNoAddress(view, intfId);
  if (!why.empty() || !candidate || candidate->intfId() == intfId) return why;
  return Kiv::toText(candidate->intfId()) + " serves the zone";
}

std::vector<std::string> namesOf(const Offers &offers, bool usableOnly) {
  std::vector<std::string> names;
  for (const Offer &offer : offers) {
    if (offer.usable() || !usableOnly) names.push_back(offer.source.name());
  }
  return names;
}

// What one interface offers for a zone: the offer that stands, or the first where none has all its values.
Rows rowOf(const VrfView &view, const Offers &offers) {
  const Offer &offer = standing(offers) ? *standing(offers) : offers.front();
  const Pax::IpGenPrefix &zone = offer.prefix;
  const Pax::IntfId &intfId = offer.source.intfId;
  const auto candidate = view.configSm ? view.status->cbsr(zone) : nullptr;
  const bool served = candidate && candidate->intfId() == intfId;
  CandidacyOptions values = offer.source.options;
  if (served) values = {candidate->priority(), candidate->hashMaskLen(), candidate->bsPeriod()};
  const std::string why = whyNotServed(view, intfId, candidate.get());
  const std::string lack = served ? values.lack() : offer.lack;

  Rows row{{"vrf", toJson(view.vrf)}};
  row["zone"] = zone.isEmpty() ? Rows() : toJson(zone);
  row["interface"] = toJson(intfId);
  row["address"] = toJson(addressOf(view, intfId));
  row["priority"] = values.priority == bsrPriorityUnset ? Rows() : toJson(values.priority);
  row["hashMaskLen"] = values.hashMaskLen == hashMaskLenUnset ? Rows() : toJson(values.hashMaskLen);
  row["interval"] = values.interval == bsPeriodUnset ? Rows() : toJson(values.interval);
  row["state"] = served && candidate->state() != BsrCandidateState::unset ? toJson(candidate->state()) : Rows();
  row["elected"] = served && candidate->elected();
  const auto winner = zone.isEmpty() ? nullptr : view.status->bootstrapRouter(zone);
  row["winner"] = winner ? toJson(winner->ipAddr()) : nullptr;
  row["sources"] = namesOf(offers, served);
  addReason(row, served && lack.empty(), why.empty() ? lack : why);
  return row;
}

// Whether both are for one zone from one interface. An ACL that permits no zone has a row of its own.
bool goTogether(const Offer &one, const Offer &other) {
  return !one.prefix.isEmpty() && one.prefix == other.prefix && one.source.intfId == other.source.intfId;
}

}  // namespace

bool showCandidateBsr(const VrfView &view, ShowCursor &cursor, Rows &rows) {
  constexpr size_t slice = 4 * ShowCursor::slice;  // since each sorts all offers
  const Offers offers = offersOf(view, Role::candidateBsr);
  const auto isShown = [&](const Offer &offer) {
    return !cursor.zone.isEmpty() &&
           std::tie(offer.prefix, offer.source.intfId) <= std::tie(cursor.zone, cursor.interface);
  };
  auto next = std::partition_point(offers.begin(), offers.end(), isShown);
  for (size_t shown = 0; next != offers.end(); ++shown) {
    if (shown >= slice && !cursor.zone.isEmpty()) return true;
    const auto first = next++;
    next = std::find_if_not(next, offers.end(), [&](const Offer &offer) { return goTogether(*first, offer); });
    rows.push_back(rowOf(view, Offers(first, next)));
    cursor.zone = first->prefix;
    cursor.interface = first->source.intfId;
  }
  return false;
}

}  // namespace Routing::Pim::Bsr
