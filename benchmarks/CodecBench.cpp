// Decoding and encoding Bootstrap messages, compared with a bare loop that only walks the same bytes and adds up
// what it reads, checksum included. Arguments: groups, RPs per group. The time is also given per RP.

#include <benchmark/benchmark.h>

#include <cstring>

#include "platform/pim/Codec.h"

namespace {

using namespace Routing::Pim::Packet;
using Pax::AddressFamily;
using Pax::IpGenAddr;

IpGenAddr routable(AddressFamily family, uint32_t n) {
  return family == AddressFamily::ipv4 ? IpGenAddr::v4(0x0a000000 + n) : IpGenAddr::v6(0x20010db800000000, n);
}

IpGenAddr onLink(AddressFamily family) {
  return family == AddressFamily::ipv4 ? IpGenAddr::v4(0xc0a80001) : IpGenAddr::v6(0xfe80000000000000, 1);
}

Kiv::Ptr<BootstrapMessage> message(AddressFamily family, uint32_t groups, uint32_t rps) {
  const auto bsm = BootstrapMessageIs();
  bsm->bsrAddressIs(routable(family, 1));
  for (uint32_t g = 0; g < groups; ++g) {
    const IpGenAddr group = family == AddressFamily::ipv4 ? IpGenAddr::v4(0xe1000000 + (g << 8))
                                                          : IpGenAddr::v6(0xff3e000000000000 + (g << 8), 0);
    const auto block = BootstrapGroupDataIs({group, 24});
    block->rpCountIs(static_cast<uint8_t>(rps));
    block->fragmentRpCountIs(static_cast<uint8_t>(rps));
    for (uint32_t rp = 0; rp < rps; ++rp) block->rpEnq({routable(family, 2 + rp), 150, 0});
    bsm->optionalData()->groupDataEnq(block);
  }
  return bsm;
}

struct Packet {
  Packet(AddressFamily family, const benchmark::State &state)
      : source(onLink(family)), destination(Pax::allPimRouters(family)), codec(family) {
    bsm = message(family, static_cast<uint32_t>(state.range(0)), static_cast<uint32_t>(state.range(1)));
    codec.encode(*bsm, source, destination, bytes);
  }
  const IpGenAddr source, destination;
  Codec codec;
  Kiv::Ptr<BootstrapMessage> bsm;
  std::vector<uint8_t> bytes;
};

void perRp(benchmark::State &state) {
  const auto rps = static_cast<double>(state.range(0) * state.range(1));
  state.counters["perRp"] =
      benchmark::Counter(rps, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

template <AddressFamily family>
void decode(benchmark::State &state) {
  Packet packet(family, state);
  Kiv::Ptr<Message> kept;  // as the agent keeps the last one
  for ([[maybe_unused]] auto _ : state) {
    kept = packet.codec.decode(packet.bytes, packet.source, packet.destination).message;
    if (!kept) state.SkipWithError("does not decode");
  }
  perRp(state);
}

template <AddressFamily family>
void encode(benchmark::State &state) {
  Packet packet(family, state);
  for ([[maybe_unused]] auto _ : state)
    packet.codec.encode(*packet.bsm, packet.source, packet.destination, packet.bytes);
  perRp(state);
}

template <AddressFamily family>
void bareLoop(benchmark::State &state) {
  const Packet packet(family, state);
  constexpr size_t size = family == AddressFamily::ipv4 ? 4 : 16;
  for ([[maybe_unused]] auto _ : state) {
    uint64_t sum = 0;
    for (size_t at = 0; at + 4 <= packet.bytes.size(); at += 4) {
      uint32_t word;
      std::memcpy(&word, &packet.bytes[at], sizeof word);
      sum += word;
    }
    const uint8_t *at = packet.bytes.data() + 8 + 2 + size;
    const uint8_t *const end = packet.bytes.data() + packet.bytes.size();
    while (at < end) {
      sum += at[3];
      at += 4 + size;
      unsigned count = at[1];
      for (at += 4; count > 0; --count, at += size + 6) {
        uint32_t address;
        std::memcpy(&address, at + 2 + size - 4, sizeof address);
        sum += __builtin_bswap32(address) + at[size + 2] * 256u + at[size + 3] + at[size + 4];
      }
    }
    benchmark::DoNotOptimize(sum);
  }
  perRp(state);
}

void shapes(benchmark::internal::Benchmark *bench) { bench->Args({1, 80})->Args({4, 20})->Args({60, 1}); }

BENCHMARK(decode<AddressFamily::ipv4>)->Apply(shapes);
BENCHMARK(encode<AddressFamily::ipv4>)->Apply(shapes);
BENCHMARK(bareLoop<AddressFamily::ipv4>)->Apply(shapes);
BENCHMARK(decode<AddressFamily::ipv6>)->Apply(shapes);
BENCHMARK(encode<AddressFamily::ipv6>)->Apply(shapes);
BENCHMARK(bareLoop<AddressFamily::ipv6>)->Apply(shapes);

}  // namespace
