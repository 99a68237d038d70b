/// The agent as a candidate BSR and candidate RP, with the candidacies from a file of the lab instead
/// of the configuration, which knows none yet.
#include <boost/program_options.hpp>
#include <iostream>

#include "daemon/Program.h"
#include "lab/CandidateFile.h"

namespace {

namespace options = boost::program_options;

constexpr int badUsage = 2;

const char *const usage =
    "Usage: candidate --family 4|6 --candidates FILE [OPTION OF PimBsr]...\n"
    "The agent of that family, in the namespace that it is started in. The form of FILE stands in\n"
    "lab/CandidateFile.h.\n";

struct Arguments {
  Pax::AddressFamily family;
  std::string candidates;
  std::vector<std::string> agent;  // what is left for the agent's own command line
};

/// Throws options::error.
Arguments parse(int count, char **words) {
  std::string family;
  Arguments arguments;
  options::options_description known;
  auto add = known.add_options();
  add("family", options::value(&family)->required());
  add("candidates", options::value(&arguments.candidates)->required());
  const int style = options::command_line_style::unix_style & ~options::command_line_style::allow_guessing;
  const auto parsed = options::command_line_parser(count, words).options(known).style(style).allow_unregistered().run();
  options::variables_map given;
  options::store(parsed, given);
  options::notify(given);
  if (family != "4" && family != "6") throw options::error("--family is 4 or 6");
  arguments.family = family == "4" ? Pax::AddressFamily::ipv4 : Pax::AddressFamily::ipv6;
  arguments.agent = options::collect_unrecognized(parsed.options, options::include_positional);
  return arguments;
}

}  // namespace

int main(int count, char **words) {
  try {
    const Arguments arguments = parse(count, words);
    const Lab::CandidateFile file(arguments.candidates, arguments.family);
    return Routing::Pim::Bsr::runProgram(arguments.family, arguments.agent,
                                         [&file](Routing::Pim::Bsr::Status &status) { file.writeTo(status); });
  } catch (const options::error &error) {
    std::cerr << "candidate: " << error.what() << '\n' << usage;
  } catch (const std::exception &error) {
    std::cerr << error.what() << '\n';
  }
  return badUsage;
}
