/// Candidacies that a lab router is given in a file of their own.
///
///   { "bsr": { ZONE | "global": { "address": ADDRESS, "interface": NAME, "priority": 0..255,
///                                 "hashMaskLen": 0..128, "interval": SECONDS } },
///     "rp":  { ADDRESS: { "interface": NAME, "mode": "sparsemode" | "bidir", "interval": SECONDS,
///                         "ranges": { PREFIX: PRIORITY } } } }
///
/// Of a candidate BSR only the address must be given, of a candidate RP one range; the rest has the
/// protocol's defaults (64, 30 or 126, 60; sparsemode, 60).
#pragma once

#include <string>
#include <vector>

#include "model/Status.h"

namespace Lab {

/// Reads once, checks everything, then gives it to as many VRFs as ask.
class CandidateFile {
 public:
  /// Throws std::runtime_error with every error, a line each.
  CandidateFile(const std::string &file, Pax::AddressFamily family);

  /// Makes the VRF a candidate, and lets it take advertisements from every source.
  void writeTo(Routing::Pim::Bsr::Status &status) const;

  struct BsrCandidacy {
    Pax::IpGenPrefix zone;
    Pax::IpGenAddr address;
    std::string interface;
    uint16_t priority;
    uint32_t hashMaskLen;
    uint32_t interval;
  };
  struct Range {
    Pax::IpGenPrefix prefix;
    Routing::Pim::RpPriority priority;
  };
  struct RpCandidacy {
    Pax::IpGenAddr address;
    std::string interface;
    Routing::Pim::Mode mode;
    Routing::Pim::CrpAdvInterval interval;
    std::vector<Range> ranges;
  };

 private:
  const Pax::AddressFamily family_;
  std::vector<BsrCandidacy> bsrs_;
  std::vector<RpCandidacy> rps_;
};

}  // namespace Lab
