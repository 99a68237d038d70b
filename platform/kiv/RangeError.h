#pragma once

#include <stdexcept>

namespace Kiv {

/// A value that its type does not allow. The type throws it when the value is constructed, so a value that
/// exists is within its range. what() is the text of the type, for example "RpHashMaskLen::value < 0 or > 128
/// not allowed"; operators read it, so whoever catches it says in front where the value stood.
class RangeError : public std::range_error {
 public:
  using std::range_error::range_error;
};

}  // namespace Kiv
