/// Which RP serves a group (RFC 7761 section 4.7). Every router of the domain must come to the same answer.
#pragma once

#include <optional>
#include <vector>

#include "platform/pim/RpCandidateStatus.h"

namespace Routing::Pim {

/// The hash of RFC 7761 section 4.7.2, below 2^31: the highest wins. Both addresses must be of one family. A mask
/// length beyond that of the address is taken as the full length.
uint32_t rpHash(const Pax::IpGenAddr &group, uint8_t hashMaskLen, const Pax::IpGenAddr &rp);

/// Maps groups to the RPs of one mode in a VRF's published set. It writes nothing, reacts to nothing and keeps
/// nothing but the set: each answer is worked out when it is asked for, at the cost of one lookup per prefix
/// length and one hash per candidate.
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
  /// The longest published prefix that covers the group decides, whatever the modes of its RPs. If none of them is
  /// of this mode there is no answer, so that no group of a scope falls back to an RP outside.
  std::optional<Answer> rpOf(const Pax::IpGenAddr &group) const;

 private:
  const Kiv::Ptr<const RpCandidateStatus> rpCandidateStatus_;
  const Mode mode_;
};

}  // namespace Routing::Pim
