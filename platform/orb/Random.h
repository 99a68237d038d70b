#pragma once

#include <cstdint>
#include <random>

namespace Orb {

/// The random source of one router. Two with equal seeds give equal sequences, which makes a
/// simulation repeat exactly.
class Random {
 public:
  explicit Random(uint64_t seed) : engine_(static_cast<uint32_t>(seed ^ (seed >> 32))) {}

  /// Mixes `more` (the time, say) into the state: sources that differ before still differ after.
  void seedMixIn(uint32_t more) {
    std::seed_seq mixed{static_cast<uint32_t>(engine_()), static_cast<uint32_t>(engine_()), more};
    engine_.seed(mixed);
  }
  /// All 32 bits uniform.
  uint32_t next() { return static_cast<uint32_t>(engine_()); }
  /// Uniform in [least, most).
  double uniform(double least, double most) { return std::uniform_real_distribution(least, most)(engine_); }

 private:
  std::mt19937 engine_;
};

}  // namespace Orb
