#include "ctl/Options.h"

#include <algorithm>
#include <boost/program_options.hpp>
#include <charconv>

#include "ctl/Help.h"
#include "ctl/Reference.h"
#include "daemon/control/Defaults.h"
#include "daemon/control/OptionError.h"
#include "daemon/control/Streams.h"

namespace Control {

namespace po = boost::program_options;

namespace {

using Texts = std::vector<std::string>;

po::options_description visible() {
  po::options_description described("Options");
  described.add_options()                                                                           //
      ("ipv4,4", "ask PimBsr, the agent for IPv4 (the default)")                                    //
      ("ipv6,6", "ask PimBsr6, the agent for IPv6")                                                 //
      ("socket", po::value<std::string>()->value_name("PATH"), "ask the agent that listens there")  //
      ("vrf", po::value<std::string>()->value_name("NAME"), "show this VRF only")                   //
      ("since", po::value<std::string>()->value_name("TIME|SEQ"),
       "only events from this time on, as 2024-05-01T12:34:56Z, or after this number")             //
      ("zone", po::value<std::string>()->value_name("PREFIX"), "only what is of this scope zone")  //
      ("severity", po::value<std::string>()->value_name("SEVERITY"),
       "only events this bad or worse: emergency, alert, critical, error, warning, notice, info or debug")  //
      ("kind", po::value<std::string>()->value_name("KIND"), "only events of this kind, as bsrLost")        //
      ("json,j", "print JSON: an array of objects, times in seconds")                                       //
      ("no-legend", "print tables without the names of their columns")                                      //
      ("prefixes", "with show acl: what each permits, too")                                                 //
      ("follow", "with show log: go on with new lines")                                                     //
      ("interval", po::value<std::string>()->value_name("SECONDS"),
       "with watch and --follow: look so often where no stream tells of changes (1)")  //
      ("exec", po::value<std::string>()->value_name("COMMAND"),
       "with monitor: run it on each change, with all rows as JSON on its standard input")  //
      ("time-limit", po::value<std::string>()->value_name("SECONDS"),
       "with --exec: how long the command may take (30)")  //
      ("version", "print the version and exit")            //
      ("help", "print this help, or what a verb does or a noun shows, and exit");
  return described;
}

po::variables_map parse(const Texts &arguments) {
  po::options_description all = visible();
  all.add_options()("operand", po::value<Texts>());
  po::positional_options_description operands;
  operands.add("operand", -1);
  const int style = po::command_line_style::unix_style & ~po::command_line_style::allow_guessing;
  po::variables_map given;
  po::store(po::command_line_parser(arguments).options(all).positional(operands).style(style).run(), given);
  return given;
}

void readAgent(const po::variables_map &given, Options &options) {
  if (given.count("ipv4") + given.count("ipv6") + given.count("socket") > 1) {
    throw UsageError("only one of --socket, -4 and -6 may be given");
  }
  const auto family = given.count("ipv6") ? Pax::AddressFamily::ipv6 : Pax::AddressFamily::ipv4;
  options.program = given.count("socket") ? "the agent" : agentName(family);
  options.socket = given.count("socket") ? given["socket"].as<std::string>() : defaultSocket(family);
}

void readChoice(const po::variables_map &given, Request &request) {
  const std::pair<const char *, std::string Request::*> choices[] = {{"vrf", &Request::vrf},
                                                                     {"since", &Request::since},
                                                                     {"zone", &Request::zone},
                                                                     {"severity", &Request::severity},
                                                                     {"kind", &Request::kind}};
  for (const auto &[name, member] : choices) {
    if (given.count(name)) request.*member = given[name].as<std::string>();
  }
}

// What a verb or noun has no use for would be ignored.
void checkChoice(const Options &options) {
  const auto &[verb, noun, vrf, argument, since, zone, severity, kind] = options.request;
  const bool isAsked = verbOf(verb)->takesNoun || verb == "monitor";
  if (!isAsked && !(zone + since + severity + kind).empty())
    throw UsageError("--zone, --since, --severity and --kind are for what is shown");
  if (!std::ranges::count(wordsOf(noun), eventsNoun) && !(since + severity + kind).empty()) {
    throw UsageError("--since, --severity and --kind are for '" + (verb == "explain" ? "show" : verb) + " events'");
  }
  if (vrf.empty() || verb == "monitor" || verb == "clear") return;
  const auto isVrf = [](const Column &column) { return column.name == std::string_view("vrf"); };
  const bool hasVrf = isAsked && (noun == eventsNoun || std::ranges::any_of(options.noun->columns, isVrf));
  if (!hasVrf) throw UsageError("'" + verb + (noun.empty() ? "" : " ") + noun + "' takes no --vrf");
}

// The operands for `shape`, from `next` on, as one text; empty where it is in brackets and left out.
std::string takeArgument(const Texts &operands, const std::string &shape, size_t &next) {
  const size_t words = shape.empty() ? 0 : 1 + std::count(shape.begin(), shape.end(), ' ');
  if (operands.size() < next + words) {
    if (shape.empty() || (shape[0] == '[' && operands.size() == next)) return {};
    throw UsageError("'" + operands[next - 1] + "' needs '" + shape + "'");
  }
  std::string argument;
  for (size_t i = 0; i < words; ++i) argument += (i > 0 ? " " : "") + operands[next++];
  return argument;
}

// Nouns, or one with its operand.
void readMonitored(const Texts &operands, Options &options) {
  Request &request = options.request;
  request.verb = operands[0];
  for (size_t next = 1; next < operands.size();) {
    const std::string &name = operands[next++];
    if (name != eventsNoun && !followedOf(name)) {
      throw UsageError("'" + name + "' cannot be monitored; what can: " + followedNames());
    }
    request.noun += (request.noun.empty() ? "" : " ") + name;
    const Noun *noun = nounOf(name);
    // An operand that may be left out is none where another noun stands.
    const bool isNext = next < operands.size() && (operands[next] == eventsNoun || followedOf(operands[next]));
    if (noun && !(isNext && noun->operand[0] == '[')) request.argument = takeArgument(operands, noun->operand, next);
    if (!request.argument.empty() && operands.size() > 3) throw UsageError("'" + name + "' is monitored alone");
  }
  if (request.noun.empty()) request.noun = eventsNoun;
}

// Seconds, at most a day; the option is given.
template <class Number>
Number secondsOf(const po::variables_map &given, const std::string &option, Number least, const char *leastText) {
  constexpr Number day = 86400;
  const std::string &text = given[option].as<std::string>();
  Number seconds{};
  const auto [rest, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
  if (error == std::errc() && rest == text.data() + text.size() && seconds >= least && seconds <= day) return seconds;
  throw UsageError("--" + option + " must be " + leastText + " to 86400 seconds, not '" + text + "'");
}

void readCommand(const po::variables_map &given, Options &options) {
  if (given.count("exec")) options.command = given["exec"].as<std::string>();
  if (given.count("time-limit")) options.timeLimit = secondsOf<unsigned>(given, "time-limit", 1, "1");
  if (!given.count("exec") && !given.count("time-limit")) return;
  if (options.command.empty()) throw UsageError("--exec needs a command");
  const bool isOne = followedOf(options.request.noun) != nullptr;
  if (options.request.verb != "monitor" || !isOne) throw UsageError("--exec is for monitor with one noun");
}

template <class Entry>
std::string namesOf(std::span<const Entry> entries) {
  std::string names;
  for (const Entry &entry : entries) names.append(names.empty() ? "" : ", ").append(entry.name);
  return names;
}

// For those who build and package: what is made from the table of nouns.
void readPrinted(const Texts &operands, Options &options) {
  const std::string what = operands.size() == 2 ? operands[1] : "";
  options.action = Options::Action::print;
  options.request.argument = what;
  if (!printed(what).empty()) return;
  options.completed = completedOf(what);
  if (!options.completed) throw UsageError("'print' needs one of: bash, zsh, manual, reference");
  options.request = {options.completed->verb, options.completed->noun, options.request.vrf, ""};
}

void readPace(const po::variables_map &given, Options &options) {
  const bool follows = given.count("follow") > 0;
  if (follows && (options.request.verb != "show" || options.request.noun != "log")) {
    throw UsageError("--follow is for 'show log'; 'monitor events' follows events");
  }
  if (follows) options.action = Options::Action::follow;
  const bool isShown = options.request.verb == "show" || options.request.verb == "watch";
  if (options.table.prefixes && (!isShown || options.request.noun != "acl")) {
    throw UsageError("--prefixes is for 'show acl'");
  }
  if (!given.count("interval")) return;
  options.interval = secondsOf(given, "interval", 0.1, "0.1");
  if (!follows && options.request.verb != "watch") throw UsageError("--interval is for 'watch' and --follow");
}

void readOperands(const Texts &operands, Options &options) {
  if (operands.empty()) throw UsageError("a verb is missing; the verbs are: " + namesOf(verbs()));
  const Verb *verb = verbOf(operands[0]);
  if (!verb) throw UsageError("there is no verb '" + operands[0] + "'; the verbs are: " + namesOf(verbs()));
  if (operands[0] == "monitor") return readMonitored(operands, options);
  options.request.verb = operands[0];
  size_t next = 1;
  if (verb->takesNoun) {
    const std::string known = namesOf(nounsOf(*verb));
    if (operands.size() < 2) throw UsageError("'" + operands[0] + "' needs a noun: " + known);
    options.noun = nounOf(*verb, operands[1]);
    if (!options.noun)
      throw UsageError("there is no noun '" + operands[1] + "' for '" + operands[0] + "'; the nouns are: " + known);
    options.request.noun = operands[1];
    options.request.argument = takeArgument(operands, options.noun->operand, next = 2);
    if (options.noun->about && !options.request.argument.empty()) options.noun = options.noun->about;
  } else {
    options.noun = verb->answer;
    options.request.argument = takeArgument(operands, verb->operands, next);
  }
  if (operands.size() > next) throw UsageError("unexpected argument '" + operands[next] + "'");
}

}  // namespace

Options optionsFrom(const Texts &arguments) {
  try {
    const po::variables_map given = parse(arguments);
    const Texts operands = given.count("operand") ? given["operand"].as<Texts>() : Texts();
    Options options;
    options.json = given.count("json") > 0;
    options.table = {.legend = given.count("no-legend") == 0, .prefixes = given.count("prefixes") > 0};
    readChoice(given, options.request);
    readAgent(given, options);
    if (given.count("version")) {
      options.action = Options::Action::version;
    } else if (given.count("help")) {
      options.action = Options::Action::help;
      options.help = operands.empty() ? usage() : helpOn(operands);
    } else if (!operands.empty() && operands[0] == "print") {
      readPrinted(operands, options);
    } else {
      readOperands(operands, options);
      checkChoice(options);
      readCommand(given, options);
      readPace(given, options);
    }
    if (options.request.verb == "monitor") options.action = Options::Action::monitor;
    if (options.request.verb == "watch") {
      options.action = Options::Action::watch;
      options.request.verb = "show";
    }
    return options;
  } catch (const po::error &error) {
    throw UsageError(textOf(error));
  }
}

std::vector<OptionHelp> optionsHelp() {
  std::vector<OptionHelp> help;
  const po::options_description described = visible();
  for (const auto &option : described.options()) {
    std::string value;
    if (option->semantic()->max_tokens() > 0) value = option->format_parameter();
    std::vector<std::string> names = wordsOf(option->format_name());  // "-j [ --json ]"
    std::erase_if(names, [](const std::string &word) { return word[0] != '-'; });
    help.push_back({names, value, option->description()});
  }
  return help;
}

}  // namespace Control
