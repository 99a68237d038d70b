/// The order of names in which r2 comes before r10.
#pragma once

#include <string_view>

namespace Planning {

struct NaturalOrder {
  /// Whether `a` is before `b`: runs of digits are compared as numbers.
  bool operator()(std::string_view a, std::string_view b) const;
  using is_transparent = void;
};

}  // namespace Planning
