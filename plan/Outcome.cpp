#include "plan/Outcome.h"

#include <algorithm>
#include <array>
#include <map>

#include "platform/kiv/Value.h"

namespace Planning {

namespace {

Spread spreadOf(std::vector<double> seconds, const std::vector<size_t> &nodes, const Account &account,
                const Plan &plan) {
  Spread spread;
  if (seconds.empty()) return spread;
  const auto most = std::max_element(seconds.begin(), seconds.end());
  spread.most = *most;
  if (*most > 0) {
    spread.which = plan.nameOf(account.nodes()[nodes[static_cast<size_t>(most - seconds.begin())]]);
  }
  std::sort(seconds.begin(), seconds.end());
  const size_t half = seconds.size() / 2;
  spread.least = seconds.front();
  spread.median = seconds.size() % 2 == 1 ? seconds[half] : (seconds[half - 1] + seconds[half]) / 2;
  spread.nodes = static_cast<size_t>(seconds.end() - std::upper_bound(seconds.begin(), seconds.end(), 0.));
  return spread;
}

// What happened to each node, of which every episode takes its part.
struct NodeSpans {
  size_t node;
  Spans counted;
  std::array<Spans, 3> outages;
};

std::vector<NodeSpans> spansOf(const Domain &domain, const Account &account) {
  const ZoneAccount &zone = *account.zone(domain.zone);
  std::vector<NodeSpans> all;
  for (const size_t node : account.nodesIn(domain.vrf)) {
    NodeSpans spans{node, zone.counted(node), {}};
    if (spans.counted.all().empty()) continue;
    for (size_t outage = 0; outage < spans.outages.size(); ++outage) {
      spans.outages[outage] = zone.of(static_cast<Outage>(outage), node);
    }
    all.push_back(std::move(spans));
  }
  return all;
}

ZoneFigures figuresOf(const Domain &domain, const std::vector<NodeSpans> &all, const Episode &episode,
                      const Account &account, const Plan &plan) {
  ZoneFigures figures{.domain = domain, .withoutBsr = {}, .withoutRp = {}, .disagreed = {}, .agreedAfter = {}};
  std::vector<size_t> nodes;
  std::array<std::vector<double>, 3> seconds;
  for (const NodeSpans &spans : all) {
    if (spans.counted.within(episode.begin, episode.end).all().empty()) continue;
    nodes.push_back(spans.node);
    for (size_t outage = 0; outage < seconds.size(); ++outage) {
      seconds[outage].push_back(spans.outages[outage].within(episode.begin, episode.end).sum());
    }
  }
  figures.nodes = nodes.size();
  const std::array spreads{&figures.withoutBsr, &figures.withoutRp, &figures.disagreed};  // in the order of Outage
  for (size_t outage = 0; outage < seconds.size(); ++outage) {
    *spreads[outage] = spreadOf(std::move(seconds[outage]), nodes, account, plan);
  }
  const Spans disagreement = account.disagreement(domain).within(episode.begin, episode.end);
  const double agreedAt = disagreement.all().empty() ? episode.begin : disagreement.all().back().to;
  if (agreedAt < episode.end || disagreement.all().empty()) figures.agreedAfter = agreedAt - episode.begin;
  return figures;
}

std::string textOf(const std::vector<const Action *> &actions) {
  if (actions.empty()) return "beginning";
  std::string text;
  for (const Action *action : actions) text.append(text.empty() ? "" : "; ").append(action->text);
  return text;
}

void addBsrs(const Simulation &simulation, const Account &account, std::vector<BsrAtEnd> &bsrs) {
  const Naming naming(simulation.plan());
  for (const Domain &domain : account.domains()) {
    std::map<Pax::IpGenAddr, size_t> count;
    for (const size_t node : account.counting(domain)) {
      const HeldByZone &held = simulation.held(account.nodes()[node]);
      const auto each = held.find(domain.zone);
      ++count[each == held.end() ? Pax::IpGenAddr() : each->second.bsr];
    }
    const auto first = static_cast<std::ptrdiff_t>(bsrs.size());
    for (const auto &[address, nodes] : count) {
      const bool isNone = address.isZero();
      bsrs.push_back(
          {domain, isNone ? "" : Kiv::toText(address), isNone ? "" : naming.routerWith(address, domain.vrf), nodes});
    }
    std::stable_sort(bsrs.begin() + first, bsrs.end(),
                     [](const BsrAtEnd &a, const BsrAtEnd &b) { return a.nodes > b.nodes; });
  }
}

}  // namespace

bool Outcome::holds() const {
  return std::all_of(verdicts.begin(), verdicts.end(), [](const Verdict &verdict) { return verdict.holds; });
}

Outcome outcomeOf(uint64_t seed, const Simulation &simulation, const Account &account, const Judge &judge) {
  Outcome outcome;
  outcome.seed = seed;
  outcome.verdicts = judge.verdicts();
  const std::vector<Episode> episodes = account.episodes();
  for (const Episode &episode : episodes) {
    outcome.episodes.push_back({episode.begin, episode.end, textOf(episode.actions), {}});
  }
  for (const Domain &domain : account.domains()) {
    const std::vector<NodeSpans> spans = spansOf(domain, account);
    if (spans.empty()) continue;
    for (size_t i = 0; i < episodes.size(); ++i) {
      if (episodes[i].begin == episodes[i].end) continue;  // nobody knows what has come of it
      ZoneFigures figures = figuresOf(domain, spans, episodes[i], account, simulation.plan());
      if (figures.nodes > 0) outcome.episodes[i].zones.push_back(std::move(figures));
    }
  }
  addBsrs(simulation, account, outcome.bsrs);
  return outcome;
}

Outcome play(const Plan &plan, uint64_t seed) {
  Simulation simulation(plan, seed);
  Account account(simulation);
  const Judge judge(simulation, account);
  simulation.runTo(plan.duration);
  return outcomeOf(seed, simulation, account, judge);
}

}  // namespace Planning
