// An hour of protocol in networks of up to ten thousand routers with agents.
#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include "platform/sim/Network.h"
#include "sim/Feeder.h"
#include "sim/Host.h"

namespace {

constexpr double hour = 3600;

// Routers in a grid, with links of different MTUs and a feeder in a corner that announces `groups` prefixes of
// three RPs each.
class Grid {
 public:
  Grid(Pax::AddressFamily family, uint32_t columns, uint32_t rows, uint32_t groups)
      : network_(family, 1), feeder_(network_.router("feeder")) {
    for (uint32_t row = 0; row < rows; ++row) {
      for (uint32_t column = 0; column < columns; ++column) {
        if (column > 0) link(name(column - 1, row), name(column, row));
        if (row > 0) link(name(column, row - 1), name(column, row));
        hosts_.push_back(std::make_unique<Sim::Host>(network_.router(name(column, row))));
      }
    }
    link("feeder", name(0, 0));
    fill(groups);
    const Sim::BsrParameters bsr{.address = feeder_.router().address(), .zone = Pax::allGroups(family)};
    feeder_.zoneIs(bsr.zone, fragmentsOf(bsr, table_, 1400));
  }

  void run(double seconds) {
    feeder_.start();
    for (const auto &host : hosts_) host->start();
    network_.time().runFor(seconds);
  }
  bool allAgree() const {
    for (const auto &host : hosts_) {
      if (Sim::tableOf(host->rpSet()) != table_) return false;
    }
    return true;
  }
  uint64_t events() { return network_.time().happened(); }
  uint64_t packets() const {
    uint64_t count = 0;
    for (const auto &link : network_.links()) count += link->counters().sent;
    return count;
  }

 private:
  static std::string name(uint32_t column, uint32_t row) { return std::to_string(column) + "." + std::to_string(row); }
  void link(const std::string &one, const std::string &other) {
    constexpr uint32_t mtus[] = {1500, 1400, 9000};
    network_.linkIs(one + "-" + other, {one, other}, {.mtu = mtus[network_.links().size() % 3]});
  }
  void fill(uint32_t groups) {
    for (uint32_t group = 0; group < groups; ++group) {
      auto &rps = table_.group[Pax::IpGenPrefix(Pax::IpGenAddr::v4(0xe1000000 + (group << 8)), 24)];
      for (uint32_t rp = 0; rp < 3; ++rp) rps[Pax::IpGenAddr::v4(0x0a640000 + group % 10 * 256 + rp)];
    }
  }

  Sim::Network network_;
  Sim::Feeder feeder_;
  Sim::RpTable table_;
  std::vector<std::unique_ptr<Sim::Host>> hosts_;
};

// Arguments: routers (in rows of 25) and groups. The memory is the most that the process has had so far, so the largest
// network is last; ./bench runs each in a process of its own.
void anHourOfProtocol(benchmark::State &state) {
  for ([[maybe_unused]] auto _ : state) {
    const auto rows = static_cast<uint32_t>(state.range(0)) / 25;
    Grid grid(Pax::AddressFamily::ipv4, 25, rows, static_cast<uint32_t>(state.range(1)));
    grid.run(hour);
    if (!grid.allAgree()) state.SkipWithError("the routers do not agree");
    state.counters["events"] = static_cast<double>(grid.events());
    state.counters["packets"] = static_cast<double>(grid.packets());
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    state.counters["MiB"] = static_cast<double>(usage.ru_maxrss) / 1024;
  }
}
BENCHMARK(anHourOfProtocol)
    ->ArgNames({"routers", "groups"})
    ->Args({100, 10})
    ->Args({250, 10})
    ->Args({500, 10})
    ->Args({1000, 10})
    ->Args({1000, 100})
    ->Args({10000, 10})
    ->Iterations(1)
    ->Unit(benchmark::kSecond);

}  // namespace
