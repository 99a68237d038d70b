#include "plan/Question.h"

#include <algorithm>
#include <charconv>
#include <nlohmann/json.hpp>

#include "daemon/control/Streams.h"
#include "plan/Program.h"
#include "plan/Resolver.h"

namespace Planning {

using Control::Rows;

namespace {

// What is about the process itself, of which there is none.
constexpr std::array notSimulated{"agent", "vrf", "config", "state", "log"};

bool isSimulated(const Control::Noun &noun) {
  return std::none_of(notSimulated.begin(), notSimulated.end(),
                      [&](const char *name) { return std::string_view(name) == noun.name; });
}

// The time at the end, if there is one.
std::optional<double> takeTime(std::vector<std::string> &words, double end) {
  if (words.size() < 2 || words[words.size() - 2] != "at") return std::nullopt;
  const std::string &word = words.back();
  double time = 0;
  const auto [rest, error] = std::from_chars(word.data(), word.data() + word.size(), time);
  if (error != std::errc() || rest != word.data() + word.size() || !(time >= 0)) {
    throw std::invalid_argument("'" + word + "' is no time in seconds");
  }
  if (time > end) throw std::invalid_argument(word + " s is after the end");
  words.resize(words.size() - 2);
  return time;
}

void takeRouter(const std::string &word, const Plan &plan, Question &question) {
  const MemberName name = memberNameFrom(word);
  if (!name.interface.empty()) throw std::invalid_argument("a router is asked, and not its interface");
  const auto router = std::find_if(plan.routers.begin(), plan.routers.end(),
                                   [&](const Router &each) { return each.name == name.router; });
  if (router == plan.routers.end()) throw std::invalid_argument("there is no router '" + name.router + "'");
  question.router = static_cast<size_t>(router - plan.routers.begin());
  if (word == name.router) return;
  const auto vrf =
      std::find_if(router->vrfs.begin(), router->vrfs.end(), [&](const Vrf &each) { return each.name == name.vrf; });
  if (vrf == router->vrfs.end()) throw std::invalid_argument(name.router + " has no VRF '" + name.vrf + "'");
  question.vrf = static_cast<size_t>(vrf - router->vrfs.begin());
}

Question parsed(const std::string &text, const Simulation &simulation) {
  Question question;
  question.text = text;
  std::vector<std::string> words = Control::wordsOf(text);
  question.at = takeTime(words, simulation.plan().duration).value_or(simulation.plan().duration);
  if (words.size() < 3 || words.size() > 4) throw std::invalid_argument("that is no question");
  takeRouter(words[0], simulation.plan(), question);
  if (words[1] != "show" && words[1] != "explain") throw std::invalid_argument("'" + words[1] + "' cannot be asked");
  question.explains = words[1] == "explain";
  question.noun = Control::nounOf(*Control::verbOf(words[1]), words[2]);
  if (!question.noun || !isSimulated(*question.noun)) {
    throw std::invalid_argument("'" + words[1] + " " + words[2] + "' cannot be asked");
  }
  question.argument = words.size() > 3 ? words[3] : "";
  Control::checkArgument(*question.noun, question.argument);
  answerTo(question, simulation);
  return question;
}

}  // namespace

Question questionFrom(const std::string &text, const Simulation &simulation) {
  try {
    return parsed(text, simulation);
  } catch (const std::invalid_argument &error) {
    throw UsageError("--ask \"" + text + "\": " + error.what() +
                     "; ask \"ROUTER[/VRF] show|explain WHAT [at SECONDS]\"");
  }
}

Rows answerTo(const Question &question, const Simulation &simulation) {
  Box &box = simulation.box(question.router);
  Rows all = question.explains ? box.explained(question.noun->name, question.argument)
                               : box.shown(question.noun->name, question.argument);
  if (!question.vrf) return all;
  const std::string &vrf = simulation.plan().routers[question.router].vrfs[*question.vrf].name;
  Rows rows = Rows::array();
  for (Rows &row : all) {
    if (!row.contains("vrf") || row["vrf"] == vrf) rows.push_back(std::move(row));
  }
  return rows;
}

}  // namespace Planning
