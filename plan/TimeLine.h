/// Follows a run and has it written.
#pragma once

#include "plan/RunWriter.h"

namespace Planning {

/// Made after the account and before the simulation runs; goes before both.
class TimeLine : public Observer {
 public:
  /// Events of this severity and worse are written. Questions are answered when their time comes, after all else of
  /// that time.
  TimeLine(Simulation &simulation, Account &account, RunWriter &writer, Routing::Pim::Bsr::Severity severity,
           const std::vector<Question> &questions);

  void handleBefore(const Action &action) override;
  void handleEvent(size_t router, const Routing::Pim::Bsr::Event &event) override;
  void handleInstant() override;

 private:
  void agreed(const Domain &domain);

  const Simulation &simulation_;
  const Account &account_;
  RunWriter &writer_;
  const Naming naming_;
  const Routing::Pim::Bsr::Severity severity_;
  std::vector<Question> waiting_;  // by time, the next one last
};

}  // namespace Planning
