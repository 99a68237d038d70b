// From the rules of an ACL to the prefixes that it permits, beside Debian's iprange, which merges the same permitted
// prefixes (its process, and reading them, included).

#include <benchmark/benchmark.h>

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <random>

#include "platform/acl/AclToPrefix.h"

namespace {

using Pax::IpGenAddr;
using Pax::IpGenPrefix;

std::vector<Acl::IpRule> rules(const benchmark::State &state, bool withDenials) {
  std::mt19937 random(1);
  std::vector<Acl::IpRule> result(static_cast<size_t>(state.range(0)));
  for (Acl::IpRule &rule : result) {
    rule.action = withDenials && random() % 4 == 0 ? Acl::Action::deny : Acl::Action::permit;
    rule.filter.source = {IpGenAddr::v4(static_cast<uint32_t>(random())), static_cast<uint8_t>(12 + random() % 21)};
  }
  return result;
}

std::vector<IpGenPrefix> permitted(const std::vector<Acl::IpRule> &rules) {
  AclPrefix::AclToPrefix acl(Pax::AddressFamily::ipv4);
  for (const Acl::IpRule &rule : rules) acl.handleRule(rule);
  return acl.PermittedPrefixes();
}

void aclPermits(benchmark::State &state) {
  const auto list = rules(state, false);
  for ([[maybe_unused]] auto _ : state) benchmark::DoNotOptimize(permitted(list));
}

void aclWithDenials(benchmark::State &state) {
  const auto list = rules(state, true);
  for ([[maybe_unused]] auto _ : state) benchmark::DoNotOptimize(permitted(list));
}

void aclIprange(benchmark::State &state) {
  if (std::system("command -v iprange >/dev/null") != 0) return state.SkipWithError("iprange is not installed");
  const auto list = rules(state, false);
  char path[] = "/tmp/acl-XXXXXX";
  const int file = mkstemp(path);
  {
    std::ofstream out(path);
    for (const Acl::IpRule &rule : list) out << rule.filter.source << '\n';
  }
  const std::string command = std::string("iprange --optimize ") + path + " 2>/dev/null";
  size_t lines = 0;
  for ([[maybe_unused]] auto _ : state) {
    FILE *output = popen(command.c_str(), "r");
    lines = 0;
    for (int c = 0; (c = std::getc(output)) != EOF;) lines += c == '\n';
    pclose(output);
  }
  close(file);
  std::remove(path);
  if (lines != permitted(list).size()) state.SkipWithError("iprange has another number of prefixes");
}

void sizes(benchmark::internal::Benchmark *bench) {
  bench->Arg(100)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);
}
BENCHMARK(aclPermits)->Apply(sizes);
BENCHMARK(aclWithDenials)->Apply(sizes);
BENCHMARK(aclIprange)->Arg(10000)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
