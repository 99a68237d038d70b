#include "plan/FoldedEvents.h"

#include <algorithm>
#include <cstdio>
#include <iomanip>

namespace Planning {

using Routing::Pim::Bsr::Event;

FoldedEvents::FoldedEvents(const Plan &plan, const Naming &naming, std::ostream &out) : naming_(naming), out_(out) {
  constexpr size_t widest = 24;
  for (const Router &router : plan.routers) nameWidth_ = std::min(std::max(nameWidth_, router.name.size()), widest);
}

std::string FoldedEvents::timeText(double at) {
  char text[32];
  std::snprintf(text, sizeof text, "%10.3f  ", at);
  return text;
}

void FoldedEvents::add(double at, size_t router, const Event &event) {
  if (!groups_.empty() && (at > last_ + quiet || at > first_ + longest)) flush();
  if (groups_.empty()) first_ = at;
  last_ = at;
  Group &group = groups_[Key(event.kind, event.severity, event.vrf, event.zone, event.group, event.rp, event.bsr)];
  group.varies = group.varies || (!group.lines.empty() && group.lines.front().text != event.text);
  if (group.known.insert(router).second) group.routers.push_back({router, 0});
  ++group.count;
  group.last = at;
  if (group.lines.empty() || group.known.size() < fewest) {
    group.lines.push_back({order_++, at, router, event.severity, event.text});
  } else if (group.lines.size() > 1) {
    group.lines.erase(group.lines.begin() + 1, group.lines.end());
  }
}

std::string FoldedEvents::foldedText(const Group &group) const {
  std::string text = group.lines.front().text;
  if (group.varies) text += ", or the like";
  if (group.count > group.routers.size()) text.append(", ").append(std::to_string(group.count)).append(" times");
  if (timeText(group.last) != timeText(group.lines.front().at)) {
    text.append(" (until ").append(exactSeconds(group.last)).append(" s)");
  }
  return text;
}

void FoldedEvents::print(const Line &line, const std::string &who, const std::string &text) {
  std::ostringstream severity;
  severity << line.severity;
  out_ << timeText(line.at) << std::left << std::setw(static_cast<int>(nameWidth_)) << who << "  " << std::setw(7)
       << severity.str() << "  " << text << '\n';
}

void FoldedEvents::flush() {
  std::vector<std::pair<const Line *, const Group *>> lines;
  for (const auto &[key, group] : groups_) {
    for (const Line &line : group.lines) lines.emplace_back(&line, &group);
  }
  std::sort(lines.begin(), lines.end(), [](const auto &a, const auto &b) { return a.first->order < b.first->order; });
  for (const auto &[line, group] : lines) {
    if (group->known.size() < fewest) {
      print(*line, naming_.nameOf({line->router, 0}), line->text);
    } else {
      print(*line, naming_.listOf(group->routers), foldedText(*group));
    }
  }
  groups_.clear();
}

}  // namespace Planning
