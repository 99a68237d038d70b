/// The RP set that a VRF publishes, kept true to the zones that it comes from, and its only writer while the engine
/// runs; what an earlier run of the agent left is cleared before that.
///
/// For each group prefix P, the innermost zone with a BSR that covers P (the trie's longest match)
/// publishes its own set for P. Where that zone has no set for P, or no zone covers P:
/// what a zone that has lost its BSR had published stays until its own hold times end; what a zone
/// that still has one had published goes at once. So the RPs of a dead BSR serve until they expire
/// and never longer, and a scope that comes or goes moves its prefixes.
///
/// The reactors of RpSetMirror.h report through a Source what happens to the single RPs of a zone's
/// set; whole prefixes are settled when the trie changes or a set goes. The sets of the zones are only
/// read here.
#pragma once

#include <map>
#include <optional>
#include <vector>

#include "model/Status.h"
#include "platform/routing/TrieGen.h"

namespace Routing::Pim::Bsr {

class ZoneWatcher;

/// Owned by the engine, which creates another when the address family changes.
class PublishedRpSet {
  struct Entry;

 public:
  class Source;

  PublishedRpSet(const Kiv::Ptr<const Status> &bsrStatus, const Kiv::Ptr<RpCandidateStatus> &published,
                 const Kiv::Ptr<const TrieGen> &trie);

  /// Takes over what an earlier engine left in the status: each published prefix gets the zone that
  /// it must have come from, and what no zone stands behind goes.
  void adopt();

  /// The published set of `prefix` if it comes from `zone`, or null.
  Kiv::Ptr<const RpCandidateSet> setOfOwner(const Pax::IpGenPrefix &zone, const Pax::IpGenPrefix &prefix) const;
  struct Published {
    Pax::IpGenPrefix prefix;
    Pax::IpGenPrefix zone;  ///< that it comes from
    Kiv::Ptr<const RpCandidateSet> set;
  };
  /// What is published for the first prefix behind `prefix`; behind the empty one, the first of all.
  std::optional<Published> nextBehind(const Pax::IpGenPrefix &prefix) const;
  /// The prefixes within `zone` that are published or that any zone has a set of, sorted. Takes as long as they are
  /// many, whatever else is held.
  std::vector<Pax::IpGenPrefix> prefixesWithin(const Pax::IpGenPrefix &zone) const;
  /// `zone` has been stored in the trie or removed from it: settles every prefix within it. `watcher` (null: nobody)
  /// is told of each that another zone is to publish now.
  void settleWithin(const Pax::IpGenPrefix &zone, ZoneWatcher *watcher);

 private:
  /// What is published for one prefix. Entries stay where they are in memory.
  struct Entry {
    void innermostIs(const Pax::IpGenPrefix &zone);
    void ownerIs(const Pax::IpGenPrefix &zone);
    void rpDel(const Pax::IpGenAddr &address);

    Pax::IpGenPrefix innermost;    // the zone that is to publish; empty: none has a BSR
    Pax::IpGenPrefix owner;        // the zone that `set` comes from; empty: not known
    bool isOwn = false;            // both are one zone
    Kiv::Ptr<RpCandidateSet> set;  // null: nothing is published
    unsigned sources = 0;
    uint32_t version = 0;  // while it stays the same, what was found in `set` is there, and its zone still publishes
  };

  const std::string &vrfName() const { return bsrStatus_->name(); }
  Entry &entryIs(const Pax::IpGenPrefix &prefix);
  void entryDelIfUnused(const Pax::IpGenPrefix &prefix);
  void settle(const Pax::IpGenPrefix &prefix);
  RpCandidateSet &setFor(const Pax::IpGenPrefix &zone, const Pax::IpGenPrefix &prefix, Entry &entry);
  /// Deletes the published RPs that are not in `among`.
  static void retain(Entry &entry, const RpCandidateSet &among);
  void withdraw(const Pax::IpGenPrefix &prefix, Entry &entry);

  const Kiv::Ptr<const Status> bsrStatus_;
  const Kiv::Ptr<RpCandidateStatus> published_;
  const Kiv::Ptr<const TrieGen> trie_;
  std::map<Pax::IpGenPrefix, Entry> entry_;  // of each prefix that is published or has a source
};

/// A zone's set of one prefix, as something to publish. A member of the reactor that follows the set,
/// which reports here; nothing is written while another zone is to publish the prefix.
class PublishedRpSet::Source {
 public:
  Source(PublishedRpSet &published, const Pax::IpGenPrefix &zone, const Pax::IpGenPrefix &prefix);
  ~Source();
  Source(const Source &) = delete;
  Source &operator=(const Source &) = delete;

  /// Where the published copy of an RP was last found; kept by whoever follows the RP, so that a refresh need not
  /// look for it.
  class Twin {
    friend class Source;
    Kiv::Ptr<Pim::RpCandidate> rp;
    uint32_t version = 0;
  };

  const Pax::IpGenPrefix &zone() const { return zone_; }
  const Pax::IpGenPrefix &prefix() const { return prefix_; }

  void setCame();
  void setWent();
  void rpCame(const Pax::IpGenAddr &address, const Pim::RpCandidate &rp);
  /// Whether `rp` is published, with all its fields, now.
  bool rpChanged(const Pax::IpGenAddr &address, const Pim::RpCandidate &rp);
  /// A new `expires` alone, as every refresh brings it.
  void rpRefreshed(const Pax::IpGenAddr &address, const Pim::RpCandidate &rp, Twin &twin);
  void rpWent(const Pax::IpGenAddr &address);

 private:
  const std::string &vrfName() const { return published_.vrfName(); }
  bool publishes() const;
  RpCandidateSet &publishedSet();
  Kiv::Ptr<Pim::RpCandidate> published(const Pax::IpGenAddr &address, const Pim::RpCandidate &rp);

  PublishedRpSet &published_;
  const Pax::IpGenPrefix zone_;
  const Pax::IpGenPrefix prefix_;
  Entry &entry_;
};

}  // namespace Routing::Pim::Bsr
