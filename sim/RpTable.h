/// A table of RPs, to be sent by a feeder and compared with what agents have learned.
#pragma once

#include <iosfwd>
#include <map>
#include <vector>

#include "platform/pim/Packet.h"
#include "platform/pim/RpCandidateStatus.h"

namespace Sim {

struct RpEntry {
  uint16_t holdTime = 150;
  uint16_t priority = 192;
  uint8_t hashMaskLen = 30;  ///< learned from the message, not from the entry
  bool bidir = false;
  bool operator==(const RpEntry &) const = default;
};

/// Plain data: RPs by group prefix and address. A prefix may have none.
struct RpTable {
  std::map<Pax::IpGenPrefix, std::map<Pax::IpGenAddr, RpEntry>> group;

  size_t rps() const;
  bool operator==(const RpTable &) const = default;
};
/// The size and the first few entries.
std::ostream &operator<<(std::ostream &out, const RpTable &table);

/// What a router has learned or published, times aside.
RpTable tableOf(const Routing::Pim::RpCandidateStatus &status);

/// A Bootstrap Router of one zone as others see it.
struct BsrParameters {
  Pax::IpGenAddr address;
  uint8_t priority = 64;
  uint8_t hashMaskLen = 30;
  Pax::IpGenPrefix zone;
  bool scoped = false;
};

/// A Bootstrap message with the table, in as many fragments as its IP packets need to stay within
/// `mtu`. In a scoped zone the zone's own block, with Z, stands first in each. A group's RPs may be
/// spread over fragments.
std::vector<Kiv::Ptr<Routing::Pim::Packet::BootstrapMessage>> fragmentsOf(const BsrParameters &bsr,
                                                                          const RpTable &table, uint32_t mtu);

}  // namespace Sim
