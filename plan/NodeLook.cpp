#include "plan/NodeLook.h"

#include <algorithm>

#include "daemon/file/JsonText.h"

namespace Planning {

using Routing::Pim::Bsr::joined;
using State = NodeFacts::State;

namespace {

constexpr const char *alarm = "#b00020";

const char *wordOf(State state) {
  switch (state) {
    case State::standsBy: return "stands by";
    case State::absent: return "no agent here";
    case State::stopped: return "stopped";
    case State::off: return "no power";
    default: return "";
  }
}

constexpr size_t worthSaying = 10;  // routers that share a fault, where words are few

// What there is to say of a node in one zone: "BSR", "C-BSR", "RP", "has r2", "no BSR", "no RP".
std::string wordsOf(const ZoneFacts &zone, const Domain &domain, const DomainFacts &all, const Legend &legend,
                    bool isBrief) {
  std::vector<std::string> words;
  const size_t most = isBrief ? std::min(all.running - 1, worthSaying) : all.running - 1;
  if (zone.elected || zone.candidate) words.emplace_back(zone.elected ? "BSR" : "C-BSR");
  if (zone.rp) words.emplace_back("RP");
  if (zone.bsr.isZero()) {
    if (all.withoutBsr <= most) words.emplace_back("no BSR");
  } else {
    const bool splits = all.routersByBsr.size() > 1;
    if (splits && !isBrief && !zone.elected) words.push_back("has " + legend.nameOf(domain.vrf, zone.bsr));
    if (!zone.hasRps && all.withoutRp <= most) words.emplace_back("no RP");
  }
  return joined(words, ", ");
}

// "(2)", "(B2)": it has another BSR than most.
std::string markOf(const ZoneFacts &zone, const Pax::IpGenPrefix &prefix, const DomainFacts &all, Legend &legend) {
  const size_t rank = zone.bsr.isZero() ? 1 : all.rankOf(zone.bsr);
  return rank == 1 ? "" : " (" + (legend.zones() > 1 ? legend.letterOf(prefix) : "") + std::to_string(rank) + ")";
}

bool lacksSomething(const ZoneFacts &zone, const DomainFacts &all) {
  return (zone.bsr.isZero() && all.withoutBsr < all.running) || (!zone.hasRps && all.withoutRp < all.running);
}

// A stripe a BSR, in the order of zones; white where there is none.
void fill(NodeLook &look, const NodeFacts &node, Legend &legend) {
  std::vector<std::string> colors;
  for (const auto &[zone, known] : node.zones) {
    const std::string color = known.bsr.isZero() ? "#ffffff" : legend.colorOf(known.bsr);
    if (std::find(colors.begin(), colors.end(), color) == colors.end()) colors.push_back(color);
  }
  look.fill = colors.empty() ? "#ffffff" : joined(colors, ":");
  look.style = colors.size() < 2 ? "filled" : look.shape == "box" ? "striped" : "wedged";
}

void describeRunning(NodeLook &look, std::vector<std::string> &lines, const Node &node, const NetworkFacts &facts,
                     Legend &legend, bool isBrief) {
  const NodeFacts &own = facts.nodes[node.router][node.vrf];
  std::vector<std::string> zonesOnly;
  for (const auto &[zone, known] : own.zones) {
    const Domain domain = legend.domainOf(node, zone);
    const DomainFacts &all = facts.domains.at(domain);
    const std::string words = wordsOf(known, domain, all, legend, isBrief);
    const std::string lead = legend.zones() > 1 ? legend.letterOf(zone) + ": " : "";
    if (lacksSomething(known, all)) look.color = alarm;
    if (isBrief) lines.front() += markOf(known, zone, all, legend);
    if (!words.empty()) {
      lines.push_back(lead + words);
    } else if (zone != Pax::allGroups(legend.plan().family)) {
      zonesOnly.push_back(legend.letterOf(zone));
    }
  }
  if (own.candidateRp && !own.rp()) lines.emplace_back("C-RP");
  look.hasNews = lines.size() > 1;
  if (!zonesOnly.empty()) lines.push_back(joined(zonesOnly, " "));
  fill(look, own, legend);
  if (own.rp()) look.penWidth = 2.5;
  if (look.color == alarm) {
    look.style += ",dashed";
    look.penWidth = std::max(look.penWidth, 1.5);
  }
}

}  // namespace

NodeLook lookOf(const Node &node, const NetworkFacts &facts, Legend &legend, bool isBrief) {
  const NodeFacts &own = facts.nodes[node.router][node.vrf];
  NodeLook look;
  look.shape = own.elected() || own.candidateBsr() ? "box" : "ellipse";
  std::vector<std::string> lines{legend.plan().nameOf(node)};
  if (own.state == State::runs) {
    describeRunning(look, lines, node, facts, legend, isBrief);
  } else {
    lines.emplace_back(wordOf(own.state));
    look.style = "filled,dashed";
    look.fill = own.state == State::off ? "#bdbdbd" : own.state == State::stopped ? "#e0e0e0" : "#ffffff";
    look.hasNews = true;
  }
  look.label = joined(lines, "\n");
  return look;
}

}  // namespace Planning
