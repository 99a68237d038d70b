#include <algorithm>

#include "daemon/file/JsonText.h"
#include "plan/Resolver.h"
#include "plan/Subnets.h"

namespace Planning {

using Kiv::toText;
using Pax::IpGenAddr;
using Pax::IpGenPrefix;
using Routing::Pim::Bsr::pathTo;

namespace {

bool isOfInterfaces(const IpGenAddr &address) {
  const bool isReserved = address.af() == Pax::AddressFamily::ipv4 && address.v4() >> 28 == 0xf;  // RFC 1112 section 4
  return !isReserved && !address.isMulticast() && !address.isZero() && !address.isLoopback();
}

}  // namespace

std::optional<Sim::IntfAddress> Resolver::addressFrom(const std::string &text, const std::string &path) {
  try {
    const size_t slash = text.find('/');
    const IpGenAddr address = IpGenAddr::fromText(text.substr(0, slash));
    IpGenPrefix subnet = address.isLinkLocal() ? IpGenPrefix(address, 64) : IpGenPrefix::host(address);
    if (slash != std::string::npos) {
      const int length = std::stoi(text.substr(slash + 1));
      if (length < 1 || length > Pax::addressBits(address.af())) throw Kiv::RangeError("has no such length");
      subnet = IpGenPrefix(address, static_cast<uint8_t>(length));
    }
    if (address.af() != plan_.family || !isOfInterfaces(address)) {
      throw Kiv::RangeError("is no address that an interface can have in this plan");
    }
    takenSubnets_.insert(subnet);
    return Sim::IntfAddress{address, subnet};
  } catch (const Kiv::RangeError &fault) {
    ++addressFaults_;
    error(path, text + ": " + fault.what());
    return std::nullopt;
  }
}

void Resolver::refuseFirstAndLast(const Sim::IntfAddress &address, const std::string &path) {
  if (!isFirstOrLast(address.address, address.subnet)) return;
  const bool isFirst = address.address == address.subnet.address();
  ++addressFaults_;
  error(path, toText(address.address) + " is the " + (isFirst ? "first" : "last") + " address of " +
                  toText(address.subnet) + ", which no interface can have");
}

// Each fault of a link's subnet once.
void Resolver::findSharedAddresses() {
  struct Owner {
    std::string name;
    bool isHost;
    size_t router;
  };
  std::map<std::pair<std::string, IpGenAddr>, Owner> owners;
  std::set<std::string> told;
  const auto take = [&](const Sim::IntfAddress &each, const Node &node, const Interface &interface) {
    const std::string &router = plan_.routers[node.router].name;
    const std::string &vrf = plan_.routers[node.router].vrfs[node.vrf].name;
    const std::string name = nameOf(node, interface);
    const bool isHost = each.subnet == IpGenPrefix::host(each.address);
    const auto [owner, isNew] = owners.try_emplace({vrf, each.address}, Owner{name, isHost, node.router});
    if (isNew) return;
    const std::string message =
        toText(each.address) + " of " + name + " is an address of " + owner->second.name + ", too";
    const std::string path = placeOf(each, interface, router);
    const bool isAnycast = isHost && owner->second.isHost && owner->second.router != node.router;
    if (isAnycast) return findings_.warning(path, message + ": the nearest of them is reached");
    if (told.insert(path).second || path == pathTo("/routers", router)) error(path, message);
  };
  for (const Node &node : plan_.nodes()) {
    for (const Interface &interface : plan_.routers[node.router].vrfs[node.vrf].interfaces) {
      for (const Sim::IntfAddress &each : interface.addresses) {
        if (!each.address.isLinkLocal()) take(each, node, interface);
      }
    }
  }
}

// What gave the interface the address.
std::string Resolver::placeOf(const Sim::IntfAddress &address, const Interface &interface,
                              const std::string &router) const {
  const bool isOfSubnet = interface.link && givenOfSubnet_.contains({*interface.link, address.address});
  return isOfSubnet ? pathOfLink(*interface.link) + "/subnet" : pathTo("/routers", router);
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
