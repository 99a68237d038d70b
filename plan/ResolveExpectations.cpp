#include <algorithm>
#include <sstream>

#include "daemon/file/JsonText.h"
#include "plan/Naming.h"
#include "plan/Resolver.h"

namespace Planning {

using Kind = Expectation::Kind;
using Pax::IpGenAddr;
using Pax::IpGenPrefix;
using Routing::Pim::Bsr::joined;
using Routing::Pim::Bsr::pathTo;

namespace {

std::string textOf(const Expectation &expectation, const std::string &who, const std::string &where) {
  std::ostringstream text;
  switch (expectation.kind) {
    case Kind::bsr:
      text << "at " << exactSeconds(expectation.at) << " s the BSR of " << expectation.zone << " is " << who << ' '
           << where;
      break;
    case Kind::rp:
      text << "at " << exactSeconds(expectation.at) << " s the RP of " << expectation.group << " is " << who << ' '
           << where;
      break;
    case Kind::agree: text << "no disagreement about " << expectation.zone << ' ' << where; break;
    case Kind::withoutBsr: text << "a BSR of " << expectation.zone << ' ' << where; break;
    case Kind::withoutRp: text << "an RP of " << expectation.zone << ' ' << where; break;
  }
  if (expectation.kind == Kind::agree) {
    text << " for longer than " << exactSeconds(expectation.seconds) << " s";
  } else if (expectation.kind > Kind::agree) {
    text << ", but for " << exactSeconds(expectation.seconds) << " s at most";
  }
  if (expectation.kind >= Kind::agree)
    text << ", from " << exactSeconds(expectation.from) << " s to " << exactSeconds(expectation.to) << " s";
  return text.str();
}

}  // namespace

void Resolver::resolveExpectations() {
  candidatesKnown_ = findings_.errors.empty();
  for (size_t i = 0; i < text_.expect.size(); ++i) {
    const std::string path = pathTo("/expect", std::to_string(i));
    if (!refused_.has(path)) resolveExpectation(text_.expect[i], path);
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
  } else if (text.group.find('/') != std::string::npos) {
    error(path + "/group", text.group + " is a range: give one group of it");
  } else if (!text.group.empty()) {
    expectation.group = prefixFrom(text.group, path + "/group").address();
  }
  if (expectation.kind == Kind::rp && !text.zone.empty())
    error(path, "has no use for a zone: the RP is that of the group");
  resolveTimes(text, path, expectation);
  resolveNodes(text.routers, path, expectation);
  const std::string &who = expectation.kind == Kind::rp ? text.rp : text.bsr;
  resolveWho(who, path + (expectation.kind == Kind::rp ? "/rp" : "/bsr"), expectation);
  if (findings_.errors.size() > errors) return;
  if (expectation.kind != Kind::agree && candidatesKnown_) resolveCandidate(who, path, expectation);
  const std::string everywhere = plan_.hasVrfs() ? "everywhere in VRF default" : "everywhere";
  const std::string where = expectation.named ? "at " + joined(text.routers, ", ") : everywhere;
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

// A router has its address once it is known to be a candidate.
void Resolver::resolveWho(const std::string &text, const std::string &path, Expectation &expectation) {
  if (text.empty() || text == "none" || routerByName_.contains(text)) return;
  try {
    expectation.address = IpGenAddr::fromText(text);
  } catch (const Kiv::RangeError &) {
    error(path, "there is no router " + text + ", nor is it an address");
  }
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
  if (!isAtOnce && expectation.from >= expectation.to)
    error(path, text.to ? "ends before it begins" : "begins when the plan has ended");
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
      const Node node{*router, static_cast<size_t>(vrf - vrfs.begin())};
      auto &nodes = expectation.nodes;
      if (std::find(nodes.begin(), nodes.end(), node) != nodes.end())
        error(at, plan_.nameOf(node) + " is listed twice");
      nodes.push_back(node);
    }
  }
  if (expectation.named) return;
  for (size_t router = 0; router < plan_.routers.size(); ++router) expectation.nodes.push_back({router, 0});
}

}  // namespace Planning
