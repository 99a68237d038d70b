#include "platform/orb/Random.h"

#include <random>

namespace Orb {

struct Random::Engine : std::mt19937 {
  using mersenne_twister_engine::mersenne_twister_engine;
};

Random::Random(uint64_t seed) : engine_(std::make_unique<Engine>(static_cast<uint32_t>(seed ^ (seed >> 32)))) {}

Random::~Random() = default;

void Random::seedMixIn(uint32_t more) {
  std::seed_seq mixed{next(), next(), more};
  engine_->seed(mixed);
}

uint32_t Random::next() { return static_cast<uint32_t>((*engine_)()); }

double Random::uniform(double least, double most) { return std::uniform_real_distribution(least, most)(*engine_); }

}  // namespace Orb
