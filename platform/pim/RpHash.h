/// Which RP serves a group (RFC 7761 section 4.7).
#pragma once

#include <optional>
#include <vector>

#include "platform/pim/RpCandidateStatus.h"

namespace Routing::Pim {

/// The hash of RFC 7761 section 4.7.2, below 2^31: the highest wins. Both addresses are of one family; a
/// mask length beyond the address counts as the full length.
uint32_t rpHash(const Pax::IpGenAddr &group, uint8_t hashMaskLen, const Pax::IpGenAddr &rp);

/// Maps groups to the RPs of one mode in a VRF's published set. It holds nothing but the set and
/// does nothing until it is asked; an answer costs a look-up a prefix length, and the candidates.
class RpHashSm {
 public:
  struct Candidate {
    Pax::IpGenAddr rp;
    RpPriority priority = rpPriorityUnset;
    uint32_t hash = 0;
    bool operator==(const Candidate &) const = default;
  };
  struct Answer {
    Pax::IpGenPrefix prefix;
    std::vector<Candidate> candidates;  ///< best first, at least one
    const Candidate &best() const { return candidates.front(); }
  };

  RpHashSm(const Kiv::Ptr<const RpCandidateStatus> &rpCandidateStatus, Mode mode)
      : rpCandidateStatus_(rpCandidateStatus), mode_(mode) {}

  Mode mode() const { return mode_; }
  /// The longest published prefix that covers the group decides, whatever the modes of its RPs:
  /// nothing when none of them is of this mode, so that no group of a scope falls back to an RP outside.
  std::optional<Answer> rpOf(const Pax::IpGenAddr &group) const;

 private:
  const Kiv::Ptr<const RpCandidateStatus> rpCandidateStatus_;
  const Mode mode_;
};

}  // namespace Routing::Pim
