/// Whether the agents of a simulated network have come to agree.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "sim/Host.h"
#include "sim/RpTable.h"

namespace Sim {

/// What an agent holds for a zone: its BSR, unset for none, and its RP set.
struct ZoneView {
  Pax::IpGenAddr bsr;
  uint16_t priority = 0;
  uint32_t hashMaskLen = 0;
  RpTable table;
  bool operator==(const ZoneView &) const = default;
};
std::ostream &operator<<(std::ostream &out, const ZoneView &view);

ZoneView zoneViewOf(const Host &host, const Pax::IpGenPrefix &zone);

/// What an agent has to publish while nothing changes: each prefix with the RPs of the innermost zone that covers it
/// and has a BSR.
RpTable publicationDue(const Host &host);

/// The running agents that hold something else for the zone than the first of them, or publish something else than
/// they have to, each on a line; empty when all agree.
std::string disagreement(const std::vector<const Host *> &hosts, const Pax::IpGenPrefix &zone);

}  // namespace Sim
