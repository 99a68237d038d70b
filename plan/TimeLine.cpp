#include "plan/TimeLine.h"

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>

namespace Planning {

TimeLine::TimeLine(Simulation &simulation, Account &account, RunWriter &writer, Routing::Pim::Bsr::Severity severity,
                   const std::vector<Question> &questions)
    : simulation_(simulation),
      account_(account),
      writer_(writer),
      naming_(simulation.plan()),
      severity_(severity),
      waiting_(questions.rbegin(), questions.rend()) {
  std::stable_sort(waiting_.begin(), waiting_.end(), [](const Question &a, const Question &b) { return a.at > b.at; });
  for (const Question &question : waiting_) simulation.lookAt(question.at);
  simulation.observe(*this);
  account.agreedWatcherIs([this](const Domain &domain) { agreed(domain); });
}

void TimeLine::handleBefore(const Action &action) { writer_.writeAction(simulation_.now(), action); }

void TimeLine::handleEvent(size_t router, const Routing::Pim::Bsr::Event &event) {
  if (event.severity <= severity_) writer_.writeEvent(simulation_.now(), router, event);
}

void TimeLine::handleInstant() {
  const double now = simulation_.network().time().now();
  while (!waiting_.empty() && Sim::VirtualTime::start + waiting_.back().at <= now) {
    const Question &question = waiting_.back();
    writer_.writeAnswer(simulation_.now(), question, answerTo(question, simulation_),
                        simulation_.box(question.router).runs());
    waiting_.pop_back();
  }
}

void TimeLine::agreed(const Domain &domain) {
  const Episode &episode = account_.lastEpisode();
  Agreement agreement{
      simulation_.now(), domain, {}, simulation_.now() - episode.begin, naming_.pastOf(episode.actions)};
  std::map<std::pair<Pax::IpGenAddr, size_t>, size_t> nodes;
  std::map<uint64_t, size_t> rps;  // by what nodes hold
  for (const size_t node : account_.counting(domain)) {
    const auto &[router, vrf] = account_.nodes()[node];
    const Held &held = simulation_.held({router, vrf}).at(domain.zone);
    const auto [known, isNew] = rps.try_emplace(held.digest);
    if (isNew) known->second = simulation_.box(router).rps(vrf, domain.zone).size();
    ++nodes[{held.bsr, known->second}];
  }
  for (const auto &[what, count] : nodes) agreement.on.push_back({what.first, what.second, count});
  std::stable_sort(agreement.on.begin(), agreement.on.end(),
                   [](const Agreement::On &a, const Agreement::On &b) { return a.nodes > b.nodes; });
  writer_.writeAgreement(agreement);
}

}  // namespace Planning
