// The longest match of random addresses among 10,000 prefixes, compared with a bare loop over the same addresses.

#include <benchmark/benchmark.h>

#include <random>

#include "platform/routing/TrieGen.h"

namespace {

using Pax::AddressFamily;
using Pax::IpGenAddr;
using Pax::IpGenPrefix;

// IPv4: /8 to /24 anywhere. IPv6: /32 to /64 under 2000::/3, in 500 allocations of /32.
IpGenPrefix anyPrefix(std::mt19937_64 &random, AddressFamily family) {
  if (family == AddressFamily::ipv4) return {IpGenAddr::v4(random() >> 32), static_cast<uint8_t>(8 + random() % 17)};
  const uint64_t allocation = 0x20010000 + random() % 500;
  return {IpGenAddr::v6(allocation << 32 | random() >> 32, random()), static_cast<uint8_t>(32 + random() % 33)};
}

struct Table {
  explicit Table(AddressFamily family) : trie("bench", family) {
    std::mt19937_64 random(1);
    while (trie.size() < 10000) trie.routeIs(anyPrefix(random, family));
    const auto routes = trie.routes();
    for (int i = 0; i < 4096; ++i) {  // hosts inside stored prefixes
      const IpGenPrefix &inside = routes[random() % routes.size()];
      const IpGenAddr at = inside.address();
      asked.push_back(IpGenPrefix::host(family == AddressFamily::ipv4 ? IpGenAddr::v4(at.v4() | (random() & 0xff))
                                                                      : IpGenAddr::v6(at.high(), random())));
    }
  }
  Routing::TrieGen trie;
  std::vector<IpGenPrefix> asked;
};

template <AddressFamily family>
void longestMatch(benchmark::State &state) {
  const Table table(family);
  size_t i = 0;
  for ([[maybe_unused]] auto _ : state) benchmark::DoNotOptimize(table.trie.longestMatch(table.asked[i++ % 4096]));
}
template <AddressFamily family>
void longestMatchBare(benchmark::State &state) {
  const Table table(family);
  size_t i = 0;
  for ([[maybe_unused]] auto _ : state) benchmark::DoNotOptimize(IpGenPrefix(table.asked[i++ % 4096].address(), 20));
}
BENCHMARK(longestMatch<AddressFamily::ipv4>);
BENCHMARK(longestMatchBare<AddressFamily::ipv4>);
BENCHMARK(longestMatch<AddressFamily::ipv6>);
BENCHMARK(longestMatchBare<AddressFamily::ipv6>);

}  // namespace
