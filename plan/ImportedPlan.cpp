#include "plan/ImportedPlan.h"

#include <algorithm>
#include <set>
#include <stdexcept>

#include "plan/ExpectedBsrs.h"
#include "plan/Naming.h"
#include "plan/Subnets.h"
#include "platform/kiv/Value.h"

namespace Planning {

using Json = Draft::Json;
using Kiv::toText;
using Pax::AddressFamily;
using Pax::IpGenAddr;
using Pax::IpGenPrefix;

namespace {

constexpr uint32_t usualMtu = 1500;

// Of a link without lengths: the smallest that has all ends, as far as that is likely.
uint8_t likelyLength(const std::vector<IpGenAddr> &addresses) {
  const IpGenAddr &first = addresses.front();
  if (first.af() == AddressFamily::ipv6) return 64;
  for (const uint8_t length : {30, 31, 29, 28, 27, 26, 25, 24, 23, 22, 21, 20, 19, 18, 17, 16}) {
    const IpGenPrefix subnet(first, length);
    const auto fits = [&](const IpGenAddr &each) {
      return subnet.covers(IpGenPrefix::host(each)) && !isFirstOrLast(each, subnet);
    };
    if (std::all_of(addresses.begin(), addresses.end(), fits)) return length;
  }
  return 32;
}

// An empty object where there is none.
const Json &objectIn(const Json &json, const std::string &name) {
  static const Json none = Json::object();
  const auto found = json.is_object() ? json.find(name) : json.end();
  return found == json.end() || !found->is_object() ? none : *found;
}

const Json &settingsOf(const SavedRouter &router, const std::string &vrf) {
  return objectIn(objectIn(router.configuration, "vrfConfig"), vrf);
}

class Importer {
 public:
  Importer(const std::vector<SavedRouter> &routers, AddressFamily family)
      : routers_(routers), family_(family), wiring_(wiringOf(routers)) {}

  ImportedPlan made();

 private:
  std::vector<SavedAddress> addressesOf(const SavedEnd &end, const SavedLink *link) const;
  Json addressTexts(const std::vector<SavedAddress> &addresses, const SavedLink *link);
  std::vector<IpGenAddr> addressesOn(const SavedLink &link) const;
  Json interfacesOf(const SavedRouter &router, const std::string &vrf);
  const SavedLink *linkOf(const SavedRouter &router, const std::string &vrf, const std::string &interface) const;
  Draft::Entry routerEntry(const SavedRouter &router);
  void noteCandidatesWithoutAddress(const SavedRouter &router);
  Draft::Entry strangerEntry(const Stranger &stranger, const SavedLink &link);
  Draft::Entry linkEntry(const SavedLink &link);

