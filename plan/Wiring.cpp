#include "plan/Wiring.h"

#include <algorithm>
#include <functional>
#include <numeric>
#include <set>

#include "plan/Plan.h"
#include "platform/kiv/Value.h"

namespace Planning {

using Kiv::toText;
using Pax::IpGenAddr;
using Pax::IpGenPrefix;

namespace {

const SavedNeighbor *listedAs(const SavedInterface &interface, const IpGenAddr &address) {
  const auto found = std::find_if(interface.neighbors.begin(), interface.neighbors.end(),
                                  [&](const SavedNeighbor &each) { return each.address == address; });
  return found == interface.neighbors.end() ? nullptr : &*found;
}

// Whether both have an address of one subnet; its length is a guess.
bool shareSubnet(const std::vector<IpGenAddr> &one, const std::vector<IpGenAddr> &other) {
  return std::any_of(one.begin(), one.end(), [&](const IpGenAddr &address) {
    const IpGenPrefix subnet(address, address.af() == Pax::AddressFamily::ipv4 ? 30 : 64);
    return std::any_of(other.begin(), other.end(),
                       [&](const IpGenAddr &each) { return subnet.covers(IpGenPrefix::host(each)); });
  });
}

class Wirer {
 public:
  explicit Wirer(const std::vector<SavedRouter> &routers);
  Wiring wiring();

 private:
  using Ends = std::vector<size_t>;
  struct Open {
    size_t end;
    Ends others;
  };

  std::string nameOf(size_t end) const;
  size_t root(size_t end);
  void join(size_t a, size_t b) { parent_[root(a)] = root(b); }
  bool isSeen(size_t end, size_t other) const { return listedAs(*ends_[other].saved, ends_[end].saved->address); }
  Ends partnersOf(size_t end, const SavedNeighbor &neighbor);
  bool tellsOf(const SavedNeighbor &neighbor, size_t end, size_t other) const;
  void meet(size_t end, const SavedNeighbor &neighbor);
  void settle(const Open &open);
  SavedLink &linkOf(size_t end, std::vector<SavedLink> &links);

