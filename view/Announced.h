/// What an elected BSR told the others with its last message.
#pragma once

#include <map>
#include <optional>
#include <set>
#include <vector>

#include "view/VrfView.h"

namespace Routing::Pim::Bsr {

/// The RPs that the last message of this router listed for some groups of a zone; made for one answer.
class Announced {
 public:
  /// Of those of the zone's groups that are in `among`, which is sorted. Nothing where we are not the zone's BSR.
  static std::optional<Announced> in(const VrfView &view, const Pax::IpGenPrefix &zone,
                                     const std::vector<Pax::IpGenPrefix> &among);

  bool lists(const Pax::IpGenPrefix &group, const Pax::IpGenAddr &rp, Mode mode) const;

 private:
  // By group; and whether it was listed as bidirectional.
  std::map<Pax::IpGenPrefix, std::set<std::pair<Pax::IpGenAddr, bool>>> rps_;
};

/// Why the BSR of the zone, which this router is, leaves out an RP that it holds.
std::string whyNotAnnounced(const VrfView &view, const Pax::IpGenPrefix &zone, const Pax::IpGenPrefix &group,
                            const Pax::IpGenAddr &address, const Pim::RpCandidate &rp);

/// RPs that the BSR of a zone holds, as this router does with these, and leaves out of its messages for good.
struct Unannounced {
  size_t ofBothModes = 0;  ///< sparse ones of prefixes that have bidirectional ones, too
  size_t beyondRoom = 0;   ///< of prefixes with more than a message has room for
};
Unannounced unannouncedOf(const RpCandidateStatus &sets);

}  // namespace Routing::Pim::Bsr
