#include "platform/orb/Random.h"

#include <random>

namespace Orb {

// std::mt19937, whose numbers take eight bytes each where that is what std::uint_fast32_t has.
using Twister = std::mersenne_twister_engine<uint32_t, 32, 624, 397, 31, 0x9908b0df, 11, 0xffffffff, 7, 0x9d2c5680, 15,
                                             0xefc60000, 18, 1812433253>;

struct Random::Engine : Twister {
  using Twister::Twister;
};

Random::Random(uint64_t seed) : seed_(static_cast<uint32_t>(seed ^ (seed >> 32))) {}

Random::~Random() = default;

Random::Engine &Random::engine() {
  if (!engine_) engine_ = std::make_unique<Engine>(seed_);
  return *engine_;
}

void Random::seedMixIn(uint32_t more) {
  std::seed_seq mixed{next(), next(), more};
  engine().seed(mixed);
}

uint32_t Random::next() { return static_cast<uint32_t>(engine()()); }

double Random::uniform(double least, double most) { return std::uniform_real_distribution(least, most)(engine()); }

}  // namespace Orb
