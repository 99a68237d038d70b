#include "plan/Naming.h"

#include <cstdio>

#include "platform/kiv/Value.h"

namespace Planning {

Naming::Naming(const Plan &plan) : plan_(plan) {
  for (const Router &router : plan.routers) {
    for (const Vrf &vrf : router.vrfs) {
      for (const Interface &interface : vrf.interfaces) {
        for (const Sim::IntfAddress &each : interface.addresses) {
          const auto [known, isNew] = routers_.try_emplace(each.address, router.name);
          if (!isNew && known->second != router.name) known->second.clear();
        }
      }
    }
  }
}

std::string Naming::routerWith(const Pax::IpGenAddr &address) const {
  const auto router = routers_.find(address);
  return router == routers_.end() ? "" : router->second;
}

std::string Naming::textOf(const Pax::IpGenAddr &address) const {
  if (address.isZero()) return "none";
  const std::string router = routerWith(address);
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

std::string briefSeconds(double seconds) { return withDecimals(seconds, seconds < 1 ? 3 : 1); }
std::string exactSeconds(double seconds) { return withDecimals(seconds, 3); }

}  // namespace Planning
