/// How often something took how long.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace Orb {

/// Counts durations by the least bound that they do not exceed, and adds them up. Cheap enough for every turn of a
/// loop. Whoever measures owns it.
class DurationCounts {
 public:
  static constexpr std::array bounds{0.0001, 0.001, 0.01, 0.1, 1.0};  ///< seconds

  void add(double seconds) {
    ++counts_[static_cast<size_t>(std::lower_bound(bounds.begin(), bounds.end(), seconds) - bounds.begin())];
    sum_ += seconds;
  }

  /// By bound; at last those beyond all bounds.
  const std::array<uint64_t, bounds.size() + 1> &counts() const { return counts_; }
  /// Seconds.
  double sum() const { return sum_; }

 private:
  std::array<uint64_t, bounds.size() + 1> counts_{};
  double sum_ = 0;
};

}  // namespace Orb
