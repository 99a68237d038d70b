/// What a VRF holds of other routers' making, at most.
#pragma once

#include <cstdint>
#include <iosfwd>

namespace Routing::Pim::Bsr {

/// Far above what a real network has, so that only faults and attacks meet them. At a limit, what is known goes on and
/// what is new is refused and counted; what this router offers itself, and the zones of its configuration, always fit.
struct Limits {
  uint32_t rps = 20000;           ///< RPs learned; one counts once for each of its ranges in each zone
  uint32_t zones = 1000;          ///< scoped zones of which we are no candidate
  uint32_t ranges = 4096;         ///< ranges with RPs; one counts once for each zone
  uint32_t collectedRps = 10000;  ///< pairs of an RP and a range that we collect as the BSR
  uint32_t rangesPerRp = 1000;    ///< of them, those of one RP
  uint32_t keptBytes = 1 << 20;   ///< last messages of one zone, for new neighbors and a refresh
  uint32_t openBytes = 4 << 20;   ///< incomplete groups of fragmented messages, at their size when complete
  uint32_t neighbors = 256;       ///< on each interface; the Hello speaker keeps it
  bool operator==(const Limits &) const = default;
};
std::ostream &operator<<(std::ostream &out, const Limits &limits);

}  // namespace Routing::Pim::Bsr
