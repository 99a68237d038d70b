#include "plan/Naming.h"

#include <cmath>
#include <cstdio>

#include "platform/kiv/Value.h"

namespace Planning {

Naming::Naming(const Plan &plan) : plan_(plan) {
  const auto add = [&](const Router &router, const Vrf &vrf, const Sim::IntfAddress &address) {
    for (const std::string &where : {vrf.name, std::string()}) {
      const auto [known, isNew] = routers_.try_emplace({address.address, where}, router.name);
      if (!isNew && known->second != router.name) known->second.clear();
    }
  };
  for (const Router &router : plan.routers) {
    for (const Vrf &vrf : router.vrfs) {
      for (const Interface &interface : vrf.interfaces) {
        for (const Sim::IntfAddress &each : interface.addresses) add(router, vrf, each);
      }
    }
  }
  for (const Action &action : plan.story) {
    const Router &router = plan.routers[action.router];
    if (action.verb == Verb::addAddress) add(router, router.vrfs[action.vrf], action.address);
  }
}

std::string Naming::routerWith(const Pax::IpGenAddr &address, const std::string &vrf) const {
  auto router = routers_.find({address, vrf});
  if (router == routers_.end()) router = routers_.find({address, ""});
  return router == routers_.end() ? "" : router->second;
}

std::string Naming::textOf(const Pax::IpGenAddr &address, const std::string &vrf) const {
  if (address.isZero()) return "none";
  const std::string router = routerWith(address, vrf);
  return router.empty() ? Kiv::toText(address) : router + " (" + Kiv::toText(address) + ")";
}

std::string Naming::listOf(const std::vector<Node> &nodes, size_t most) const {
  const size_t named = nodes.size() <= most + 1 ? nodes.size() : most;
  std::string list;
  for (size_t i = 0; i < named; ++i) {
    const bool isLast = i + 1 == nodes.size();
    if (i > 0) list += isLast ? " and " : ", ";
    list += nameOf(nodes[i]);
  }
  if (named < nodes.size()) list.append(" and ").append(std::to_string(nodes.size() - named)).append(" others");
  return list;
}

std::string Naming::pastOf(const std::vector<const Action *> &actions) const {
  if (actions.empty()) return "the start";
  if (actions.size() == 1) return pastOf(*actions.front());
  const std::string first = pastOf(*actions.front());
  if (actions.size() == 2) return first + " and " + pastOf(*actions.back());
  return first + " and " + std::to_string(actions.size() - 1) + " other things happened";
}

std::string Naming::pastOf(const Action &action) const {
  const std::string link = "link " + plan_.links[action.link].name;
  const std::string &router = plan_.routers[action.router].name;
  const Vrf &vrf = plan_.routers[action.router].vrfs[action.vrf];
  const std::string interface = nameOf({action.router, action.vrf}) + ":" + vrf.interfaces[action.interface].name;
  switch (action.verb) {
    case Verb::cut: return link + " was cut";
    case Verb::heal: return link + " was healed";
    case Verb::change: return link + " was changed";
    case Verb::start: return "the agent of " + router + " started";
    case Verb::stop: return "the agent of " + router + " stopped";
    case Verb::crash: return "the agent of " + router + " crashed";
    case Verb::powerOff: return router + " lost power";
    case Verb::powerOn: return router + " got power again";
    case Verb::reload: return router + " loaded another configuration";
    case Verb::standby: return router + " was put on standby";
    case Verb::active: return router + " was made active";
    case Verb::down: return interface + " went down";
    case Verb::up: return interface + " came up";
    case Verb::addAddress: return interface + " got " + Kiv::toText(action.address.address);
    case Verb::removeAddress: return interface + " lost " + Kiv::toText(action.address.address);
  }
  return action.text;
}

namespace {

std::string withDecimals(double seconds, int decimals) {
  char text[32];
  std::snprintf(text, sizeof text, "%.*f", decimals, seconds);
  std::string trimmed = text;
  trimmed.erase(trimmed.find_last_not_of('0') + 1);
  if (trimmed.back() == '.') trimmed.pop_back();
  return trimmed;
}

}  // namespace

std::string counted(size_t number, const std::string &what, const std::string &several) {
  return std::to_string(number) + " " + (number == 1 ? what : several.empty() ? what + "s" : several);
}

std::string briefSeconds(double seconds) { return withDecimals(seconds, seconds < 1 ? 3 : 1); }
std::string exactSeconds(double seconds) { return withDecimals(seconds, 3); }
double roundedSeconds(double seconds) { return std::round(seconds * 1e6) / 1e6; }

}  // namespace Planning
