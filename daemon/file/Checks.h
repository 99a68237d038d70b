/// What is wrong, or doubtful, in a configuration although each of its members is good.
#pragma once

#include "daemon/file/Configuration.h"
#include "daemon/file/Findings.h"
#include "daemon/file/Places.h"

namespace Routing::Pim::Bsr {

/// Finds errors: a namespace of two VRFs, an ACL that is not defined, a zone that two interfaces of a
/// VRF offer. What ACLs permit is looked at only if there was no error before, since a rule that was
/// left out changes it.
void findErrors(const Configuration &configuration, const Places &places, Findings &findings);

/// Finds warnings, in a configuration without errors.
void findWarnings(const Configuration &configuration, const Places &places, Findings &findings);

/// The largest bootstrap period of the VRF's candidates; 0 without any.
uint32_t largestInterval(const VrfSettings &settings);
/// 2 x the bootstrap period + 10 (RFC 5059 section 5).
constexpr uint32_t holdTimeOf(uint32_t interval) { return 2 * interval + 10; }

}  // namespace Routing::Pim::Bsr
