/// The RP set that a VRF publishes, kept true to the zones that it comes from.
///
/// For each group prefix P, the innermost zone with a BSR that covers P (the trie's longest match)
/// publishes its own set for P. Where that zone has no set for P, or no zone covers P:
/// what a zone that has lost its BSR had published stays until its own hold times end; what a zone
/// that still has one had published goes at once. So the RPs of a dead BSR serve until they expire
/// and never longer, and a scope that comes or goes moves its prefixes.
///
/// The mirror reactors of the zones (RpSetMirror.h) write changes of single RPs while their zone
/// publishes; this class settles whole prefixes when the trie changes or a set goes.
#pragma once

#include "model/Status.h"
#include "platform/routing/TrieGen.h"

namespace Routing::Pim::Bsr {

class PublishedRpSet {
 public:
  PublishedRpSet(const Kiv::Ptr<const Status> &bsrStatus, const Kiv::Ptr<RpCandidateStatus> &published,
                 const Kiv::Ptr<const TrieGen> &trie);
  PublishedRpSet(const PublishedRpSet &) = delete;
  PublishedRpSet &operator=(const PublishedRpSet &) = delete;

  /// Changes whenever a published set comes, goes or changes hands.
  uint64_t version() const { return version_; }

  /// Takes over what an earlier engine left in the status: each published prefix gets the zone that
  /// it must have come from, and what no zone stands behind goes.
  void adopt();

  /// The set of `prefix` while `zone` is the one that published it, or null.
  Kiv::Ptr<RpCandidateSet> setOfOwner(const Pax::IpGenPrefix &zone, const Pax::IpGenPrefix &prefix) const;
  /// The set of `prefix`, created if absent, for `zone` to write: it is the prefix's longest match.
  /// What another zone had there goes.
  Kiv::Ptr<RpCandidateSet> setFor(const Pax::IpGenPrefix &zone, const Pax::IpGenPrefix &prefix);
  /// An RP is gone from the zone's own status: it is withdrawn if the zone published it.
  void rpGone(const Pax::IpGenPrefix &zone, const Pax::IpGenPrefix &prefix, const Pax::IpGenAddr &address);
  /// Removes the set. False when it was gone.
  bool withdraw(const Pax::IpGenPrefix &prefix);

  /// Makes what is published for `prefix` what it has to be.
  void settle(const Pax::IpGenPrefix &prefix);
  /// The same for every prefix within `zone`, whose place in the trie changed.
  void settleWithin(const Pax::IpGenPrefix &zone);

 private:
  Kiv::Ptr<RpCandidateSet> setOf(const Pax::IpGenPrefix &zone, const Pax::IpGenPrefix &prefix) const;
  static void copySet(const RpCandidateSet &from, RpCandidateSet &to);
  static void retain(RpCandidateSet &set, const RpCandidateSet *among);

  const Kiv::Ptr<const Status> bsrStatus_;
  const Kiv::Ptr<RpCandidateStatus> published_;
  const Kiv::Ptr<const TrieGen> trie_;
  uint64_t version_ = 0;
  Kiv::Table<Pax::IpGenPrefix, Pax::IpGenPrefix> owner_;  // the zone that published each prefix
};

/// Copies every field of an RP.
void copyRp(const Pim::RpCandidate &from, Pim::RpCandidate &to);

}  // namespace Routing::Pim::Bsr
