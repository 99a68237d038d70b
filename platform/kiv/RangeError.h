#pragma once

#include <stdexcept>

namespace Kiv {

/// A value that its type does not allow, thrown where the value is constructed. what() is the
/// type's own text, for example "RpHashMaskLen::value < 0 or > 128 not allowed".
class RangeError : public std::range_error {
 public:
  using std::range_error::range_error;
};

}  // namespace Kiv
