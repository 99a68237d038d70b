#include <algorithm>

#include "daemon/file/JsonText.h"
#include "plan/Resolver.h"
#include "plan/Subnets.h"

namespace Planning {

using Kiv::toText;
using Pax::IpGenAddr;
using Pax::IpGenPrefix;
using Routing::Pim::Bsr::pathTo;

void Resolver::refuseFirstAndLast(const Sim::IntfAddress &address, const std::string &path) {
  if (!isFirstOrLast(address.address, address.subnet)) return;
  const bool isFirst = address.address == address.subnet.address();
  ++addressFaults_;
  error(path, toText(address.address) + " is the " + (isFirst ? "first" : "last") + " address of " +
                  toText(address.subnet) + ", which no interface can have");
}

void Resolver::findSharedAddresses() {
  struct Owner {
    std::string name;
    bool isHost;
    size_t router;
  };
  std::map<std::pair<std::string, IpGenAddr>, Owner> owners;
  for (size_t router = 0; router < plan_.routers.size(); ++router) {
    for (const Vrf &vrf : plan_.routers[router].vrfs) {
      for (const Interface &interface : vrf.interfaces) {
        const std::string &routerName = plan_.routers[router].name;
        const std::string name = nodeName(routerName, vrf.name) + ":" + interface.name;
        for (const Sim::IntfAddress &each : interface.addresses) {
          if (each.address.isLinkLocal()) continue;
          const bool isHost = each.subnet == IpGenPrefix::host(each.address);
          const auto [owner, isNew] = owners.try_emplace({vrf.name, each.address}, Owner{name, isHost, router});
          if (isNew) continue;
          const std::string message =
              toText(each.address) + " of " + name + " is an address of " + owner->second.name + ", too";
          const std::string path = pathTo("/routers", routerName);
          const bool isAnycast = isHost && owner->second.isHost && owner->second.router != router;
          isAnycast ? findings_.warning(path, message + ": the nearest of them is reached") : error(path, message);
        }
      }
    }
  }
}

// Of those that share none with the first end that has an address.
void Resolver::warnOfOtherSubnets(const Link &link) {
  const auto subnetsOf = [&](const Member &member) {
    std::vector<IpGenPrefix> subnets;
    for (const auto &each : plan_.routers[member.router].vrfs[member.vrf].interfaces[member.interface].addresses) {
      if (!each.address.isLinkLocal()) subnets.push_back(each.subnet);
    }
    return subnets;
  };
  std::vector<IpGenPrefix> first;
  std::string whose;
  for (const Member &member : link.members) {
    const std::vector<IpGenPrefix> subnets = subnetsOf(member);
    const std::string &name = plan_.routers[member.router].name;
    if (first.empty()) {
      first = subnets;
      whose = name;
    }
    const bool isCommon = std::any_of(subnets.begin(), subnets.end(), [&](const IpGenPrefix &subnet) {
      return std::any_of(first.begin(), first.end(), [&](const IpGenPrefix &other) { return overlap(subnet, other); });
    });
    if (subnets.empty() || isCommon) continue;
    findings_.warning(pathOfLink(linkByName_.at(link.name)), std::string(name)
                                                                 .append(" is in ")
                                                                 .append(toText(subnets.front()))
                                                                 .append(" there, and ")
                                                                 .append(whose)
                                                                 .append(" in ")
                                                                 .append(toText(first.front()))
                                                                 .append(": they have no subnet in common"));
  }
}

}  // namespace Planning
