#include "plan/Cases.h"

#include <algorithm>
#include <cmath>

#include "plan/Outcome.h"

namespace Planning {

namespace {

// What the story has done by its end.
std::pair<std::vector<bool>, std::vector<bool>> goneIn(const Plan &plan) {
  std::vector<bool> links(plan.links.size()), routers(plan.routers.size());
  for (const Action &action : plan.story) {
    if (action.verb == Verb::cut || action.verb == Verb::heal) links[action.link] = action.verb == Verb::cut;
    if (action.verb == Verb::powerOff || action.verb == Verb::powerOn) {
      routers[action.router] = action.verb == Verb::powerOff;
    }
  }
  return {links, routers};
}

}  // namespace

Cases::Cases(const Plan &plan, const Setting &setting) : plan_(plan), setting_(setting), base_(plan) {
  const auto later = std::find_if(base_.story.begin(), base_.story.end(),
                                  [&](const Action &action) { return action.at >= setting.at; });
  const double known = later == base_.story.end() ? INFINITY : later->at;
  base_.story.erase(later, base_.story.end());
  std::erase_if(base_.expectations, [&](const Expectation &each) {
    return (each.kind < Expectation::Kind::agree ? each.at : each.from) >= known;
  });
  double end = setting.at + setting.lasts;
  for (const Expectation &each : base_.expectations) {
    end = std::max({end, each.at, each.to < plan.duration ? each.to : 0});
  }
  base_.duration = end;
  for (Expectation &each : base_.expectations) {
    if (each.kind < Expectation::Kind::agree || each.to < plan.duration) continue;
    each.to = end;
    each.text.resize(each.text.rfind(" to "));
    each.text += " to the end";
  }
  const auto &[cut, off] = goneIn(base_);
  for (size_t i = 0; i < cut.size(); ++i) {
    if (!cut[i]) links_.push_back(i);
  }
  for (size_t i = 0; i < off.size(); ++i) {
    if (!off[i]) routers_.push_back(i);
  }
}

std::vector<Cases::Failure> Cases::failures(size_t run) const {
  size_t number = run % perSeed();
  if (number == 0) return {};
  if (--number < links()) return {{true, links_[number]}};
  if ((number -= links()) < routers()) return {{false, routers_[number]}};
  number -= routers();
  size_t one = 0;
  for (size_t others = links() - 1; number >= others; --others, ++one) number -= others;
  return {{true, links_[one]}, {true, links_[one + 1 + number]}};
}

std::vector<std::string> Cases::failing(size_t run) const {
  std::vector<std::string> names;
  for (const Failure &each : failures(run)) {
    names.push_back(each.isLink ? "link " + plan_.links[each.place].name : "router " + plan_.routers[each.place].name);
  }
  return names;
}

Plan Cases::planOf(size_t run) const {
  Plan plan = base_;
  for (const Failure &each : failures(run)) {
    Action action{.at = setting_.at, .verb = each.isLink ? Verb::cut : Verb::powerOff};
    (each.isLink ? action.link : action.router) = each.place;
    action.text = each.isLink ? "Link " + plan.links[each.place].name + " is cut"
                              : plan.routers[each.place].name + " loses power";
    plan.story.push_back(std::move(action));
  }
  return plan;
}

std::optional<double> settledTime(const Plan &plan) {
  constexpr double quiet = 60;
  for (const EpisodeFigures &episode : play(plan, plan.seed).episodes) {
    std::optional<double> agreed;
    for (const ZoneFigures &zone : episode.zones) {
      agreed = std::max(agreed.value_or(0), zone.agreedAfter.value_or(INFINITY));
    }
    if (!agreed || std::isinf(*agreed)) continue;
    const double settled = std::ceil(episode.begin + *agreed + quiet);
    return episode.end < plan.duration ? std::min(settled, episode.end) : settled;
  }
  return std::nullopt;
}

double timeToRecover(const Plan &plan) {
  double longest = 150;
  const auto take = [&](const ConfigurationPtr &configuration) {
    if (!configuration) return;
    for (const auto &[vrf, settings] : configuration->vrfConfig) {
      longest = std::max<double>(longest, settings.holdTime);
      for (const auto &[intfId, candidacy] : settings.rpCandidateConfig) {
        longest = std::max<double>(longest, 3. * candidacy.advInterval);
      }
    }
  };
  for (const Router &router : plan.routers) take(router.configuration);
  for (const Action &action : plan.story) take(action.configuration);
  return 2 * longest;
}

}  // namespace Planning
