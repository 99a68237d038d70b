/// Whoever is told what becomes of zones and their RPs, and what the status alone does not say of it.
#pragma once

#include "platform/pim/RpCandidateStatus.h"

namespace Routing::Pim::Bsr {

/// Is told in the middle of the change: it only takes note. What stays as it is, as in a refresh, is not told.
class ZoneWatcher {
 public:
  struct RpAt {
    const Pax::IpGenPrefix &zone;
    const Pax::IpGenPrefix &prefix;
    const Pax::IpGenAddr &address;
  };

  virtual ~ZoneWatcher() = default;
  /// Its attributes follow, each of which rpChanged() tells.
  virtual void rpCame(const RpAt &at) = 0;
  /// An attribute other than its times. What is published still has the old one.
  virtual void rpChanged(const RpAt &at, const Pim::RpCandidate &rp) = 0;
  /// `withSet`: with all others of its prefix, since the zone lost its BSR or has another one.
  virtual void rpWent(const RpAt &at, const Pim::RpCandidate &rp, bool withSet) = 0;
  /// The zone whose RPs are to serve the prefix is another; empty for none.
  virtual void innermostChanged(const Pax::IpGenPrefix &prefix, const Pax::IpGenPrefix &before,
                                const Pax::IpGenPrefix &now) = 0;
  /// A scoped zone that had no BSR for long.
  virtual void zoneForgotten(const Pax::IpGenPrefix &zone) = 0;
};

}  // namespace Routing::Pim::Bsr
