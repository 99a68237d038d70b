/// For how long the nodes of a zone are without BSR or RPs, or disagree.
#pragma once

#include <map>
#include <optional>
#include <tuple>
#include <vector>

#include "plan/Box.h"
#include "plan/Spans.h"

namespace Planning {

enum class Outage : uint8_t {
  withoutBsr,
  withoutRp,
  disagreed,  ///< it holds another BSR or other RPs than somebody else of its region
};

/// Kept by the Account, which tells what changes and, when the instant is over, lets it settle. A node counts while
/// its agent runs, and from when it, or somebody it hears of the zone from, has known the zone; that is
/// taken to be so from the beginning of the episode, or from when its agent ran. Costs grow with what changes:
/// of a node that holds something else with the logarithm of the views of its region, of a change of regions with the
/// number of nodes. Nodes are named by their place in Plan::nodes().
///
/// What nodes have in common, such as that all agree, is kept for each VRF. Links may lead from one VRF to another.
class ZoneAccount {
 public:
  /// `vrfs`: the VRF of each node, from 0 on. `counting`: which nodes count whatever is known; empty for none.
  ZoneAccount(const std::vector<size_t> &vrfs, const std::vector<bool> &counting);

  /// Takes over which agents run, and from when on.
  void agentsAreAsIn(const ZoneAccount &other);
  /// The region of each node; unset where the agent does not run.
  void regionsAre(const std::vector<std::optional<size_t>> &regions, double now);
  /// What a node holds; null for nothing.
  void heldIs(size_t node, const Held *held);
  /// Takes account of both. `episode` is when it began. Returns the VRFs that have come to agree.
  std::vector<size_t> settle(double now, double episode);

  /// Whether the node counts now.
  bool counts(size_t node) const { return nodes_[node].region.has_value(); }
  /// When it was not so that all nodes of the VRF that count have a BSR, and the same one with the same RPs as
  /// everybody else of their region.
  const Spans &disagreement(size_t vrf) const { return vrfs_[vrf].disagreement; }
  /// When the node counted.
  Spans counted(size_t node) const;
  Spans of(Outage outage, size_t node) const;

 private:
  using Place = std::optional<uint32_t>;
  // From a time on, a node counts in a region, or does not.
  struct Stay {
    double from;
    Place region;
  };
  struct NodeRecord {
    size_t vrf = 0;
    std::optional<size_t> number;  // of its region, as it was told
    double runsFrom = 0;
    bool belongs = false;  // it counts whenever its agent runs
    Place region;
    uint32_t view = 0;
    bool hasBsr = false, hasRps = false;
    bool isChanged = false;
    uint32_t counted = 0;  // the view that its region counts
    std::vector<Stay> stays;
    Spans withoutBsr, withoutRp;
  };
  // It lasts as long as somebody stays in it.
  struct Region {
    std::map<uint32_t, size_t> views;  // by view, how many hold it
    std::map<size_t, size_t> vrfs;     // by VRF, how many are in it
    Spans disagreed;
    bool isTouched = false;
  };
  // How many nodes count, and are without BSR; in how many regions some of them disagree.
  struct VrfRecord {
    size_t counting = 0, without = 0, disagreeing = 0;
    Spans disagreement;
  };
  using View = std::tuple<Pax::IpGenAddr, uint16_t, uint32_t, uint64_t>;

  bool findNewcomers();
  void assign(double now, double episode);
  std::vector<Place> regionByNumber();
  void move(NodeRecord &node, Place region, double now, double from);
  void apply(NodeRecord &node, double now);
  void uncount(NodeRecord &node);
  void enter(NodeRecord &node);
  void leave(NodeRecord &node);
  void touch(uint32_t region);
  void settleRegions(double now);
  static void note(Spans &spans, bool isSo, double from, double now);

  std::vector<NodeRecord> nodes_;
  std::vector<Region> regions_;
  std::map<View, uint32_t> views_;  // 0 is that of who holds nothing
  std::vector<size_t> changed_;     // nodes
  std::vector<uint32_t> touched_;   // regions
  bool reachChanged_ = false;
  std::vector<VrfRecord> vrfs_;
};

}  // namespace Planning
