/// What was given to the program and cannot be used.
#pragma once

#include <stdexcept>

namespace Planning {

/// A file or folder that is given has not what it should have, or cannot be read; what() begins with its name. Ends the
/// program with Exit::refused. A file that cannot be written is no such fault: that is any std::runtime_error.
class InputFault : public std::runtime_error {
 public:
  using runtime_error::runtime_error;
};

}  // namespace Planning
