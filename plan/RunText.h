/// A run as people read it.
#pragma once

#include "plan/FoldedEvents.h"
#include "plan/RunWriter.h"

namespace Planning {

/// The time line, then for each episode and zone how long routers were without, and what became of the expectations.
class RunText : public RunWriter {
 public:
  RunText(const Plan &plan, std::ostream &out);

  void writeEvent(double at, size_t router, const Routing::Pim::Bsr::Event &event) override;
  void writeAction(double at, const Action &action) override;
  void writeAgreement(const Agreement &agreement) override;
  void writeAnswer(double at, const Question &question, const Control::Rows &rows, bool runs) override;
  void writeOutcome(const Plan &plan, const Outcome &outcome) override;

 private:
  void writeEpisode(const EpisodeFigures &episode);
  void writeBsrs(const Outcome &outcome);
  void writeVerdicts(const Plan &plan, const Outcome &outcome);

  void part();

  const bool tellsVrfs_;
  const Naming naming_;
  std::ostream &out_;
  FoldedEvents events_;
  bool isParted_ = true;  // the last line is empty, or nothing is written yet
};

}  // namespace Planning
