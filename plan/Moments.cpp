#include "plan/Moments.h"

namespace Planning {

namespace {

// Without the words at the beginning that say what kind of thing it is.
std::string shortened(const std::string &text) {
  for (const std::string lead : {"The agent of ", "Link "}) {
    if (text.starts_with(lead)) return text.substr(lead.size());
  }
  return text;
}

}  // namespace

std::vector<Moment> momentsOf(const Plan &plan) {
  std::vector<Moment> moments;
  for (const Action &action : plan.story) {
    if (moments.empty() || moments.back().at != action.at) {
      moments.push_back({action.at, action.text, shortened(action.text)});
    } else {
      moments.back().text += "; " + action.text;
      moments.back().shortText += "; " + shortened(action.text);
    }
  }
  return moments;
}

}  // namespace Planning
