// An hour of protocol in a network of a hundred routers: how long it takes to converge, to replace a dead BSR and
// to add and withdraw an RP, in virtual seconds, compared with the best that the timers of RFC 5059 allow. It runs
// as many networks as the argument says, each with a seed of its own. The exit status is 1 if in any of them the
// routers do not agree in time or at the end of the hour.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <limits>

#include "platform/sim/Network.h"
#include "sim/Agreement.h"

namespace {

// RFC 5059 section 5.
constexpr double bsTimeout = 130, bsMinInterval = 10, leastRandOverride = 5;
constexpr double rpHoldTime = 180;  // three times the interval of advertisements
constexpr double step = 0.1;        // the resolution of the times reported

// A grid of agents with three candidate BSRs, of which the first is the best, and four candidate RPs, far from one
// another. Each RP serves a range that all serve and one of its own.
class Grid {
 public:
  static constexpr uint32_t columns = 10, routers = 100;
  static constexpr size_t rpsOfAll = 8, rpsWithoutOne = 6;

  Grid(Pax::AddressFamily family, uint64_t seed) : zone_(Pax::allGroups(family)), network_(family, seed) {
    for (uint32_t i = 0; i < routers; ++i) {
      hosts_.push_back(std::make_unique<Sim::Host>(network_.router(name(i))));
      agents_.push_back(hosts_.back().get());
      if (i % columns > 0) link(i - 1, i);
      if (i >= columns) link(i - columns, i);
    }
  }

  void start() {
    for (uint32_t n = 0; n < 3; ++n) candidateBsrIs(n);
    for (uint32_t n = 0; n < 4; ++n) candidateRpIs(n);
    for (const auto &host : hosts_) host->start();
  }
  void bestBsrDies() { bsr(0).powerOff(); }
  void bestBsrReturns() {
    bsr(0).powerOn();
    candidateBsrIs(0);
    bsr(0).start();
  }
  void candidateRpIs(uint32_t n) {
    for (const uint32_t range : {0u, n + 1}) rp(n).candidateRpIs(groups(range), static_cast<uint16_t>(n));
  }
  void candidateRpDel(uint32_t n) { rp(n).candidateRpDel(); }
  void rpDies(uint32_t n) { rp(n).powerOff(); }

  void runTo(double time) { network_.time().runTo(Sim::VirtualTime::start + time); }
  double now() { return network_.time().now(); }
  // Seconds until the zone's bootstrap timer expires at a candidate.
  double bsrExpires(uint32_t n) { return bsr(n).status().bootstrapRouter(zone_)->expires(now()); }

  // Seconds until all running agents agree on candidate `n` as the BSR; NaN if that takes longer than `most`.
  double untilBsr(uint32_t n, double most) {
    return until([&] { return allFollow(n); }, most);
  }
  // The same, and on an RP set of so many RPs, each counted once per range.
  double untilRps(uint32_t n, size_t rps, double most) {
    return until([&] { return agree(n, rps); }, most);
  }
  bool agree(uint32_t n, size_t rps) {
    return allFollow(n) && zoneViewOf(bsr(n), zone_).table.rps() == rps && disagreement(agents_, zone_).empty();
  }

 private:
  static std::string name(uint32_t i) { return std::to_string(i); }
  void link(uint32_t one, uint32_t other) {
    network_.linkIs(name(one) + "-" + name(other), {name(one), name(other)}, {.delay = 0.005, .jitter = 0.005});
  }
  Sim::Host &bsr(uint32_t n) { return *hosts_[std::array{99u, 5u, 40u}[n]]; }
  Sim::Host &rp(uint32_t n) { return *hosts_[std::array{11u, 18u, 81u, 54u}[n]]; }
  void candidateBsrIs(uint32_t n) { bsr(n).candidateBsrIs(zone_, static_cast<uint16_t>(64 - n)); }
  Pax::IpGenPrefix groups(uint32_t n) const {
    return zone_.af() == Pax::AddressFamily::ipv4
               ? Pax::IpGenPrefix(Pax::IpGenAddr::v4(0xe1000000 + (n << 16)), 16)
               : Pax::IpGenPrefix(Pax::IpGenAddr::v6(0xff3e000000000000 + (uint64_t{n} << 32), 0), 32);
  }
  bool allFollow(uint32_t n) {
    const Pax::IpGenAddr &address = bsr(n).router().address();
    return std::all_of(agents_.begin(), agents_.end(),
                       [&](const Sim::Host *host) { return !host->runs() || host->bsr(zone_) == address; });
  }
  double until(const std::function<bool()> &holds, double most) {
    const double start = now();
    while (!holds()) {
      if (now() - start > most) return std::numeric_limits<double>::quiet_NaN();
      network_.time().runFor(step);
    }
    return now() - start;
  }

