#include "plan/NetworkPicture.h"

#include <algorithm>
#include <sstream>

#include "plan/Markup.h"
#include "plan/Naming.h"
#include "plan/NodeLook.h"
#include "platform/sim/Intf.h"

namespace Planning {

namespace {

constexpr const char *font = "fontname=\"sans-serif\"";
constexpr const char *cutColor = "#b00020";

// What most links cost: that needs no words.
uint32_t usualCostOf(const Plan &plan) {
  std::map<uint32_t, size_t> links;
  for (const Link &link : plan.links) ++links[link.parameters.cost];
  const auto most =
      std::max_element(links.begin(), links.end(), [](const auto &a, const auto &b) { return a.second < b.second; });
  return most == links.end() ? 1 : most->first;
}

std::string row(const std::string &text, const char *color = nullptr, const char *format = "") {
  const std::string sample =
      color ? std::string("<td bgcolor=\"") + color + "\" border=\"1\" width=\"16\"> </td>" : "<td></td>";
  const std::string end = *format ? std::string("</") + format + ">" : "";
  const std::string begin = *format ? std::string("<") + format + ">" : "";
  return "<tr>" + sample + "<td align=\"left\">" + begin + markupText(text) + end + "</td></tr>";
}

// Lines on white, so that the link does not cross them.
std::string labelTable(const std::string &lines) {
  std::string text = "<table border=\"0\" cellspacing=\"0\" cellpadding=\"1\" bgcolor=\"white\"><tr><td>";
  for (const char c : lines) text += c == '\n' ? "<br/>" : markupText({&c, 1});
  return text + "</td></tr></table>";
}

}  // namespace

NetworkPicture::NetworkPicture(const Simulation &simulation, Legend &legend, const NetworkLayout &layout)
    : simulation_(simulation),
      plan_(simulation.plan()),
      legend_(legend),
      layout_(layout),
      usualCost_(usualCostOf(plan_)) {}

std::string NetworkPicture::nodeId(const Node &node) const { return quotedText(plan_.nameOf(node)); }

// Routers' names have no colon.
std::string NetworkPicture::lanId(size_t link) const { return quotedText("LAN:" + plan_.links[link].name); }

std::string NetworkPicture::positionText(size_t place) const {
  if (!layout_.hasPositions()) return "";
  const Position &position = layout_.position(place);
  return ", pos=\"" + shortNumber(position.x) + "," + shortNumber(position.y) + "!\"";
}

std::string NetworkPicture::dot(const std::string &title) {
  const NetworkFacts facts(simulation_, legend_);
  std::string text = headText(title, facts);
  size_t place = 0;
  for (const Node &node : plan_.nodes()) text += nodeText(node, place++, facts);
  for (const size_t lan : layout_.lans()) text += lanText(lan, place++);
  for (const Node &node : plan_.nodes()) {
    if (node.vrf == 0) continue;
    text += "  " + nodeId({node.router, 0}) + " -- " + nodeId(node) + " [color=\"#cccccc\", penwidth=4]\n";
  }
  for (size_t link = 0; link < plan_.links.size(); ++link) text += linkText(link);
  return text + "}\n";
}

std::string NetworkPicture::headText(const std::string &title, const NetworkFacts &facts) const {
  const bool isLarge = layout_.isLarge();
  std::ostringstream text;
  text << "graph " << quotedText(plan_.name) << " {\n  graph [layout="
       << (layout_.hasPositions() ? "neato, overlap=true" : std::string(layout_.program()) + ", overlap=prism")
       << ", inputscale=72, outputorder=edgesfirst, splines=" << (isLarge ? "line" : "true")
       << ", bgcolor=white, pad=0.2,\n    labelloc=t, labeljust=l, fontsize=12, " << font << ",\n    label=<"
       << titleText(title, facts) << ">]\n  node [" << font << ", fontsize=" << shortNumber(layout_.fontSize())
       << (isLarge ? ", margin=\"0.04,0.02\", width=0.2, height=0.15" : ", margin=\"0.06,0.03\", width=0.4, height=0.3")
       << "]\n  edge [" << font << ", fontsize=" << shortNumber(layout_.fontSize() - 1)
       << ", color=\"#666666\", arrowsize=" << (isLarge ? "0.5" : "0.8") << ", labeldistance=1.6]\n";
  return text.str();
}

std::string NetworkPicture::titleText(const std::string &title, const NetworkFacts &facts) const {
  std::string text = "<table border=\"0\" cellspacing=\"2\" cellpadding=\"1\">";
  text += row((plan_.name.empty() ? "" : plan_.name + ": ") + title, nullptr, "b");
  const bool hasVrfs = plan_.hasVrfs();
  for (const auto &[domain, known] : facts.domains) {
    const std::string letter = legend_.zones() > 1 ? legend_.letterOf(domain.zone) : "";
    const std::string name = (letter.empty() ? "" : letter + ": ") + toText(domain, hasVrfs);
    for (const auto &[bsr, routers] : known.routersByBsr) {
      const size_t rank = known.rankOf(bsr);
      std::string words = name + ": BSR " + legend_.nameOf(domain.vrf, bsr) + " at " + counted(routers, "router");
      if (rank > 1 && layout_.isLarge()) words += ", marked (" + letter + std::to_string(rank) + ")";
      text += row(words, legend_.colorOf(bsr));
    }
    // Also where there are none, so that the network is at the same place in every picture.
    text += row(name + ": no BSR at " + counted(known.withoutBsr, "router"), "#ffffff");
    text += row(name + ": no RP at " + counted(known.withoutRp, "router"));
  }
  std::string key = "Dashed: does not run (grey), lacks BSR or RP (red). Bars at a link's end: border of a zone.";
  if (usualCost_ != 1) key += " Links cost " + std::to_string(usualCost_) + " where nothing else is said.";
  if (hasVrfs) key += " Broad grey lines: VRFs of one router.";
  text += row("Fill: its BSR. Box: candidate BSR (C-BSR); double: BSR. Bold: RP.", nullptr, "i");
  return text + row(key, nullptr, "i") + "</table>";
}

std::string NetworkPicture::nodeText(const Node &node, size_t place, const NetworkFacts &facts) const {
  const NodeLook look = lookOf(node, facts, legend_, layout_.isLarge());
  std::string text = "  " + nodeId(node) + " [label=" + quotedText(look.label) + ", shape=" + look.shape;
  text.append(", style=\"").append(look.style).append("\", fillcolor=\"").append(look.fill);
  text.append("\", color=\"").append(look.color).append("\", penwidth=").append(shortNumber(look.penWidth));
  if (facts.nodes[node.router][node.vrf].elected()) text += ", peripheries=2";
  if (look.hasNews && layout_.isLarge()) text += ", fontsize=" + shortNumber(layout_.fontSize() + 1.5);
  return text + positionText(place) + "]\n";
}

std::string NetworkPicture::lanText(size_t link, size_t place) const {
  const bool isCut = simulation_.link(link).isCut();
  std::string text = "  " + lanId(link) + " [shape=point, width=" + (layout_.isLarge() ? "0.08" : "0.12");
  std::string words = plan_.links[link].name;
  words += isCut ? "\n\u2715 cut" : parametersText(simulation_.link(link).parameters());
  if (words != plan_.links[link].name || !layout_.isLarge()) text += ", xlabel=" + quotedText(words);
  if (isCut) text.append(", fontcolor=\"").append(cutColor).append("\"");
  text.append(", color=\"").append(isCut ? cutColor : "#666666").append("\"").append(positionText(place));
  return text + "]\n";
}

std::string NetworkPicture::parametersText(const Sim::LinkParameters &parameters) const {
  std::string text;
  if (parameters.cost != usualCost_) text += "\ncost " + std::to_string(parameters.cost);
  if (parameters.loss > 0) text += "\nloss " + shortNumber(parameters.loss * 100, 2) + " %";
  return text;
}

bool NetworkPicture::isDown(const Member &member) const {
  const Vrf &vrf = plan_.routers[member.router].vrfs[member.vrf];
  return !simulation_.box(member.router)
              .vrf(member.vrf)
              .intf({vrf.name, vrf.interfaces[member.interface].name})
              ->isUp();
}

std::string NetworkPicture::endAttributes(const Member &member, const char *arrow, const char *label) const {
  const Box &box = simulation_.box(member.router);
  const Vrf &vrf = plan_.routers[member.router].vrfs[member.vrf];
  const std::string &name = vrf.interfaces[member.interface].name;
  std::string zones, text;
  if (const auto status = box.status(member.vrf)) {
    for (const auto &[zone, border] : status->bsBorder()) {
      if (border->intfId({vrf.name, name})) zones += (zones.empty() ? "" : " ") + legend_.letterOf(zone);
    }
  }
  text.append(", ").append(arrow).append(zones.empty() ? "=none" : "=teetee");
  std::string words = legend_.zones() > 1 ? zones : "";
  if (box.hasPower() && isDown(member)) words += (words.empty() ? "" : "\n") + name + " down";
  if (words.size() > zones.size()) text += ", labeldistance=3";
  if (!words.empty()) text += std::string(", ") + label + "=" + quotedText(words);
  return text;
}

std::string NetworkPicture::linkAttributes(size_t link) const {
  const Sim::Link &now = simulation_.link(link);
  const std::vector<Member> &members = plan_.links[link].members;
  const bool isDead = std::any_of(members.begin(), members.end(), [&](const Member &each) { return isDown(each); });
  if (now.isCut()) return std::string("style=dashed, color=\"") + cutColor + "\", penwidth=2";
  return isDead && plan_.links[link].members.size() == 2 ? "style=dotted" : "style=solid";
}

std::string NetworkPicture::linkText(size_t link) const {
  const std::vector<Member> &members = plan_.links[link].members;
  const auto id = [&](const Member &member) { return nodeId({member.router, member.vrf}); };
  const std::string attributes = " [dir=both, " + linkAttributes(link);
  if (plan_.links[link].members.size() == 2) {
    const Sim::Link &now = simulation_.link(link);
    std::string words = parametersText(now.parameters());
    if (now.isCut()) words = "\n\u2715 cut" + words;
    if (!words.empty()) words = ", label=<" + labelTable(words.substr(1)) + ">";
    if (now.isCut()) words += std::string(", fontcolor=\"") + cutColor + "\"";
    return "  " + id(members[0]) + " -- " + id(members[1]) + attributes +
           endAttributes(members[0], "arrowtail", "taillabel") + endAttributes(members[1], "arrowhead", "headlabel") +
           words + "]\n";
  }
  std::string text;
  for (const Member &member : members) {
    text += "  " + id(member) + " -- " + lanId(link) + attributes;
    if (isDown(member) && !simulation_.link(link).isCut()) text += ", style=dotted";
    text += endAttributes(member, "arrowtail", "taillabel") + ", arrowhead=none]\n";
  }
  return text;
}

}  // namespace Planning
