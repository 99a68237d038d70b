#include "daemon/control/OptionError.h"

namespace Control {

namespace po = boost::program_options;

std::string textOf(const po::error &error) {
  const auto *named = dynamic_cast<const po::error_with_option_name *>(&error);
  if (!named) return "there is an argument too many: only options are taken";
  const std::string option = named->get_option_name();
  if (dynamic_cast<const po::unknown_option *>(&error)) return "there is no option '" + option + "'";
  if (dynamic_cast<const po::multiple_occurrences *>(&error)) return "'" + option + "' is given twice";
  if (const auto *syntax = dynamic_cast<const po::invalid_command_line_syntax *>(&error)) {
    using Kind = po::invalid_command_line_syntax;
    if (syntax->kind() == Kind::missing_parameter || syntax->kind() == Kind::empty_adjacent_parameter)
      return "'" + option + "' needs a value";
    return "'" + option + "' takes no value";
  }
  return error.what();
}

}  // namespace Control
