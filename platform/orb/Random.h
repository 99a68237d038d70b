#pragma once

#include <cstdint>
#include <memory>

namespace Orb {

/// The random source of one router or program; whoever runs it owns it, everybody else has a reference.
/// Two with equal seeds give equal sequences, which makes a simulation repeat exactly. Not for secrets.
class Random {
 public:
  explicit Random(uint64_t seed);
  ~Random();

  /// Mixes `more` (the time, say) into the state: sources that differed before still differ afterwards.
  void seedMixIn(uint32_t more);
  /// All 32 bits uniform.
  uint32_t next();
  /// Uniform in [least, most).
  double uniform(double least, double most);

 private:
  struct Engine;
  Engine &engine();

  const uint32_t seed_;
  std::unique_ptr<Engine> engine_;  // null until it is needed, which most links of a simulated network never do
};

}  // namespace Orb
