#include "plan/CommandLine.h"

#include <boost/program_options/parsers.hpp>

#include "daemon/control/OptionError.h"

namespace Planning {

namespace po = boost::program_options;

CommandLine::CommandLine(const char *about) : about_(about) { options()("help", "print this"); }

void CommandLine::takes(const char *name) {
  others_.add_options()(name, po::value<std::string>());
  places_.add(name, 1);
}

void CommandLine::needs(const char *name, const char *question) {
  takes(name);
  needed_.emplace_back(name, question);
}

void CommandLine::needsSome(const char *name, const char *question) {
  others_.add_options()(name, po::value<std::vector<std::string>>());
  places_.add(name, -1);
  needed_.emplace_back(name, question);
}

std::optional<CommandLine::Values> CommandLine::valuesOf(const Arguments &arguments, std::ostream &out) const {
  po::options_description all;
  all.add(options_).add(others_);
  Values given;
  try {
    po::store(po::command_line_parser(arguments).options(all).positional(places_).run(), given);
    po::notify(given);
  } catch (const po::error &error) {
    throw UsageError(Control::textOf(error));
  }
  if (given.count("help") > 0) {
    out << about_ << '\n' << options_;
    return std::nullopt;
  }
  for (const auto &[name, question] : needed_) {
    if (given.count(name) == 0) throw UsageError(question);
  }
  return given;
}

std::optional<uint64_t> seedIn(const CommandLine::Values &given) {
  if (given.count("seed") == 0) return std::nullopt;
  const auto seed = given["seed"].as<uint64_t>();
  if (seed > UINT32_MAX) throw UsageError("--seed needs a number up to 4294967295");
  return seed;
}

}  // namespace Planning
