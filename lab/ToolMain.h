/// What the main functions of the lab's tools have in common.
#pragma once

#include <boost/program_options/errors.hpp>
#include <exception>
#include <iostream>

namespace Lab {

/// Runs `run` with what `parse` makes of the command line, or not at all where it makes nothing, as for --help. The
/// exit status: 0 done, 1 failed, 2 bad usage, with the reason on standard error.
template <class Parse, class Run>
int toolMain(const char *name, int count, char **words, const Parse &parse, const Run &run) {
  try {
    if (const auto arguments = parse(count, words)) run(*arguments);
    return 0;
  } catch (const boost::program_options::error &error) {
    std::cerr << name << ": " << error.what() << "\n";
    return 2;
  } catch (const std::exception &error) {
    std::cerr << name << ": " << error.what() << "\n";
    return 1;
  }
}

}  // namespace Lab
