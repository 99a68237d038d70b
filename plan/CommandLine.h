/// The command line of one verb.
#pragma once

#include <boost/program_options/options_description.hpp>
#include <boost/program_options/positional_options.hpp>
#include <boost/program_options/variables_map.hpp>
#include <optional>

#include "plan/Program.h"

namespace Planning {

/// Options, and arguments without a name in the order in which they are told of here.
class CommandLine {
 public:
  using Values = boost::program_options::variables_map;

  /// `about`: what --help prints before the options.
  explicit CommandLine(const char *about);

  /// To add others than --help to.
  boost::program_options::options_description_easy_init options() { return options_.add_options(); }
  /// A text, which may be missing.
  void takes(const char *name);
  /// A text; where it is missing the question is asked, as in "which plan?".
  void needs(const char *name, const char *question);
  /// Likewise, any number of texts: a std::vector of them. The last one to be told of.
  void needsSome(const char *name, const char *question);

  /// Unset where --help was given, which is printed. Throws UsageError.
  std::optional<Values> valuesOf(const Arguments &arguments, std::ostream &out) const;

 private:
  const char *about_;
  boost::program_options::options_description options_{"Options"};
  boost::program_options::options_description others_;
  boost::program_options::positional_options_description places_;
  std::vector<std::pair<const char *, const char *>> needed_;  // names and questions
};

/// --seed, if it is given. Throws UsageError where it is none that a simulation has.
std::optional<uint64_t> seedIn(const CommandLine::Values &given);

}  // namespace Planning
