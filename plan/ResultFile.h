/// The lines of a sweep in a file, so that one that was interrupted goes on where it stopped.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "plan/InputFault.h"
#include "platform/linux/Descriptor.h"

namespace Planning {

using TakeLine = std::function<void(const std::string &line)>;

/// Hands each line to `take`, which may throw std::invalid_argument. A last line that was cut off is left out. "-" is
/// standard input. Throws InputFault.
void readResults(const std::string &file, const TakeLine &take);

class ResultFile {
 public:
  /// Makes the file if it is not there. Hands the lines that it has to `take`, as readResults() does, and cuts off a
  /// last line without its end, unless that is no result. Throws InputFault, and as all of these std::runtime_error
  /// where it cannot be written.
  ResultFile(std::string name, const TakeLine &take);
  /// Adds a line at the end; it is there whatever happens to this process afterwards.
  void add(const std::string &line);
  /// Puts the lines into the order of their numbers. Of those of one number the first stays; without one, none.
  void sort(const std::function<std::optional<size_t>(const std::string &line)> &numberOf);

 private:
  const std::string name_;
  Linux::Descriptor file_;
};

}  // namespace Planning
