/// Whether the agents of a simulated network have come to agree.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "sim/Host.h"
#include "sim/RpTable.h"

namespace Sim {

/// What an agent holds of a zone: its BSR, unset for none, and its RP set.
struct ZoneView {
  Pax::IpGenAddr bsr;
  uint16_t priority = 0;
  uint32_t hashMaskLen = 0;
  RpTable table;
  bool operator==(const ZoneView &) const = default;
};
std::ostream &operator<<(std::ostream &out, const ZoneView &view);

ZoneView zoneViewOf(const Host &host, const Pax::IpGenPrefix &zone);

/// What an agent has to publish while nothing changes: each prefix as the innermost of the zones with
/// a BSR that cover it has it.
RpTable publicationDue(const Host &host);

/// Which of the running agents hold something else of the zone than the first of them, or publish
/// something else than they have to, one a line; empty when all agree.
std::string disagreement(const std::vector<const Host *> &hosts, const Pax::IpGenPrefix &zone);

}  // namespace Sim
