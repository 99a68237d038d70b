#include "plan/RunJson.h"

#include <nlohmann/json.hpp>

namespace Planning {

using Control::Rows;

void RunJson::write(const Rows &line) { out_ << Control::rowText(line) << '\n'; }

void RunJson::writeEvent(double at, size_t router, const Routing::Pim::Bsr::Event &event) {
  Rows line{{"type", "event"}, {"at", roundedSeconds(at)}, {"router", plan_.routers[router].name}};
  Rows row = Routing::Pim::Bsr::rowOf(event);
  row.erase("seq");
  row.erase("time");
  line.update(row);
  write(line);
}

void RunJson::writeAction(double at, const Action &action) {
  write({{"type", "action"}, {"at", roundedSeconds(at)}, {"text", action.text}});
}

void RunJson::writeAgreement(const Agreement &agreement) {
  Rows line{{"type", "agreed"}, {"at", roundedSeconds(agreement.at)}};
  line.update(toJson(agreement.domain));
  line.update({{"after", roundedSeconds(agreement.after)}, {"what", agreement.what}, {"on", Rows::array()}});
  for (const Agreement::On &on : agreement.on) {
    line["on"].push_back({{"bsr", Kiv::toText(on.bsr)},
                          {"router", naming_.routerWith(on.bsr, agreement.domain.vrf)},
                          {"rps", on.rps},
                          {"nodes", on.nodes}});
  }
  write(line);
}

void RunJson::writeAnswer(double at, const Question &question, const Rows &rows, bool runs) {
  write({{"type", "answer"}, {"at", roundedSeconds(at)}, {"question", question.text}, {"runs", runs}, {"rows", rows}});
}

void RunJson::writeOutcome(const Plan &plan, const Outcome &outcome) {
  for (const EpisodeFigures &episode : outcome.episodes) {
    Rows line{{"type", "episode"}};
    line.update(toJson(episode));
    write(line);
  }
  for (size_t i = 0; i < outcome.verdicts.size(); ++i) {
    write({{"type", "expectation"},
           {"text", plan.expectations[i].text},
           {"holds", outcome.verdicts[i].holds},
           {"seen", outcome.verdicts[i].seen}});
  }
  write({{"type", "end"},
         {"at", roundedSeconds(plan.duration)},
         {"seed", outcome.seed},
         {"holds", outcome.holds()},
         {"bsrs", toJson(outcome).at("bsrs")}});
}

}  // namespace Planning