  const std::vector<SavedRouter> &routers_;
  const AddressFamily family_;
  const Wiring wiring_;
  std::vector<std::string> notes_;
  std::set<std::string> linkNames_;
  size_t guessedLengths_ = 0;
};

const SavedLink *Importer::linkOf(const SavedRouter &router, const std::string &vrf,
                                  const std::string &interface) const {
  for (const SavedLink &link : wiring_.links) {
    for (const SavedEnd &end : link.ends) {
      if (end.router == &router && end.vrf == vrf && end.interface == interface) return &link;
    }
  }
  return nullptr;
}

// Its own, or else what its neighbors have heard. The address in Hellos is the first: it is the first one of IPv4, and
// the link-local one of IPv6.
std::vector<SavedAddress> Importer::addressesOf(const SavedEnd &end, const SavedLink *link) const {
  std::vector<SavedAddress> addresses;
  const auto add = [&](const IpGenAddr &address, std::optional<uint8_t> length) {
    const auto isSame = [&](const SavedAddress &each) { return each.address == address; };
    if (address.isZero() || std::any_of(addresses.begin(), addresses.end(), isSame)) return;
    addresses.push_back({address, length});
  };
  for (const SavedAddress &own : end.saved->own) {
    if (own.address == end.saved->address) add(own.address, own.length);
  }
  add(end.saved->address, std::nullopt);
  for (const SavedAddress &own : end.saved->own) add(own.address, own.length);
  if (!link) return addresses;
  for (const SavedEnd &other : link->ends) {
    for (const SavedNeighbor &neighbor : other.saved->neighbors) {
      if (neighbor.address != end.saved->address) continue;
      for (const IpGenAddr &address : neighbor.addresses) add(address, std::nullopt);
    }
  }
  return addresses;
}

// Those of which no length is known.
std::vector<IpGenAddr> Importer::addressesOn(const SavedLink &link) const {
  std::vector<IpGenAddr> all;
  for (const SavedEnd &end : link.ends) all.push_back(end.saved->address);
  for (const Stranger &stranger : link.strangers) all.push_back(stranger.saved.address);
  return all;
}

Json Importer::addressTexts(const std::vector<SavedAddress> &addresses, const SavedLink *link) {
  Json texts = Json::array();
  for (const SavedAddress &each : addresses) {
    uint8_t length = Pax::addressBits(family_);
    if (each.length) {
      length = *each.length;
    } else if (link) {
      length = likelyLength(addressesOn(*link));
      if (isFirstOrLast(each.address, IpGenPrefix(each.address, length))) length = likelyLength({each.address});
      guessedLengths_ += each.address.isLinkLocal() ? 0 : 1;
    }
    texts.push_back(toText(each.address) + "/" +
                    std::to_string(each.address.isLinkLocal() && !each.length ? 64 : length));
  }
  return texts;
}

Json Importer::interfacesOf(const SavedRouter &router, const std::string &vrf) {
  Json interfaces = Json::object();
  const auto saved = router.vrfs.find(vrf);
  if (saved == router.vrfs.end()) return interfaces;
  for (const auto &[name, interface] : saved->second.interfaces) {
    const SavedLink *link = linkOf(router, vrf, name);
    const auto addresses = addressesOf({&router, vrf, name, &interface}, link);
    if (name == "lo" && addresses.empty()) continue;
    interfaces[name]["addresses"] = addressTexts(addresses, link);
  }
  // What the configuration names has to be there.
  for (const char *member : {"bsrCandidateConfig", "rpCandidateConfig"}) {
    for (const auto &[name, candidacy] : objectIn(settingsOf(router, vrf), member).items()) interfaces[name];
  }
  for (auto &[name, interface] : interfaces.items()) {
    if (interface.is_null()) interface = Json::object();
  }
  return interfaces;
}

void Importer::noteCandidatesWithoutAddress(const SavedRouter &router) {
  for (const auto &[vrf, settings] : objectIn(router.configuration, "vrfConfig").items()) {
    for (const char *member : {"bsrCandidateConfig", "rpCandidateConfig"}) {
      for (const auto &[name, candidacy] : objectIn(settings, member).items()) {
        const auto saved = router.vrfs.find(vrf);
        if (saved != router.vrfs.end()) {
          const auto interface = saved->second.interfaces.find(name);
          if (interface != saved->second.interfaces.end()) continue;
        }
        const std::string note = router.name + ": nothing saved has the address of " + name +
                                 (vrf == "default" ? "" : " in VRF " + vrf) + ", which its candidates use: " +
                                 (name == "lo" ? "it gets one of the plan's own" : "it has none in the plan");
        if (std::find(notes_.begin(), notes_.end(), note) == notes_.end()) notes_.push_back(note);
      }
    }
  }
}

Draft::Entry Importer::routerEntry(const SavedRouter &router) {
  Draft::Entry entry{router.name, Json::object()};
  for (const std::string &note : router.notes) notes_.push_back(router.name + ": " + note);
  noteCandidatesWithoutAddress(router);
  const Json interfaces = interfacesOf(router, "default");
  if (!interfaces.empty()) entry.value["interfaces"] = interfaces;
  for (const auto &[vrf, saved] : router.vrfs) {
    if (vrf != "default") entry.value["vrfs"][vrf] = {{"interfaces", interfacesOf(router, vrf)}};
  }
  if (!router.configuration.is_null()) {
    try {
      entry.value["configuration"] = withoutDefaults(router.configuration, family_);
    } catch (const std::invalid_argument &fault) {
      throw InputFault(router.name + ": its configuration cannot be used: " + fault.what());
    }
  }
  return entry;
}

Draft::Entry Importer::strangerEntry(const Stranger &stranger, const SavedLink &link) {
  std::vector<SavedAddress> addresses{{stranger.saved.address, std::nullopt}};
  for (const IpGenAddr &address : stranger.saved.addresses) addresses.push_back({address, std::nullopt});
  return {stranger.name,
          {{"agent", "off"}, {"interfaces", {{"eth0", {{"addresses", addressTexts(addresses, &link)}}}}}},
          {"Nothing is saved of this neighbor of " + memberText(link.ends.front()) + "."}};
}

Draft::Entry Importer::linkEntry(const SavedLink &link) {
  Draft::Entry entry{"", {{"between", Json::array()}}};
  std::string name;
  std::optional<uint32_t> mtu;
  for (const SavedEnd &end : link.ends) {
    entry.value["between"].push_back(memberText(end));
    name += (name.empty() ? "" : "-") + end.router->name + (end.vrf == "default" ? "" : "." + end.vrf);
    if (end.saved->mtu) mtu = std::min(mtu.value_or(*end.saved->mtu), *end.saved->mtu);
  }
  for (const Stranger &stranger : link.strangers) {
    entry.value["between"].push_back(stranger.name + ":eth0");
    name += "-" + stranger.name;
  }
  if (!linkNames_.insert(name).second) {
    size_t number = 2;
    while (!linkNames_.insert(name + "." + std::to_string(number)).second) ++number;
    entry.value["name"] = name + "." + std::to_string(number);
  }
  if (mtu.value_or(usualMtu) != usualMtu) entry.value["mtu"] = *mtu;
  return entry;
}

ImportedPlan Importer::made() {
  ImportedPlan plan;
  Draft::Section routers{"routers", {"", "With their configurations, but for what is the default."}, {}, false};
  Draft::Section links{"links", {"", "Edit: what delay, jitter, loss and cost they have."}, {}};
  for (const SavedRouter &router : routers_) routers.entries.push_back(routerEntry(router));
  for (const SavedLink &link : wiring_.links) {
    if (link.ends.size() + link.strangers.size() < 2) continue;
    for (const Stranger &stranger : link.strangers) routers.entries.push_back(strangerEntry(stranger, link));
    links.entries.push_back(linkEntry(link));
  }
  notes_.insert(notes_.end(), wiring_.notes.begin(), wiring_.notes.end());
  if (guessedLengths_ > 0) {
    notes_.push_back("Nothing saved (as by \"ip -j address\") has the prefix lengths of " +
                     counted(guessedLengths_, "address", "addresses") + ": what fits the link is taken");
  }
  Draft &draft = plan.draft;
  draft.head.push_back({"name", "The running network"});
  if (family_ == AddressFamily::ipv6) draft.head.push_back({"family", "ipv6"});
  draft.sections.push_back(std::move(routers));
  if (!links.entries.empty()) draft.sections.push_back(std::move(links));
  const std::vector<std::string> leftOut = expectBsrs(draft, routers_, family_);
  notes_.insert(notes_.end(), leftOut.begin(), leftOut.end());
  draft.comments = {"The network of " + counted(routers_.size(), "running router") + ", from what was shown there.",
                    "Their routes are not known: packets take the shortest paths, by the cost of links (1 each)."};
  if (!notes_.empty()) draft.comments.push_back("What was assumed besides:");
  for (const std::string &note : notes_) draft.comments.push_back("- " + note);
  plan.notes = std::move(notes_);
  return plan;
}

}  // namespace

ImportedPlan importedPlanOf(const std::vector<SavedRouter> &routers, AddressFamily family) {
  return Importer(routers, family).made();
}

}  // namespace Planning
