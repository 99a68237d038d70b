#include "plan/HeldHistory.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace Planning {

size_t Lane::Step::running() const { return std::accumulate(having.begin(), having.end(), withoutBsr); }

bool Lane::Step::isAsOf(const Step &other) const {
  return having == other.having && withoutBsr == other.withoutBsr && withoutRp == other.withoutRp;
}

HeldHistory::HeldHistory(const Simulation &simulation, Legend &legend) : simulation_(simulation), legend_(legend) {
  for (const Router &router : simulation.plan().routers) last_.emplace_back(router.vrfs.size());
}

void HeldHistory::handleInstant() {
  if (!std::exchange(runsChanged_, false)) return;
  for (const Node &node : simulation_.plan().nodes()) note(node);
}

HeldHistory::State HeldHistory::stateOf(const Node &node) const {
  const Box &box = simulation_.box(node.router);
  if (!box.runsIn(node.vrf) || box.standsBy()) return std::nullopt;
  Holdings holdings;
  for (const auto &[zone, held] : simulation_.held(node)) holdings[zone] = {held.bsr, held.rps > 0};
  return holdings;
}

void HeldHistory::note(const Node &node) {
  State state = stateOf(node);
  if (last_[node.router][node.vrf] == state) return;
  if (state) {
    for (const auto &[zone, holding] : *state) {
      legend_.joins(node, zone);
      legend_.letterOf(zone);
      if (!holding.bsr.isZero()) legend_.colorOf(holding.bsr);
    }
  }
  last_[node.router][node.vrf] = state;
  changes_.push_back({simulation_.now(), node, std::move(state)});
}

// Makes one lane of the changes.
class HeldHistory::Counting {
 public:
  Counting(const Domain &domain, size_t members, double end) : lane_{domain, members, {}, {Lane::Step{}}}, end_(end) {}

  // A member is in another state than before.
  void change(double time, const State &before, const State &after) {
    step_.from = time;
    count(before, -1);
    count(after, 1);
    if (lane_.steps.back().from == time) lane_.steps.pop_back();
    if (lane_.steps.empty() || !lane_.steps.back().isAsOf(step_)) lane_.steps.push_back(step_);
  }
  Lane lane() && {
    const std::vector<size_t> order = orderOfBsrs();
    const std::vector<Pax::IpGenAddr> bsrs = std::exchange(lane_.bsrs, {});
    for (const size_t place : order) lane_.bsrs.push_back(bsrs[place]);
    for (Lane::Step &step : lane_.steps) {
      step.having.resize(bsrs.size());
      const std::vector<size_t> having = step.having;
      for (size_t i = 0; i < order.size(); ++i) step.having[i] = having[order[i]];
    }
    return std::move(lane_);
  }

 private:
  std::vector<size_t> orderOfBsrs() const {
    std::vector<double> weights(lane_.bsrs.size());  // seconds by routers
    for (size_t i = 0; i < lane_.steps.size(); ++i) {
      const double end = i + 1 < lane_.steps.size() ? lane_.steps[i + 1].from : end_;
      for (size_t bsr = 0; bsr < lane_.steps[i].having.size(); ++bsr) {
        weights[bsr] += static_cast<double>(lane_.steps[i].having[bsr]) * (end - lane_.steps[i].from);
      }
    }
    std::vector<size_t> order(weights.size());
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(), [&](size_t a, size_t b) { return weights[a] > weights[b]; });
    return order;
  }
  void count(const State &state, int by) {
    if (!state) return;
    const auto holding = state->find(lane_.domain.zone);
    const Holding held = holding == state->end() ? Holding() : holding->second;
    size_t &counted = held.bsr.isZero() ? step_.withoutBsr : having(held.bsr);
    counted += by;
    if (!held.hasRps) step_.withoutRp += by;
  }
  size_t &having(const Pax::IpGenAddr &bsr) {
    const auto place = std::find(lane_.bsrs.begin(), lane_.bsrs.end(), bsr) - lane_.bsrs.begin();
    if (place == std::ssize(lane_.bsrs)) {
      lane_.bsrs.push_back(bsr);
      step_.having.push_back(0);
    }
    return step_.having[place];
  }

  Lane lane_;
  const double end_;
  Lane::Step step_;
};

std::vector<Lane> HeldHistory::lanes() const {
  std::map<Domain, std::vector<Node>> members;
  for (const Change &change : changes_) {
    if (!change.state) continue;
    const Pax::IpGenPrefix all = Pax::allGroups(legend_.plan().family);
    if (legend_.belongs(change.node, all)) members[legend_.domainOf(change.node, all)];
    for (const auto &[zone, holding] : *change.state) members[legend_.domainOf(change.node, zone)];
  }
  for (const Node &node : legend_.plan().nodes()) {
    for (auto &[domain, nodes] : members) {
      const bool isIts = legend_.domainOf(node, domain.zone) == domain && legend_.belongs(node, domain.zone);
      if (isIts) nodes.push_back(node);
    }
  }
  std::vector<Lane> lanes;
  for (const auto &[domain, nodes] : members) {
    Counting counting(domain, nodes.size(), simulation_.now());
    std::vector<std::vector<State>> states(last_.size());
    for (size_t router = 0; router < last_.size(); ++router) states[router].resize(last_[router].size());
    for (const Change &change : changes_) {
      if (legend_.domainOf(change.node, domain.zone).vrf != domain.vrf) continue;
      if (!legend_.belongs(change.node, domain.zone)) continue;
      State &state = states[change.node.router][change.node.vrf];
      counting.change(change.time, state, change.state);
      state = change.state;
    }
    lanes.push_back(std::move(counting).lane());
  }
  return lanes;
}

}  // namespace Planning
