#include <algorithm>
#include <sstream>

#include "daemon/file/JsonText.h"
#include "plan/Resolver.h"

namespace Planning {

using Kind = Expectation::Kind;
using Pax::IpGenAddr;
using Pax::IpGenPrefix;
using Routing::Pim::Bsr::joined;
using Routing::Pim::Bsr::pathTo;

namespace {

IpGenAddr firstAddress(const Vrf &vrf, const Pax::IntfId &intfId) {
  for (const Interface &interface : vrf.interfaces) {
    if (interface.name != intfId.name()) continue;
    for (const Sim::IntfAddress &each : interface.addresses) {
      if (!each.address.isLinkLocal()) return each.address;
    }
  }
  return {};
}

// The addresses with which the configuration makes the router a candidate for what is expected.
std::set<IpGenAddr> candidatesIn(const Routing::Pim::Bsr::Configuration &configuration, const Vrf &vrf,
                                 const Expectation &expectation) {
  std::set<IpGenAddr> candidates;
  const auto settings = configuration.vrfConfig.find(L3::VrfName(vrf.name));
  if (settings == configuration.vrfConfig.end()) return candidates;
  if (expectation.kind == Kind::rp || expectation.kind == Kind::withoutRp) {
    for (const auto &[intfId, candidacy] : settings->second.rpCandidateConfig) {
      const auto serves = [&](const auto &range) {
        return expectation.kind == Kind::rp
                   ? range.first.covers(IpGenPrefix::host(expectation.group))
                   : range.first.covers(expectation.zone) || expectation.zone.covers(range.first);
      };
      const auto &ranges = candidacy.groupRange;
      if (!candidacy.acl.empty() || std::any_of(ranges.begin(), ranges.end(), serves)) {
        candidates.insert(firstAddress(vrf, intfId));
      }
    }
  } else {
    for (const auto &[intfId, candidacy] : settings->second.bsrCandidateConfig) {
      const bool isOfZone = !candidacy.acl.empty() || candidacy.group.contains(expectation.zone);
      if (isOfZone) candidates.insert(firstAddress(vrf, intfId));
    }
  }
  return candidates;
}

std::string textOf(const Expectation &expectation, const std::string &who, const std::string &where) {
  std::ostringstream text;
  switch (expectation.kind) {
    case Kind::bsr:
      text << "at " << expectation.at << " s the BSR of " << expectation.zone << " is " << who << ' ' << where;
      break;
    case Kind::rp:
      text << "at " << expectation.at << " s the RP of " << expectation.group << " is " << who << ' ' << where;
      break;
    case Kind::agree: text << "no disagreement about " << expectation.zone << ' ' << where; break;
    case Kind::withoutBsr: text << "a BSR of " << expectation.zone << ' ' << where; break;
    case Kind::withoutRp: text << "an RP of " << expectation.zone << ' ' << where; break;
  }
  if (expectation.kind == Kind::agree) {
    text << " for longer than " << expectation.seconds << " s";
  } else if (expectation.kind > Kind::agree) {
    text << ", but for " << expectation.seconds << " s at most";
  }
  if (expectation.kind >= Kind::agree) text << ", from " << expectation.from << " s to " << expectation.to << " s";
  return text.str();
}

}  // namespace

void Resolver::resolveExpectations() {
  candidatesKnown_ = findings_.errors.empty();
  for (size_t i = 0; i < text_.expect.size(); ++i) {
    resolveExpectation(text_.expect[i], pathTo("/expect", std::to_string(i)));
  }
}

void Resolver::resolveExpectation(const ExpectText &text, const std::string &path) {
  const int kinds = !text.bsr.empty() + !text.rp.empty() + text.agree.has_value() + text.withoutBsr.has_value() +
                    text.withoutRp.has_value();
  if (kinds != 1) return error(path, "must have either bsr, rp, agree, withoutBsr or withoutRp");
  Expectation expectation;
  expectation.kind = !text.bsr.empty()  ? Kind::bsr
                     : !text.rp.empty() ? Kind::rp
                     : text.agree       ? Kind::agree
                     : text.withoutBsr  ? Kind::withoutBsr
                                        : Kind::withoutRp;
  const size_t errors = findings_.errors.size();
  expectation.seconds = text.agree.value_or(text.withoutBsr.value_or(text.withoutRp.value_or(0)));
  expectation.zone = text.zone.empty() ? Pax::allGroups(plan_.family) : prefixFrom(text.zone, path + "/zone");
  if (text.group.empty() == (expectation.kind == Kind::rp)) {
    error(path, text.group.empty() ? "needs a group" : "has no use for a group");
  } else if (!text.group.empty()) {
    expectation.group = prefixFrom(text.group, path + "/group").address();
  }
  resolveTimes(text, path, expectation);
  resolveNodes(text.routers, path, expectation);
  if (findings_.errors.size() > errors) return;
  const std::string &who = expectation.kind == Kind::rp ? text.rp : text.bsr;
  if (expectation.kind != Kind::agree && candidatesKnown_) resolveCandidate(who, path, expectation);
  const std::string where = expectation.named ? "at " + joined(text.routers, ", ") : "everywhere";
  const bool isName = expectation.address && routerByName_.contains(who);
  expectation.text = textOf(expectation, isName ? who + " (" + Kiv::toText(*expectation.address) + ")" : who, where);
  plan_.expectations.push_back(std::move(expectation));
}

IpGenPrefix Resolver::prefixFrom(const std::string &text, const std::string &path) {
  try {
    const IpGenPrefix prefix = text.find('/') == std::string::npos ? IpGenPrefix::host(IpGenAddr::fromText(text))
                                                                   : IpGenPrefix::fromText(text);
    if (Pax::allGroups(plan_.family).covers(prefix)) return prefix;
    error(path, text + " is no group of this plan's family");
  } catch (const Kiv::RangeError &fault) {
    error(path, fault.what());
  }
  return {};
}

void Resolver::resolveTimes(const ExpectText &text, const std::string &path, Expectation &expectation) {
  const bool isAtOnce = expectation.kind < Kind::agree;
  if (isAtOnce != text.at.has_value())
    error(path, isAtOnce ? "needs a time (at)" : "has no use for at; give from and to");
  if (isAtOnce && (text.from || text.to)) error(path, "has no use for from and to; give at");
  expectation.at = text.at.value_or(0);
  expectation.from = text.from.value_or(0);
  expectation.to = text.to.value_or(plan_.duration);
  if (std::max(expectation.at, expectation.to) > plan_.duration) error(path, "is about a time after the end");
  if (!isAtOnce && expectation.from >= expectation.to) error(path, "ends before it begins");
}

void Resolver::resolveNodes(const std::vector<std::string> &texts, const std::string &path, Expectation &expectation) {
  expectation.named = !texts.empty();
  for (size_t i = 0; i < texts.size(); ++i) {
    const MemberName name = memberNameFrom(texts[i]);
    const std::string at = pathTo(path + "/routers", std::to_string(i));
    const auto router = routerFrom(name.router, at);
    if (!router) continue;
    const auto &vrfs = plan_.routers[*router].vrfs;
    const auto vrf = std::find_if(vrfs.begin(), vrfs.end(), [&](const Vrf &each) { return each.name == name.vrf; });
    if (vrf == vrfs.end() || !name.interface.empty()) {
      error(at, vrf == vrfs.end() ? name.router + " has no VRF " + name.vrf : "a router has to be here, or ROUTER/VRF");
    } else {
      expectation.nodes.push_back({*router, static_cast<size_t>(vrf - vrfs.begin())});
    }
  }
  if (expectation.named) return;
  for (size_t router = 0; router < plan_.routers.size(); ++router) expectation.nodes.push_back({router, 0});
}

// Somebody has to be a candidate for it, at first or after a reload; or else it can never hold.
void Resolver::resolveCandidate(const std::string &text, const std::string &path, Expectation &expectation) {
  if (text == "none") return;
  const Node &asked = expectation.nodes.front();
  const std::string &vrfName = plan_.routers[asked.router].vrfs[asked.vrf].name;
  std::map<std::string, std::set<IpGenAddr>> candidates;  // by router
  const auto take = [&](const Router &router, const ConfigurationPtr &configuration) {
    for (const Vrf &vrf : router.vrfs) {
      if (vrf.name == vrfName) candidates[router.name].merge(candidatesIn(*configuration, vrf, expectation));
    }
  };
  for (const Router &router : plan_.routers) take(router, router.configuration);
  for (const Action &action : plan_.story) {
    if (action.configuration) take(plan_.routers[action.router], action.configuration);
  }
  const bool isRp = expectation.kind == Kind::rp || expectation.kind == Kind::withoutRp;
  const std::string forWhat =
      (isRp ? " is ever a candidate RP of " : " is ever a candidate BSR of ") +
      (expectation.kind == Kind::rp ? Kiv::toText(expectation.group) : Kiv::toText(expectation.zone));
  const bool isAnybody =
      std::any_of(candidates.begin(), candidates.end(), [](const auto &each) { return !each.second.empty(); });
  if (text.empty() || !isAnybody) {
    if (!isAnybody) error(path, "can never hold: no router" + forWhat);
    return;
  }
  const std::string at = path + (isRp ? "/rp" : "/bsr");
  if (const auto router = candidates.find(text); router != candidates.end()) {
    if (router->second.empty()) return error(at, "can never hold: " + text + " is never" + forWhat.substr(8));
    if (router->second.size() > 1) return error(at, text + " has several addresses for that; give the address");
    expectation.address = *router->second.begin();
    return;
  }
  try {
    expectation.address = IpGenAddr::fromText(text);
  } catch (const Kiv::RangeError &) {
    return error(at, "there is no router " + text + ", nor is it an address");
  }
  for (const auto &[name, addresses] : candidates) {
    if (addresses.contains(*expectation.address)) return;
  }
  error(at, "can never hold: no router with the address " + text + forWhat);
}

}  // namespace Planning
