/// Why a command line is not taken.
#pragma once

#include <boost/program_options/errors.hpp>
#include <string>

namespace Control {

/// In plain words, without the names that the library has for things.
std::string textOf(const boost::program_options::error &error);

}  // namespace Control
