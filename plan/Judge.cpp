#include "plan/Judge.h"

#include <algorithm>

#include "platform/kiv/Value.h"

namespace Planning {

using Kind = Expectation::Kind;

namespace {

bool isAtOnce(const Expectation &expectation) { return expectation.kind < Kind::agree; }

std::string allOf(size_t count) {
  if (count <= 2) return count == 1 ? "the only router asked" : "both routers";
  return "all " + counted(count, "router");
}

const char *outageText(Kind kind) {
  if (kind == Kind::agree) return " disagreed";
  return kind == Kind::withoutBsr ? " had no BSR" : " had no RP";
}

}  // namespace

Judge::Judge(Simulation &simulation, const Account &account)
    : simulation_(simulation),
      account_(account),
      naming_(simulation.plan()),
      verdicts_(simulation.plan().expectations.size()) {
  const auto &expectations = simulation.plan().expectations;
  for (size_t i = 0; i < expectations.size(); ++i) {
    if (!isAtOnce(expectations[i])) continue;
    waiting_.push_back(i);
    simulation.lookAt(expectations[i].at);
  }
  std::stable_sort(waiting_.begin(), waiting_.end(),
                   [&](size_t a, size_t b) { return expectations[a].at > expectations[b].at; });
  simulation.observe(*this);
}

void Judge::handleInstant() {
  const auto &expectations = simulation_.plan().expectations;
  const double now = simulation_.network().time().now();
  while (!waiting_.empty() && Sim::VirtualTime::start + expectations[waiting_.back()].at <= now) {
    verdicts_[waiting_.back()] = look(expectations[waiting_.back()]);
    waiting_.pop_back();
  }
}

std::vector<Verdict> Judge::verdicts() const {
  std::vector<Verdict> verdicts = verdicts_;
  const auto &expectations = simulation_.plan().expectations;
  for (size_t i = 0; i < verdicts.size(); ++i) {
    if (!isAtOnce(expectations[i])) verdicts[i] = lookBack(expectations[i]);
  }
  return verdicts;
}

bool Judge::takesPart(const Node &node) const {
  const Box &box = simulation_.box(node.router);
  return box.runsIn(node.vrf) && !box.standsBy();
}

bool Judge::isAsked(const Expectation &expectation, const Node &node) const {
  if (expectation.named) return true;
  const ZoneAccount *zone = account_.zone(expectation.zone);
  return zone && zone->counts(account_.placeOf(node));
}

std::vector<Pax::IpGenAddr> Judge::rpsOf(const Pax::IpGenAddr &group, const Node &node) const {
  std::vector<Pax::IpGenAddr> rps;
  const std::string &vrf = simulation_.plan().routers[node.router].vrfs[node.vrf].name;
  for (const auto &row : simulation_.box(node.router).shown("rp", Kiv::toText(group))) {
    if (row["vrf"] == vrf) rps.push_back(Pax::IpGenAddr::fromText(row["rp"].get<std::string>()));
  }
  return rps;
}

std::string Judge::differenceAt(const Expectation &expectation, const Node &node) const {
  std::vector<Pax::IpGenAddr> found;
  const Box &box = simulation_.box(node.router);
  const bool runs = takesPart(node);
  if (expectation.kind == Kind::rp && runs) {
    found = rpsOf(expectation.group, node);
  } else if (runs) {
    const HeldByZone &all = simulation_.held(node);
    const auto held = all.find(expectation.zone);
    if (held != all.end() && !held->second.bsr.isZero()) found = {held->second.bsr};
  }
  if (!expectation.address && found.empty()) return "";
  if (expectation.address && std::find(found.begin(), found.end(), *expectation.address) != found.end()) return "";
  if (found.empty()) return runs ? "none" : box.runsIn(node.vrf) ? "its agent on standby" : "no agent that ran";
  const std::string &vrf = simulation_.plan().routers[node.router].vrfs[node.vrf].name;
  std::string text;
  for (const Pax::IpGenAddr &address : found) {
    text.append(text.empty() ? "" : " and ").append(naming_.textOf(address, vrf));
  }
  return text;
}

Verdict Judge::look(const Expectation &expectation) const {
  std::vector<std::pair<std::string, std::vector<Node>>> differences;
  size_t asked = 0, wrong = 0;
  for (const Node &node : expectation.nodes) {
    if (!isAsked(expectation, node)) continue;
    ++asked;
    const std::string difference = differenceAt(expectation, node);
    if (difference.empty()) continue;
    ++wrong;
    auto same = std::find_if(differences.begin(), differences.end(),
                             [&](const auto &each) { return each.first == difference; });
    if (same == differences.end()) same = differences.insert(same, {difference, {}});
    same->second.push_back(node);
  }
  if (asked == 0) {
    const auto &nodes = expectation.nodes;
    const bool isAnybody = std::any_of(nodes.begin(), nodes.end(), [&](const Node &node) { return takesPart(node); });
    if (!isAnybody) return {false, "no router ran"};
    return {!expectation.address, "no router ran that knew " + naming_.textOf(Domain{"default", expectation.zone})};
  }
  if (wrong == 0) return {true, "so it was at " + allOf(asked)};
  std::string seen;
  for (const auto &[difference, nodes] : differences) {
    seen.append(seen.empty() ? "" : "; ").append(naming_.listOf(nodes)).append(" had ").append(difference);
  }
  if (wrong < asked) seen.append("; as expected at ").append(counted(asked - wrong, "router"));
  return {false, seen};
}

// Of routers that are named, not to count is to be without, and so to hold another BSR than those that have one.
std::pair<Spans, bool> Judge::outagesOf(const Expectation &expectation, const Node &node) const {
  const ZoneAccount *zone = account_.zone(expectation.zone);
  const size_t place = account_.placeOf(node);
  const double from = expectation.from, to = expectation.to;
  const Outage outage = expectation.kind == Kind::agree        ? Outage::disagreed
                        : expectation.kind == Kind::withoutBsr ? Outage::withoutBsr
                                                               : Outage::withoutRp;
  const Spans counted = zone ? zone->counted(place).within(from, to) : Spans();
  Spans outages = zone ? zone->of(outage, place).within(from, to) : Spans();
  if (expectation.named) outages = outages.joined(counted.inverted(from, to));
  return {outages, expectation.named || !counted.all().empty()};
}

Verdict Judge::lookBack(const Expectation &expectation) const {
  constexpr double slack = 1e-6;
  std::vector<Node> wrong;
  size_t asked = 0;
  Span worst;
  Node where;
  for (const Node &node : expectation.nodes) {
    const auto [outages, isAsked] = outagesOf(expectation, node);
    asked += isAsked;
    const Span longest = outages.longest();
    if (longest.length() > expectation.seconds + slack) wrong.push_back(node);
    if (longest.length() <= worst.length()) continue;
    worst = longest;
    where = node;
  }
  if (asked == 0) return {false, "no router ran that knew " + naming_.textOf(Domain{"default", expectation.zone})};
  std::string seen = naming_.nameOf(where) + outageText(expectation.kind);
  seen.append(" for ").append(exactSeconds(worst.length())).append(" s, from ").append(exactSeconds(worst.from));
  seen.append(worst.to >= simulation_.plan().duration ? " s to the end" : " s on");
  if (worst.length() <= 0)
    seen = allOf(asked) + (expectation.kind == Kind::agree ? " always agreed" : " always had one");
  if (wrong.empty()) return {true, worst.length() > 0 ? "at most: " + seen : seen};
  if (wrong.size() > 1) seen.append("; too long at ").append(naming_.listOf(wrong));
  return {false, seen};
}

}  // namespace Planning
