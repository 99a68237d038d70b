#include "plan/Simulation.h"

#include <functional>
#include <numeric>

#include "platform/sim/Intf.h"

namespace Planning {

namespace {

Pax::IntfId intfIdOf(const Vrf &vrf, size_t interface) { return {vrf.name, vrf.interfaces[interface].name}; }

}  // namespace

// Waits behind everything that happens at this time: until nothing has happened between two of its turns.
class Simulation::InstantEnd : public Sim::Event {
 public:
  explicit InstantEnd(Simulation &simulation)
      : Event(simulation.network_.time()), simulation_(simulation), time_(simulation.network_.time()) {}
  void awaited() {
    if (!scheduled()) time_.schedule(*this, time_.now());
  }

 private:
  void happen() override {
    const bool isOver = time_.happened() == lastTurn_ + 1;
    lastTurn_ = time_.happened();
    if (!isOver) return awaited();
    for (Observer *observer : simulation_.observers_) observer->handleInstant();
  }

  Simulation &simulation_;
  Sim::VirtualTime &time_;
  uint64_t lastTurn_ = 0;
};

Simulation::Simulation(const Plan &plan, uint64_t seed) : plan_(plan), network_(plan.family, seed) {
  instantEnd_ = std::make_unique<InstantEnd>(*this);
  for (const Router &router : plan.routers) held_.emplace_back(router.vrfs.size());
  for (size_t i = 0; i < plan.routers.size(); ++i) {
    boxes_.push_back(std::make_unique<Box>(network_, plan.routers[i], [this, i](size_t vrf) { settled(i, vrf); }));
    listenings_.push_back(boxes_.back()->log().listen([this, i](const Routing::Pim::Bsr::Event &event) {
      for (Observer *observer : observers_) observer->handleEvent(i, event);
    }));
  }
  joinLinks();
  for (size_t i = 0; i < plan.routers.size(); ++i) {
    if (!plan.routers[i].start) continue;
    network_.time().at(Sim::VirtualTime::start + *plan.routers[i].start, [this, i] { start(i); });
  }
  for (const Action &action : plan.story) {
    network_.time().at(Sim::VirtualTime::start + action.at, [this, &action] { act(action); });
  }
}

Simulation::~Simulation() { observers_.clear(); }

void Simulation::lookAt(double time) {
  network_.time().at(Sim::VirtualTime::start + time, [this] { instantEnd_->awaited(); });
}

void Simulation::start(size_t router) {
  boxes_[router]->start();
  reachChanged();
}

void Simulation::reachChanged() {
  for (Observer *observer : observers_) observer->handleReach();
  instantEnd_->awaited();
}

void Simulation::joinLinks() {
  for (const Link &link : plan_.links) {
    Sim::Link &joined = network_.linkIs(link.name, link.parameters);
    for (const Member &member : link.members) {
      const Interface &interface = plan_.routers[member.router].vrfs[member.vrf].interfaces[member.interface];
      boxes_[member.router]->vrf(member.vrf).join(joined, {interface.name, interface.addresses});
    }
  }
}

void Simulation::act(const Action &action) {
  for (Observer *observer : observers_) observer->handleBefore(action);
  Box &box = *boxes_[action.router];
  switch (action.verb) {
    case Verb::cut: link(action.link).cut(); break;
    case Verb::heal: link(action.link).heal(); break;
    case Verb::change: link(action.link).parametersIs(action.parameters); break;
    case Verb::start: box.start(); break;
    case Verb::stop: box.stop(); break;
    case Verb::crash: box.crash(); break;
    case Verb::powerOff: box.powerOff(); break;
    case Verb::powerOn: box.powerOn(); break;
    case Verb::reload: box.configurationIs(action.configuration); break;
    case Verb::standby: box.standbyIs(true); break;
    case Verb::active: box.standbyIs(false); break;
    default: actOnInterface(action); break;
  }
  for (Observer *observer : observers_) observer->handleAction(action);
  reachChanged();
  if (action.verb < Verb::start) return;
  for (size_t vrf = 0; vrf < held_[action.router].size(); ++vrf) settled(action.router, vrf);
}

void Simulation::actOnInterface(const Action &action) {
  const Vrf &vrf = plan_.routers[action.router].vrfs[action.vrf];
  const Pax::IntfId intfId = intfIdOf(vrf, action.interface);
  Sim::Router &router = boxes_[action.router]->vrf(action.vrf);
  Sim::Intf *intf = router.intf(intfId);
  const bool comes = action.verb == Verb::up || action.verb == Verb::addAddress;
  if (action.verb == Verb::up || action.verb == Verb::down) {
    intf ? intf->upIs(comes) : router.stubUpIs(std::string(intfId.name()), comes);
  } else if (intf) {
    comes ? intf->addressIs(action.address) : intf->addressDel(action.address.address);
  } else {
    const std::string stub(intfId.name());
    comes ? router.addressIs(action.address.address, stub) : router.addressDel(action.address.address, stub);
  }
}

void Simulation::settled(size_t router, size_t vrf) {
  HeldByZone held = boxes_[router]->held(vrf);
  if (held_[router][vrf] == held) return;
  held_[router][vrf] = std::move(held);
  for (Observer *observer : observers_) observer->handleHeld({router, vrf});
  instantEnd_->awaited();
}

bool Simulation::hears(const Member &member, const Pax::IpGenPrefix &zone) const {
  const Box &box = *boxes_[member.router];
  const Pax::IntfId intfId = intfIdOf(plan_.routers[member.router].vrfs[member.vrf], member.interface);
  return box.vrf(member.vrf).intf(intfId)->isUp() && box.hears(member.vrf, intfId, zone);
}

std::vector<std::vector<std::optional<size_t>>> Simulation::regions(const Pax::IpGenPrefix &zone) const {
  std::vector<size_t> first;  // of the nodes of a router, in the list of all
  std::vector<size_t> parent;
  for (const Router &router : plan_.routers) {
    first.push_back(parent.size());
    for (size_t vrf = 0; vrf < router.vrfs.size(); ++vrf) parent.push_back(parent.size());
  }
  const auto root = [&](size_t node) {
    while (parent[node] != node) node = parent[node] = parent[parent[node]];
    return node;
  };
  for (size_t i = 0; i < plan_.links.size(); ++i) {
    if (link(i).isCut()) continue;
    std::optional<size_t> one;
    for (const Member &member : plan_.links[i].members) {
      if (!hears(member, zone)) continue;
      const size_t node = root(first[member.router] + member.vrf);
      one = one ? parent[node] = root(*one) : node;
    }
  }
  std::vector<std::vector<std::optional<size_t>>> regions;
  for (size_t router = 0; router < plan_.routers.size(); ++router) {
    auto &numbers = regions.emplace_back(plan_.routers[router].vrfs.size());
    if (boxes_[router]->standsBy()) continue;
    for (size_t vrf = 0; vrf < numbers.size(); ++vrf) {
      if (boxes_[router]->runsIn(vrf)) numbers[vrf] = root(first[router] + vrf);
    }
  }
  return regions;
}

}  // namespace Planning
