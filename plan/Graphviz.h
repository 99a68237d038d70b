/// The programs of Graphviz, where they are installed.
#pragma once

#include <chrono>
#include <stdexcept>
#include <string>
#include <vector>

#include "plan/NetworkLayout.h"

namespace Planning {

/// A program of Graphviz is missing, fails or takes too long; what() says it.
class GraphvizFailed : public std::runtime_error {
 public:
  using runtime_error::runtime_error;
};

/// Runs one program at a time and waits for it, for no longer than the limit. Programs are looked for in `path`, as in
/// the shell's PATH. All throw GraphvizFailed.
class Graphviz {
 public:
  Graphviz(std::string path, std::chrono::seconds limit) : path_(std::move(path)), limit_(limit) {}

  std::vector<Position> layOut(const NetworkLayout &layout) const;
  /// The picture of a graph whose nodes have positions.
  std::string svgOf(const std::string &dot) const;

 private:
  /// What the program prints when it reads `input`.
  std::string run(const std::string &program, const std::vector<std::string> &arguments,
                  const std::string &input) const;
  void run(const std::string &program, const std::vector<std::string> &arguments, std::FILE *input,
           std::FILE *output) const;

  const std::string path_;
  const std::chrono::seconds limit_;
};

}  // namespace Planning
