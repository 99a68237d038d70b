#include <algorithm>

#include "daemon/file/JsonText.h"
#include "plan/Resolver.h"
#include "plan/Subnets.h"
#include "platform/sim/Addresses.h"

namespace Planning {

using Kiv::toText;
using Pax::IpGenAddr;
using Pax::IpGenPrefix;
using Routing::Pim::Bsr::joined;
using Routing::Pim::Bsr::pathTo;

namespace {

// "r1", or "r1/blue" in another VRF.
std::vector<std::string> endsOf(const LinkText &link, const char *separator) {
  std::vector<std::string> ends;
  for (const std::string &member : link.between) {
    const MemberName name = memberNameFrom(member);
    ends.push_back(name.router + (name.vrf == "default" ? "" : separator + name.vrf));
  }
  return ends;
}

}  // namespace

bool Resolver::resolveNetwork() {
  const size_t errors = findings_.errors.size();
  routersFromNames();
  resolveRouters();
  for (size_t i = 0; i < text_.links.size(); ++i) resolveLink(i);
  const bool areRead = !refused_.hasNames() && findings_.errors.size() - errors == addressFaults_;
  if (plan_.routers.empty() && areRead) error("", "there are no routers");
  const bool isKnown = areRead && !plan_.routers.empty();
  giveAddresses();
  findSharedAddresses();
  for (const Link &link : plan_.links) warnOfOtherSubnets(link);
  if (isKnown) warnOfLoners();
  addressesKnown_ = findings_.errors.size() == errors && !refused_.has("/routers") && !refused_.has("/links");
  return isKnown;
}

void Resolver::resolveRouters() {
  for (const auto &[name, router] : text_.routers) {
    const std::string path = pathTo("/routers", name);
    Router &resolved = plan_.routers[routerByName_.at(name)];
    if (!router.runs && router.start > 0) error(path + "/start", "is of no use where the agent is off; give an event");
    resolveInterfaces(resolved, "default", router.interfaces, path + "/interfaces");
    for (const auto &[vrf, interfaces] : router.vrfs) {
      if (vrf == "default") {
        error(pathTo(path + "/vrfs", vrf), "is the VRF of the router's own \"interfaces\"");
      } else {
        resolveInterfaces(resolved, vrf, interfaces.interfaces, pathTo(path + "/vrfs", vrf) + "/interfaces");
      }
    }
  }
}

void Resolver::routersFromNames() {
  for (const auto &[name, router] : text_.routers) routerByName_[name];
  for (const LinkText &link : text_.links) {
    for (const std::string &member : link.between) {
      if (text_.routers.empty()) routerByName_[memberNameFrom(member).router];
    }
  }
  for (auto &[name, place] : routerByName_) {
    place = plan_.routers.size();
    Router &router = plan_.routers.emplace_back();
    router.name = name;
    vrfOf(router, "default");
    const auto written = text_.routers.find(name);
    if (written == text_.routers.end()) {
      router.start = 0;
    } else if (written->second.runs) {
      router.start = written->second.start;
    }
  }
}

Vrf &Resolver::vrfOf(Router &router, const std::string &name) {
  const auto found = std::find_if(router.vrfs.begin(), router.vrfs.end(), [&](Vrf &vrf) { return vrf.name == name; });
  if (found != router.vrfs.end()) return *found;
  Vrf &vrf = router.vrfs.emplace_back(Vrf{name, {}});
  interfaceOf(vrf, "lo");
  return vrf;
}

Interface &Resolver::interfaceOf(Vrf &vrf, const std::string &name) {
  const auto found = std::find_if(vrf.interfaces.begin(), vrf.interfaces.end(),
                                  [&](Interface &interface) { return interface.name == name; });
  if (found != vrf.interfaces.end()) return *found;
  return vrf.interfaces.emplace_back(Interface{name, {}, std::nullopt});
}

void Resolver::resolveInterfaces(Router &router, const std::string &vrf,
                                 const std::map<std::string, InterfaceText> &texts, const std::string &path) {
  Vrf &resolved = vrfOf(router, vrf);
  for (const auto &[name, interface] : texts) {
    const std::string at = pathTo(path, name) + "/addresses";
    Interface &known = interfaceOf(resolved, name);
    if (refused_.has(at)) continue;
    for (size_t i = 0; i < interface.addresses.size(); ++i) {
      const auto address = addressFrom(interface.addresses[i], pathTo(at, std::to_string(i)));
      if (!address) continue;
      refuseFirstAndLast(*address, at);
      known.addresses.push_back(*address);
    }
  }
}

std::string Resolver::pathOfLink(size_t link) { return pathTo("/links", std::to_string(link)); }

std::string Resolver::nameOfLink(const LinkText &text, const std::string &path) {
  if (!text.name.empty()) {
    if (linkByName_.contains(text.name)) error(path + "/name", "there are two links of the name " + text.name);
    return text.name;
  }
  if (text.between.size() < 2) return "";
  std::string name = joined(endsOf(text, "."), "-");
  const auto other = linkByName_.find(name);
  if (other == linkByName_.end()) return name;
  const std::vector<std::string> ends = endsOf(text, "/"), others = endsOf(text_.links[other->second], "/");
  if (ends == others) {
    error(path, "is a second link between " + joined(ends, " and ") + "; give it a name");
  } else {
    error(path,
          "would have the name " + name + ", as the link between " + joined(others, " and ") + "; give it another");
  }
  return name;
}

void Resolver::resolveLink(size_t place) {
  const LinkText &text = text_.links[place];
  const std::string path = pathOfLink(place);
  if (refused_.hasNames(path)) {
    plan_.links.emplace_back();  // so that the others have their places
    return;
  }
  if (text.between.size() < 2) error(path + "/between", "a link has two ends or more");
  Link link{nameOfLink(text, path), {}, text.parameters};
  for (size_t i = 0; i < text.between.size(); ++i) {
    const std::string at = pathTo(path + "/between", std::to_string(i));
    const auto member = memberFrom(text.between[i], at, place);
    if (!member) continue;
    const auto isHere = [&](const Member &other) { return other.router == member->router && other.vrf == member->vrf; };
    if (std::any_of(link.members.begin(), link.members.end(), isHere)) {
      error(at, text.between[i] + " is on this link twice");
    } else {
      link.members.push_back(*member);
    }
  }
  linkByName_[link.name] = place;
  plan_.links.push_back(std::move(link));
}

std::optional<Member> Resolver::memberFrom(const std::string &text, const std::string &path, size_t link) {
  const MemberName name = memberNameFrom(text);
  const auto router = routerFrom(name.router, path);
  if (!router) return std::nullopt;
  Router &resolved = plan_.routers[*router];
  Vrf &vrf = vrfOf(resolved, name.vrf);
  const auto isThere = [&](const std::string &wanted) {
    return std::any_of(vrf.interfaces.begin(), vrf.interfaces.end(),
                       [&](const Interface &interface) { return interface.name == wanted && interface.link; });
  };
  std::string wanted = name.interface;
  for (size_t i = 0; wanted.empty(); ++i) {
    std::string next = "eth";
    next.append(std::to_string(i));
    if (!isThere(next)) wanted = next;
  }
  if (wanted == "lo" || isThere(wanted)) {
    error(path, wanted == "lo" ? "lo has no link" : text + " is on another link already");
    return std::nullopt;
  }
  Interface &interface = interfaceOf(vrf, wanted);
  interface.link = link;
  return Member{*router, static_cast<size_t>(&vrf - resolved.vrfs.data()),
                static_cast<size_t>(&interface - vrf.interfaces.data())};
}

void Resolver::giveAddresses() {
  for (size_t link = 0; link < plan_.links.size(); ++link) giveAddresses(link);
  for (size_t router = 0; router < plan_.routers.size(); ++router) {
    for (Vrf &vrf : plan_.routers[router].vrfs) giveLoopback(router, vrf);
  }
}

// Those who have none of their own get one of the link's subnet, or else of the first one that somebody has there.
void Resolver::giveAddresses(size_t place) {
  const std::string &subnet = text_.links[place].subnet;
  const std::string path = pathOfLink(place);
  const Link &link = plan_.links[place];
  const auto interfaceAt = [&](const Member &member) -> Interface & {
    return plan_.routers[member.router].vrfs[member.vrf].interfaces[member.interface];
  };
  const auto isGlobal = [](const Sim::IntfAddress &each) { return !each.address.isLinkLocal(); };
  std::vector<Interface *> without;
  std::set<IpGenAddr> taken;
  IpGenPrefix used;
  for (const Member &member : link.members) {
    Interface &interface = interfaceAt(member);
    const auto global = std::find_if(interface.addresses.begin(), interface.addresses.end(), isGlobal);
    if (global == interface.addresses.end()) without.push_back(&interface);
    for (const Sim::IntfAddress &each : interface.addresses) taken.insert(each.address);
    if (global != interface.addresses.end() && used.isEmpty()) used = global->subnet;
  }
  if (!subnet.empty()) {
    const auto given = addressFrom(subnet, path + "/subnet");
    if (!given) return;
    used = given->subnet;
  }
  if (without.empty()) return;
  if (used.isEmpty()) used = freeSubnet();
  if (used.isEmpty()) return error(path, "no subnets are left; give it one");
  uint64_t number = 0;
  for (Interface *interface : without) {
    std::optional<IpGenAddr> host;
    do {
      host = hostOf(used, number++);
    } while (host && taken.contains(*host));
    if (!host) return error(path, "has more ends than " + toText(used) + " has addresses; give it a larger subnet");
    interface->addresses.push_back({*host, used});
    if (!subnet.empty()) givenOfSubnet_.insert({place, *host});
  }
}

// Empty when there is none.
IpGenPrefix Resolver::freeSubnet() {
  while (nextSubnet_ < 0x10000) {
    const IpGenPrefix subnet = Sim::linkSubnet(plan_.family, nextSubnet_++);
    const bool isTaken = std::any_of(takenSubnets_.begin(), takenSubnets_.end(),
                                     [&](const IpGenPrefix &taken) { return overlap(taken, subnet); });
    if (!isTaken) return subnet;
  }
  return {};
}

void Resolver::giveLoopback(size_t router, Vrf &vrf) {
  Interface &loopback = interfaceOf(vrf, "lo");
  if (!loopback.addresses.empty()) return;
  for (;;) {
    if (nextLoopback_ >= 0xfffe) {
      return error(pathTo("/routers", plan_.routers[router].name), "no loopback addresses are left; give it one");
    }
    const IpGenAddr address = Sim::loopbackAddress(plan_.family, nextLoopback_++);
    const IpGenPrefix host = IpGenPrefix::host(address);
    if (takenSubnets_.contains(host)) continue;
    loopback.addresses.push_back({address, host});
    return;
  }
}

void Resolver::warnOfLoners() {
  for (const Router &router : plan_.routers) {
    for (const Vrf &vrf : router.vrfs) {
      const auto &interfaces = vrf.interfaces;
      const bool isLinked = std::any_of(interfaces.begin(), interfaces.end(),
                                        [](const Interface &interface) { return interface.link.has_value(); });
      if (isLinked || plan_.routers.size() == 1) continue;
      findings_.warning(pathTo("/routers", router.name),
                        "has no link" + (router.vrfs.size() == 1 ? std::string() : " in VRF " + vrf.name));
    }
  }
}

}  // namespace Planning
