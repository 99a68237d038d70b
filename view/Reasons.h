/// Why something that is configured is not in force, in the operator's words.
#pragma once

#include <string>

#include "config/PermittedPrefixes.h"
#include "view/Show.h"

namespace Routing::Pim::Bsr {

/// What the rules of an ACL permit now, whether anybody uses it or not.
struct Permitted : PermittedPrefixes {
  bool exists = false;
};
Permitted permittedBy(const VrfView &view, const std::string &acl);

// All of these are empty when nothing stands in the way.
std::string whyNotRunning(const VrfView &view);
/// Includes whyNotRunning().
std::string whyAbsent(const VrfView &view, const Pax::IntfId &intfId);
/// Includes whyAbsent().
std::string whyNoAddress(const VrfView &view, const Pax::IntfId &intfId);
/// Of a PIM interface; includes whyAbsent().
std::string whyPimOff(const VrfView &view, const Pax::IntfId &intfId);
std::string whyNoGroup(const VrfView &view, const std::string &acl);
std::string whyNobody(const VrfView &view, const std::string &acl);

/// Zero while it has none.
Pax::IpGenAddr addressOf(const VrfView &view, const Pax::IntfId &intfId);

/// The columns `active` and `reason`.
void addReason(Rows &row, bool active, const std::string &reason);

}  // namespace Routing::Pim::Bsr
