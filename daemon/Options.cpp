#include "daemon/Options.h"

#include <boost/program_options.hpp>
#include <sstream>

#include "daemon/control/Defaults.h"
#include "daemon/control/OptionError.h"
#include "platform/tracelet/Tracelet.h"

namespace Routing::Pim::Bsr {

namespace po = boost::program_options;

namespace {

using Texts = std::vector<std::string>;

po::options_description describe(Pax::AddressFamily family) {
  po::options_description described("Options");
  described.add_options()  //
      ("config", po::value<std::string>()->value_name("FILE")->default_value(Control::defaultConfigFile(family)),
       "the configuration file")  //
      ("socket", po::value<std::string>()->value_name("PATH")->default_value(Control::defaultSocket(family)),
       "the socket that pimbsrctl talks to")  //
      ("state", po::value<std::string>()->value_name("FILE")->default_value(Control::defaultStateFile(family)),
       "where what was learned is kept for a restart")                                            //
      ("standby", "start as the standby controller")                                              //
      ("check", "check the configuration and exit: 0 if it is valid, 2 with every error if not")  //
      ("schema", "print the JSON Schema of the configuration file and exit")                      //
      ("log-level", po::value<std::string>()->value_name("SEVERITY"),
       "log events of this severity and worse, whatever the configuration says; the words are those of syslog")  //
      ("trace", po::value<Texts>()->value_name("MODULE=LEVEL")->composing(),
       "trace a module up to a level from 0 to 9, and all others up to 3, to standard error; * means every module; may "
       "be repeated")                            //
      ("version", "print the version and exit")  //
      ("help", "print this help and exit");
  return described;
}

Options::Action actionOf(const po::variables_map &given) {
  if (given.count("help")) return Options::Action::help;
  if (given.count("version")) return Options::Action::version;
  if (given.count("schema")) return Options::Action::schema;
  return given.count("check") ? Options::Action::check : Options::Action::run;
}

Severity logLevelFrom(const std::string &word) {
  try {
    return severityFrom(word);
  } catch (const std::invalid_argument &error) {
    throw UsageError(error.what());
  }
}

}  // namespace

Options optionsFrom(Pax::AddressFamily family, const std::vector<std::string> &arguments) {
  try {
    const po::options_description described = describe(family);
    po::variables_map given;
    // No operands are taken, and no option may be shortened.
    const int style = po::command_line_style::unix_style & ~po::command_line_style::allow_guessing;
    po::store(po::command_line_parser(arguments).options(described).positional({}).style(style).run(), given);
    Options options{actionOf(given),
                    given["config"].as<std::string>(),
                    given["socket"].as<std::string>(),
                    given["state"].as<std::string>(),
                    given.count("standby") > 0,
                    {},
                    {}};
    if (given.count("log-level")) options.logLevel = logLevelFrom(given["log-level"].as<std::string>());
    if (given.count("trace")) {
      for (const std::string &text : given["trace"].as<Texts>()) options.trace.push_back(traceLevelFrom(text));
    }
    return options;
  } catch (const po::error &error) {
    throw UsageError(Control::textOf(error));
  }
}

std::string usage(Pax::AddressFamily family) {
  std::ostringstream out;
  out << "Usage: " << agentName(family) << " [OPTION]...\n" << describe(family);
  return out.str();
}

std::pair<std::string, int> traceLevelFrom(const std::string &text) {
  const size_t equals = text.rfind('=');
  if (equals == text.npos || equals == 0 || equals + 2 != text.size() || text.back() < '0' || text.back() > '9') {
    throw UsageError("'" + text + "' is not MODULE=LEVEL with a level from 0 to 9");
  }
  return {text.substr(0, equals), text.back() - '0'};
}

void traceLevelIs(const std::pair<std::string, int> &level) {
  auto &registry = Tracelet::Registry::instance();
  if (registry.levelIs(level.first, level.second)) return;
  std::string names;
  for (const auto &[module, current] : registry.levels()) names += (names.empty() ? "" : ", ") + module;
  throw UsageError("there is no trace module '" + level.first + "'; the modules are: " + names);
}

}  // namespace Routing::Pim::Bsr
