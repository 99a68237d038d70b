#include "plan/NetworkLayout.h"

#include <algorithm>
#include <map>

#include "plan/Markup.h"

namespace Planning {

namespace {

constexpr size_t many = 50, veryMany = 120;

std::vector<size_t> lansOf(const Plan &plan) {
  std::vector<size_t> lans;
  for (size_t link = 0; link < plan.links.size(); ++link) {
    if (plan.links[link].members.size() > 2) lans.push_back(link);
  }
  return lans;
}

// Then there is more to say of it than its name.
bool isCandidate(const Router &router, size_t vrf) {
  if (!router.configuration) return false;
  const auto &settings = router.configuration->vrfConfig;
  const auto own = settings.find(L3::VrfName(router.vrfs[vrf].name));
  return own != settings.end() && (!own->second.bsrCandidateConfig.empty() || !own->second.rpCandidateConfig.empty());
}

std::string id(size_t place) { return std::string("n").append(std::to_string(place)); }

}  // namespace

NetworkLayout::NetworkLayout(const Plan &plan) : plan_(plan), lans_(lansOf(plan)), isLarge_(places() >= many) {}

double NetworkLayout::fontSize() const { return !isLarge_ ? 11 : places() < veryMany ? 9 : 8; }

std::string NetworkLayout::nodeText(const Node &node, size_t place) const {
  constexpr size_t wordsOfCandidate = 10;
  const double letter = fontSize() * 0.6 / 72, line = fontSize() * 1.25 / 72;
  const bool hasMore = !isLarge_ || isCandidate(plan_.routers[node.router], node.vrf);
  const size_t letters = std::max(charactersOf(plan_.nameOf(node)), hasMore ? wordsOfCandidate : 0);
  return "  " + id(place) + " [width=" + shortNumber(letter * static_cast<double>(letters) + 0.15, 2) +
         ", height=" + shortNumber(line * (hasMore ? 2.6 : 1.2), 2) + "]\n";
}

std::string NetworkLayout::text() const {
  std::string text = "graph {\n  graph [overlap=prism, splines=false, start=self, sep=\"";
  text.append(isLarge_ ? "+6" : "+22").append("\"]\n  node [shape=box, fixedsize=true, label=\"\"]\n  edge [len=");
  text.append(places() < many / 2 ? "2" : "1.2").append("]\n");
  std::map<std::pair<size_t, size_t>, size_t> places;
  size_t place = 0;
  for (const Node &node : plan_.nodes()) {
    text += nodeText(node, place);
    places[{node.router, node.vrf}] = place;
    if (node.vrf > 0) text += "  " + id(places[{node.router, 0}]) + " -- " + id(place) + " [len=0.8, weight=4]\n";
    ++place;
  }
  for (const Link &link : plan_.links) {
    const auto idOf = [&](const Member &member) { return id(places[{member.router, member.vrf}]); };
    if (link.members.size() == 2) {
      text += "  " + idOf(link.members[0]) + " -- " + idOf(link.members[1]) + "\n";
      continue;
    }
    text += "  " + id(place) + " [width=0.2, height=0.2]\n";
    for (const Member &member : link.members) text += "  " + idOf(member) + " -- " + id(place) + " [len=1.1]\n";
    ++place;
  }
  return text + "}\n";
}

}  // namespace Planning
