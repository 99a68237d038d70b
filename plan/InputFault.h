/// What was given to the program and cannot be used.
#pragma once

#include <stdexcept>

namespace Planning {

/// Files or folders that are given have not what they should have, or cannot be read; what() begins with the name where
/// one of them is to blame. Ends the program with Exit::refused. A file that cannot be written is no such fault: that
/// is any std::runtime_error.
class InputFault : public std::runtime_error {
 public:
  using runtime_error::runtime_error;
};

}  // namespace Planning
