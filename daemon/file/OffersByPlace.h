/// Who offers what, by what is offered.
#pragma once

#include <map>
#include <tuple>

#include "daemon/file/FileOffers.h"

namespace Routing::Pim::Bsr {

/// By role, interface and prefix; each list is sorted by source.
using OffersByPlace = std::map<std::tuple<Role, Pax::IntfId, Pax::IpGenPrefix>, Offers>;

OffersByPlace byPlace(Offers offers);
/// Whether a source of one place stays, even if its values change.
bool goesOn(const Offers &before, const Offers &wanted);

}  // namespace Routing::Pim::Bsr