  const Pax::IpGenPrefix zone_;
  Sim::Network network_;
  std::vector<std::unique_ptr<Sim::Host>> hosts_;
  std::vector<const Sim::Host *> agents_;
};

// What took how long, a time for each network, and the best that the timers allow.
class Report {
 public:
  void add(const char *what, double took, double atBest, const char *why) {
    const auto row = std::find_if(rows_.begin(), rows_.end(), [&](const Row &known) { return known.what == what; });
    Row &taken = row == rows_.end() ? rows_.emplace_back(Row{what, why, {}, {}}) : *row;
    taken.took.push_back(took);
    taken.atBest.push_back(atBest);
    good_ = good_ && !std::isnan(took);
  }
  void endIs(bool agreed) { good_ = good_ && agreed; }
  bool good() const { return good_; }
  void print(const char *family) {
    std::printf("%s, %zu networks%26s least median   most   at best\n", family, rows_.front().took.size(), "");
    for (Row &row : rows_) {
      std::sort(row.took.begin(), row.took.end());
      const double best = *std::min_element(row.atBest.begin(), row.atBest.end());
      const double worst = *std::max_element(row.atBest.begin(), row.atBest.end());
      std::printf("  %-40s %6.1f %6.1f %6.1f   ", row.what.c_str(), row.took.front(), row.took[row.took.size() / 2],
                  row.took.back());
      best == worst ? std::printf("%.0f", best) : std::printf("%.0f to %.0f", best, worst);
      std::printf(" (%s)\n", row.why);
    }
  }

 private:
  struct Row {
    std::string what;
    const char *why;
    std::vector<double> took, atBest;
  };
  std::vector<Row> rows_;
  bool good_ = true;
};

void anHour(Grid &grid, double phase, Report &report) {
  constexpr double soon = 90;
  grid.start();
  const double elected = grid.untilBsr(0, soon);
  report.add("start: one BSR", elected, leastRandOverride, "BS_Rand_Override");
  report.add("start: one RP set", elected + grid.untilRps(0, Grid::rpsOfAll, soon), leastRandOverride + bsMinInterval,
             "and BS_Min_Interval");

  grid.runTo(600 + phase);
  const double expires = grid.bsrExpires(1);
  grid.bestBsrDies();
  const double next = grid.untilBsr(1, bsTimeout + soon);
  report.add("the BSR dies: the next", next, expires + leastRandOverride, "what is left of BS_Timeout, override");
  report.add("the BSR dies: one RP set", next + grid.untilRps(1, Grid::rpsOfAll, soon), expires + leastRandOverride,
             "the same");

  grid.runTo(1500 + phase);
  grid.bestBsrReturns();
  const double back = grid.untilBsr(0, soon);
  report.add("the better BSR returns", back, leastRandOverride, "BS_Rand_Override");
  report.add("the better BSR returns: one RP set", back + grid.untilRps(0, Grid::rpsOfAll, soon),
             leastRandOverride + bsMinInterval, "and BS_Min_Interval");

  grid.runTo(2100 + phase);
  grid.candidateRpDel(2);
  report.add("an RP withdrawn", grid.untilRps(0, Grid::rpsWithoutOne, soon), bsMinInterval, "BS_Min_Interval");
  grid.runTo(2400 + phase);
  grid.candidateRpIs(2);
  report.add("an RP added", grid.untilRps(0, Grid::rpsOfAll, soon), bsMinInterval, "BS_Min_Interval");
  grid.runTo(2700 + phase);
  grid.rpDies(3);
  report.add("an RP dead", grid.untilRps(0, Grid::rpsWithoutOne, 420), 2 * (rpHoldTime - 60),
             "its hold times at the BSR and the others, each less 60");

  grid.runTo(3600);
  report.endIs(grid.agree(0, Grid::rpsWithoutOne));
}

bool reportOf(Pax::AddressFamily family, const char *name, uint64_t seeds) {
  Report report;
  for (uint64_t seed = 1; seed <= seeds; ++seed) {
    Grid grid(family, seed);
    // Faults come at all points of the 60 s period.
    anHour(grid, static_cast<double>(seed) * 60 / static_cast<double>(seeds), report);
  }
  report.print(name);
  if (!report.good()) std::cout << "  THE ROUTERS DID NOT AGREE\n";
  return report.good();
}

}  // namespace

// sim_report [NETWORKS]
int main(int argc, char **argv) {
  const uint64_t seeds = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 10;
  if (seeds == 0) return 2;
  std::printf("%u routers, an hour, 3 candidate BSRs, 4 candidate RPs; virtual seconds until all agree\n",
              Grid::routers);
  const bool ipv4 = reportOf(Pax::AddressFamily::ipv4, "IPv4", seeds);
  const bool ipv6 = reportOf(Pax::AddressFamily::ipv6, "IPv6", seeds);
  return ipv4 && ipv6 ? 0 : 1;
}