  std::vector<SavedEnd> ends_;
  std::map<IpGenAddr, Ends> byAddress_;
  std::vector<size_t> parent_;
  std::vector<Open> open_;
  std::map<size_t, std::map<IpGenAddr, SavedNeighbor>> strangers_;  // by one of the ends that see them
  std::map<size_t, size_t> links_;                                  // by root
  std::vector<std::string> notes_;
};

Wirer::Wirer(const std::vector<SavedRouter> &routers) {
  for (const SavedRouter &router : routers) {
    for (const auto &[vrf, saved] : router.vrfs) {
      for (const auto &[name, interface] : saved.interfaces) {
        if (!interface.hasPim || interface.address.isZero()) continue;
        byAddress_[interface.address].push_back(ends_.size());
        ends_.push_back({&router, vrf, name, &interface});
      }
    }
  }
  parent_.resize(ends_.size());
  std::iota(parent_.begin(), parent_.end(), 0);
}

std::string Wirer::nameOf(size_t end) const { return memberText(ends_[end]); }

size_t Wirer::root(size_t end) {
  while (parent_[end] != end) end = parent_[end] = parent_[parent_[end]];
  return end;
}

// Whether the neighbor's other addresses may be those of the other end, as far as is known.
bool Wirer::tellsOf(const SavedNeighbor &neighbor, size_t end, size_t other) const {
  const SavedInterface &there = *ends_[other].saved;
  if (there.own.size() > 1) {
    return std::any_of(there.own.begin(), there.own.end(), [&](const SavedAddress &own) {
      return std::find(neighbor.addresses.begin(), neighbor.addresses.end(), own.address) != neighbor.addresses.end();
    });
  }
  const SavedNeighbor *us = listedAs(there, ends_[end].saved->address);
  return us && shareSubnet(us->addresses, neighbor.addresses);
}

// Each question is asked only where the ones before leave several, and is of no help where nobody passes.
Wirer::Ends Wirer::partnersOf(size_t end, const SavedNeighbor &neighbor) {
  const auto found = byAddress_.find(neighbor.address);
  if (found == byAddress_.end()) return {};
  Ends partners;
  for (const size_t other : found->second) {
    if (other != end) partners.push_back(other);
  }
  const auto keep = [&](const std::function<bool(size_t)> &passes) {
    Ends kept;
    std::copy_if(partners.begin(), partners.end(), std::back_inserter(kept), passes);
    if (!kept.empty()) partners = std::move(kept);
  };
  if (partners.size() > 1) keep([&](size_t other) { return isSeen(end, other); });
  if (partners.size() > 1) keep([&](size_t other) { return tellsOf(neighbor, end, other); });
  if (partners.size() > 1) keep([&](size_t other) { return ends_[other].vrf == ends_[end].vrf; });
  return partners;
}

void Wirer::meet(size_t end, const SavedNeighbor &neighbor) {
  const Ends partners = partnersOf(end, neighbor);
  if (partners.empty()) {
    strangers_[end].emplace(neighbor.address, neighbor);
  } else if (partners.size() > 1) {
    open_.push_back({end, partners});
  } else {
    if (!isSeen(end, partners.front())) {
      notes_.push_back(nameOf(end) + " has the neighbor " + nameOf(partners.front()) +
                       ", which does not have it: taken as on one link");
    }
    join(end, partners.front());
  }
}

// One that is on no link yet, or on the same link by what others have said.
void Wirer::settle(const Open &open) {
  const auto isHere = [&](size_t other) { return root(other) == root(open.end); };
  if (std::any_of(open.others.begin(), open.others.end(), isHere)) return;
  const auto isAlone = [&](size_t other) {
    return std::count_if(parent_.begin(), parent_.end(), [&](size_t each) { return root(each) == root(other); }) == 1;
  };
  auto chosen = std::find_if(open.others.begin(), open.others.end(), isAlone);
  if (chosen == open.others.end()) chosen = open.others.begin();
  std::string all;
  for (const size_t other : open.others) all += (all.empty() ? "" : ", ") + nameOf(other);
  notes_.push_back(nameOf(open.end) + " may be on one link with any of " + all + ": taken with " + nameOf(*chosen));
  join(open.end, *chosen);
}

SavedLink &Wirer::linkOf(size_t end, std::vector<SavedLink> &links) {
  const auto [place, isNew] = links_.try_emplace(root(end), links.size());
  if (isNew) links.emplace_back();
  return links[place->second];
}

Wiring Wirer::wiring() {
  for (size_t end = 0; end < ends_.size(); ++end) {
    for (const SavedNeighbor &neighbor : ends_[end].saved->neighbors) meet(end, neighbor);
  }
  for (const Open &open : open_) settle(open);
  Wiring wiring;
  for (size_t end = 0; end < ends_.size(); ++end) {
    if (ends_[end].saved->neighbors.empty() && root(end) == end &&
        std::count(parent_.begin(), parent_.end(), end) == 1) {
      continue;  // it leads nowhere
    }
    SavedLink &link = linkOf(end, wiring.links);
    const auto isTwin = [&](const SavedEnd &each) {
      return each.router == ends_[end].router && each.vrf == ends_[end].vrf;
    };
    if (const auto twin = std::find_if(link.ends.begin(), link.ends.end(), isTwin); twin != link.ends.end()) {
      notes_.push_back(nameOf(end) + " and " + twin->interface +
                       " are on one link, which a plan cannot have: taken without " + ends_[end].interface);
      continue;
    }
    link.ends.push_back(ends_[end]);
    for (const auto &stranger : strangers_[end]) {
      const auto isKnown = [&](const Stranger &each) { return each.saved.address == stranger.first; };
      if (std::any_of(link.strangers.begin(), link.strangers.end(), isKnown)) continue;
      link.strangers.push_back({"", stranger.second});
    }
  }
  size_t number = 0;
  for (SavedLink &link : wiring.links) {
    for (Stranger &stranger : link.strangers) {
      stranger.name = "unknown" + std::to_string(++number);
      notes_.push_back(toText(stranger.saved.address) + " at " + link.ends.front().router->name + ":" +
                       link.ends.front().interface + " is no saved router: it is " + stranger.name +
                       ", which has no agent");
    }
  }
  wiring.notes = std::move(notes_);
  return wiring;
}

}  // namespace

std::string memberText(const SavedEnd &end) { return nodeName(end.router->name, end.vrf) + ":" + end.interface; }

Wiring wiringOf(const std::vector<SavedRouter> &routers) { return Wirer(routers).wiring(); }

}  // namespace Planning
