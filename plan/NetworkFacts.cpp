#include "plan/NetworkFacts.h"

#include <algorithm>

namespace Planning {

using State = NodeFacts::State;

namespace {

State stateOf(const Box &box, size_t vrf) {
  if (!box.hasPower()) return State::off;
  if (!box.runs()) return State::stopped;
  if (!box.runsIn(vrf)) return State::absent;
  return box.standsBy() ? State::standsBy : State::runs;
}

template <class Predicate>
bool anyOf(const std::map<Pax::IpGenPrefix, ZoneFacts> &zones, Predicate predicate) {
  return std::any_of(zones.begin(), zones.end(), [&](const auto &zone) { return predicate(zone.second); });
}

}  // namespace

bool NodeFacts::elected() const {
  return anyOf(zones, [](const ZoneFacts &zone) { return zone.elected; });
}

bool NodeFacts::candidateBsr() const {
  return anyOf(zones, [](const ZoneFacts &zone) { return zone.candidate; });
}

bool NodeFacts::rp() const {
  return anyOf(zones, [](const ZoneFacts &zone) { return zone.rp; });
}

size_t DomainFacts::rankOf(const Pax::IpGenAddr &bsr) const {
  const size_t routers = routersByBsr.at(bsr);
  const auto isBefore = [&](const auto &other) {
    return other.second > routers || (other.second == routers && other.first < bsr);
  };
  return 1 + static_cast<size_t>(std::count_if(routersByBsr.begin(), routersByBsr.end(), isBefore));
}

NetworkFacts::NetworkFacts(const Simulation &simulation, Legend &legend) {
  const Plan &plan = simulation.plan();
  for (const Router &router : plan.routers) nodes.emplace_back(router.vrfs.size());
  for (const Node &node : plan.nodes()) findNode(simulation, legend, node);
  for (const Node &node : plan.nodes()) count(legend, node);
  for (const Node &node : plan.nodes()) {
    const Sim::Router &router = simulation.box(node.router).vrf(node.vrf);
    for (auto &[zone, facts] : nodes[node.router][node.vrf].zones) {
      const std::set<Pax::IpGenAddr> &rps = domains.at(legend.domainOf(node, zone)).rps;
      facts.rp = std::any_of(rps.begin(), rps.end(), [&](const Pax::IpGenAddr &rp) { return router.owns(rp); });
    }
  }
}

void NetworkFacts::findNode(const Simulation &simulation, Legend &legend, const Node &node) {
  const Box &box = simulation.box(node.router);
  NodeFacts &facts = nodes[node.router][node.vrf];
  facts.state = stateOf(box, node.vrf);
  const auto status = box.status(node.vrf);
  if (status) {
    for (const auto &[zone, border] : status->bsBorder()) legend.letterOf(zone);
  }
  if (facts.state != State::runs || !status) return;
  facts.candidateRp = !status->crp().empty();
  for (const auto &[zone, held] : simulation.held(node)) {
    legend.joins(node, zone);
    facts.zones[zone] = {held.bsr, held.elected, false, held.rps > 0, false};
  }
  for (const auto &[zone, candidate] : status->cbsr()) {
    legend.joins(node, zone);
    facts.zones[zone].candidate = true;
  }
  for (const auto &[zone, known] : facts.zones) legend.letterOf(zone);
  findRps(simulation, legend, node);
}

void NetworkFacts::findRps(const Simulation &simulation, const Legend &legend, const Node &node) {
  for (const auto &[zone, held] : simulation.held(node)) {
    const Domain domain = legend.domainOf(node, zone);
    if (held.rps == 0 || !known_.emplace(domain, held.digest).second) continue;
    domains[domain].rps.merge(simulation.box(node.router).rps(node.vrf, zone));
  }
}

void NetworkFacts::count(const Legend &legend, const Node &node) {
  NodeFacts &facts = nodes[node.router][node.vrf];
  if (facts.state != State::runs) return;
  const Pax::IpGenPrefix all = Pax::allGroups(legend.plan().family);
  if (legend.belongs(node, all)) domains[legend.domainOf(node, all)];
  for (const auto &[zone, known] : facts.zones) domains[legend.domainOf(node, zone)];
  for (auto &[domain, counted] : domains) {
    if (legend.domainOf(node, domain.zone) != domain || !legend.belongs(node, domain.zone)) continue;
    const ZoneFacts &zone = facts.zones[domain.zone];
    ++counted.running;
    zone.bsr.isZero() ? ++counted.withoutBsr : ++counted.routersByBsr[zone.bsr];
    if (!zone.hasRps) ++counted.withoutRp;
  }
}

}  // namespace Planning
