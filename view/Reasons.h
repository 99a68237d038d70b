/// Why something that is configured is not in force, in the operator's words.
#pragma once

#include <optional>
#include <string>

#include "config/Offers.h"
#include "view/Show.h"

namespace Routing::Pim::Bsr {

/// What is configured in the VRF, in force or not, with what its ACLs permit now: sorted by prefix, interface and
/// source.
Offers offersOf(const VrfView &view, Role role);
Sources sourcesOf(const VrfView &view);
/// What the rules of an ACL permit now, whether anybody uses it or not; nothing for one that is not defined.
std::optional<PermittedPrefixes> permittedBy(const VrfView &view, const std::string &acl);

// Each is empty when nothing stands in the way.
std::string whyNotRunning(const VrfView &view);
/// Includes whyNotRunning().
std::string whyAbsent(const VrfView &view, const Pax::IntfId &intfId);
/// Includes whyAbsent().
std::string whyNoAddress(const VrfView &view, const Pax::IntfId &intfId);
/// Of a PIM interface: what is wrong with it, or else whyNotRunning().
std::string whyPimOff(const VrfView &view, const Pax::IntfId &intfId);

/// Zero while it has none.
Pax::IpGenAddr addressOf(const VrfView &view, const Pax::IntfId &intfId);

/// The columns `active` and `reason`.
void addReason(Rows &row, bool active, const std::string &reason);

}  // namespace Routing::Pim::Bsr
