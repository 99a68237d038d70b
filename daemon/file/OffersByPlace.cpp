#include "daemon/file/OffersByPlace.h"

#include <algorithm>

namespace Routing::Pim::Bsr {

OffersByPlace byPlace(Offers offers) {
  OffersByPlace places;
  sortOffers(offers);
  for (Offer &offer : offers) {
    if (offer.prefix.isEmpty()) continue;
    places[{offer.source.role, offer.source.intfId, offer.prefix}].push_back(std::move(offer));
  }
  return places;
}

bool goesOn(const Offers &before, const Offers &wanted) {
  return std::any_of(wanted.begin(), wanted.end(), [&](const Offer &next) {
    return std::any_of(before.begin(), before.end(),
                       [&](const Offer &present) { return present.source.acl == next.source.acl; });
  });
}

}  // namespace Routing::Pim::Bsr
