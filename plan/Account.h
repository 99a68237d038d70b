/// Keeps account of a run: what is without BSR or RPs, or disagrees, for how long, after what.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "plan/Domain.h"
#include "plan/Simulation.h"
#include "plan/ZoneAccount.h"

namespace Planning {

/// Begins at time 0 and with each instant of the story, and lasts until the next one or the end.
struct Episode {
  double begin = 0;
  double end = 0;
  std::vector<const Action *> actions;  ///< none: the beginning
};

/// Made after the simulation and before it runs; goes before it. Exact: it is told of each change, and takes all
/// changes of one instant together when that is over.
class Account : public Observer {
 public:
  explicit Account(Simulation &simulation);

  /// The end of each episode is the beginning of the next one; of the last, now.
  std::vector<Episode> episodes() const;
  const Episode &lastEpisode() const { return episodes_.back(); }  ///< without its end
  /// Each zone that anybody has known, and that of all groups, in each VRF, whether or not anybody counts there.
  std::vector<Domain> domains() const;
  /// Null if nobody has known it.
  const ZoneAccount *zone(const Pax::IpGenPrefix &zone) const;
  const std::vector<Node> &nodes() const { return nodes_; }  ///< Plan::nodes()
  size_t placeOf(const Node &node) const { return first_[node.router] + node.vrf; }
  /// The places of those in VRFs of this name.
  std::vector<size_t> nodesIn(const std::string &vrf) const;
  /// Of these, those that count now.
  std::vector<size_t> counting(const Domain &domain) const;
  /// ZoneAccount::disagreement() of one of domains().
  const Spans &disagreement(const Domain &domain) const;

  /// Is told at the end of an instant in which all nodes that count there have come to agree.
  void agreedWatcherIs(std::function<void(const Domain &domain)> watcher) { watcher_ = std::move(watcher); }

  void handleAction(const Action &action) override;
  void handleReach() override { reachChanged_ = true; }
  void handleHeld(const Node &node) override;
  void handleInstant() override;

 private:
  void tellHeld(size_t node);
  std::vector<std::optional<size_t>> regionsOf(const Pax::IpGenPrefix &zone) const;

  const Simulation &simulation_;
  const std::vector<Node> nodes_;
  std::vector<size_t> first_;      // by router, the place of its first node
  std::vector<std::string> vrfs_;  // names
  std::vector<size_t> vrfOf_;      // by node, the place of its VRF in these
  std::vector<Episode> episodes_;
  std::map<Pax::IpGenPrefix, ZoneAccount> zones_;
  std::vector<size_t> changed_;
  bool reachChanged_ = false;
  std::function<void(const Domain &domain)> watcher_;
};

}  // namespace Planning
