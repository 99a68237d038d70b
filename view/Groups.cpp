#include "view/Groups.h"

#include <stdexcept>

#include "engine/PublishedRpSet.h"

namespace Routing::Pim::Bsr {

Pax::IpGenAddr groupFrom(const std::string &text, Pax::AddressFamily family) {
  try {
    const Pax::IpGenAddr group = Pax::IpGenAddr::fromText(text);
    if (group.af() == family && group.isMulticast()) return group;
  } catch (const Kiv::RangeError &) {
  }
  throw std::invalid_argument("'" + text + "' is not a group of " + Kiv::toText(Pax::allGroups(family)));
}

Pax::IpGenPrefix zoneFrom(const std::string &text, Pax::AddressFamily family) {
  try {
    const Pax::IpGenPrefix zone = Pax::IpGenPrefix::fromText(text);
    if (Pax::allGroups(family).covers(zone)) return zone;
  } catch (const Kiv::RangeError &) {
  }
  throw std::invalid_argument("'" + text + "' is not a zone, as " + Kiv::toText(Pax::allGroups(family)) +
                              " is; 'pimbsrctl show bsr' lists them");
}

Pax::IpGenPrefix publisherOf(const VrfView &view, const Pax::IpGenPrefix &prefix) {
  for (const auto &[zone, learned] : view.status->crpStatus()) {
    if (view.bsrSm->published().setOfOwner(zone, prefix)) return zone;
  }
  return {};
}

}  // namespace Routing::Pim::Bsr
