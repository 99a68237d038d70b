// Agents in a simulated network keep their status right whatever arrives, is configured, ends or is unplugged.

#include "fuzzers/Traces.h"
#include "fuzzers/World.h"

// The first byte: bit 0 the family, bit 1 all traces, the highest four bits set a wait at the end, until zones end.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  constexpr int stepsMost = 200;
  constexpr double szTimeout = 1300;
  Fuzz::Bytes in(data, size);
  const uint8_t mode = in.u8();
  Fuzz::traceAtLevel(mode & 2 ? 9 : 1);
  Fuzz::World world(mode & 1 ? Test::ipv6 : Test::ipv4);
  for (int step = 0; step < stepsMost && !in.empty(); ++step) {
    world.step(in);
    world.pass(0.01);  // what is due is done in the next turns
    Fuzz::expectNothing(world.broken());
  }
  if (mode >> 4 != 15) return 0;
  world.pass(szTimeout + 200);
  Fuzz::expectNothing(world.broken());
  return 0;
}
