/// What fails in each run of a sweep.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "plan/Plan.h"

namespace Planning {

/// Of all runs of a sweep, which are numbered from 0: first one in which nothing fails, then every link, every router
/// and every pair of links; then all of that with the next seed. What fails does so at one time and for good. The
/// story is played up to that time, and no further; expectations about later times of a story that goes on are left
/// out. The plan outlives it.
class Cases {
 public:
  struct Setting {
    double at = 0;     ///< when it fails
    double lasts = 0;  ///< for so many seconds the run goes on, or longer where an expectation wants that
    bool pairs = true;
  };

  Cases(const Plan &plan, const Setting &setting);

  const Plan &plan() const { return plan_; }
  const Setting &setting() const { return setting_; }
  size_t links() const { return links_.size(); }      ///< that can fail
  size_t routers() const { return routers_.size(); }  ///< likewise
  size_t pairs() const { return setting_.pairs && links() > 0 ? links() * (links() - 1) / 2 : 0; }
  /// How many runs there are for each seed.
  size_t perSeed() const { return 1 + links() + routers() + pairs(); }

  uint64_t seedOf(size_t run) const { return plan_.seed + run / perSeed(); }
  /// "link r1-r2", "router r3"; none, one or two.
  std::vector<std::string> failing(size_t run) const;
  /// What a run plays.
  Plan planOf(size_t run) const;

  /// Without failure, but with the story and the expectations of a sweep.
  const Plan &base() const { return base_; }
  size_t eventsLeftOut() const { return plan_.story.size() - base_.story.size(); }
  size_t expectationsLeftOut() const { return plan_.expectations.size() - base_.expectations.size(); }

 private:
  struct Failure {
    bool isLink;
    size_t place;  ///< in the plan's list
  };
  std::vector<Failure> failures(size_t run) const;

  const Plan &plan_;
  const Setting setting_;
  Plan base_;
  std::vector<size_t> links_;
  std::vector<size_t> routers_;
};

/// When a sweep lets things fail unless it is told: 60 s after all routers came to agree, or with the next event if
/// that is sooner. Unset if they never agree. Plays the plan.
std::optional<double> settledTime(const Plan &plan);
/// How long it goes on unless it is told: twice the longest hold time of a BSR or an RP, and 300 s at least.
double timeToRecover(const Plan &plan);

}  // namespace Planning
