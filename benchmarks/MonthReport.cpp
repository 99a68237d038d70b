// A simulated month of twenty routers with churn: every day links are cut and healed, interfaces go down, agents are
// restarted, crash and lose their state, candidates come and go. At the end of each day all is quiet and whole again,
// and it prints the bytes that are allocated: what the agents hold, or, in a second run, what is left when all are
// without power. Both depend a little on what each has last been through (lists and pools keep the memory that they
// have needed) and must have no trend: the exit status is 1 if the line that fits the days from the second on rises by
// more than a thousandth in all (of fewer than ten days, a hundredth), or if the routers do not agree at the end of a
// day. The argument is the number of days, at least 3.
#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <iostream>
#include <new>

#include "platform/sim/Network.h"
#include "sim/Agreement.h"

namespace {
size_t allocated = 0;
}

// Counts what was asked for, which stands before the memory: what malloc makes of it depends on what was freed.
[[gnu::noinline]] void *operator new(size_t size) {
  auto *const memory = static_cast<std::max_align_t *>(std::malloc(sizeof(std::max_align_t) + size));
  if (!memory) throw std::bad_alloc();
  *reinterpret_cast<size_t *>(memory) = size;
  allocated += size;
  return memory + 1;
}
[[gnu::noinline]] void operator delete(void *memory) noexcept {
  if (!memory) return;
  auto *const begin = static_cast<std::max_align_t *>(memory) - 1;
  allocated -= *reinterpret_cast<size_t *>(begin);
  std::free(begin);
}
void operator delete(void *memory, size_t) noexcept { operator delete(memory); }

namespace {

constexpr double hour = 3600, day = 24 * hour;

// A grid of agents, all candidates of something: the first three for BSR, the others for RP.
class Domain {
 public:
  static constexpr uint32_t columns = 5, routers = 20, bsrs = 3;

  explicit Domain(Pax::AddressFamily family) : family_(family), zone_(Pax::allGroups(family)), network_(family, 1) {
    for (uint32_t n = 0; n < routers; ++n) {
      hosts_.push_back(std::make_unique<Sim::Host>(network_.router(name(n))));
      if (n % columns > 0) linkIs(n - 1, n);
      if (n >= columns) linkIs(n - columns, n);
    }
    for (uint32_t n = 0; n < routers; ++n) {
      if (n < bsrs) hosts_[n]->candidateBsrIs(zone_, static_cast<uint16_t>(100 - n));
      if (n >= bsrs) candidateRpIs(n);
      hosts_[n]->start();
    }
  }

  // Something happens every ten minutes for eighteen hours, the same each day; then all is repaired.
  // Returns the least that was allocated in the last two hours: what is held, without messages under way.
  size_t runDay() {
    const double midnight = network_.time().now();
    Orb::Random random(7);
    for (uint32_t n = 0; n < 6 * 18; ++n) {
      happens(random);
      network_.time().runTo(midnight + (n + 1) * hour / 6);
    }
    repair();
    network_.time().runTo(midnight + day - 2 * hour);
    size_t least = allocated;
    while (network_.time().now() < midnight + day) {
      network_.time().runFor(1);
      network_.frames().idleDel();
      least = std::min(least, allocated);
    }
    return least;
  }
  // Returns what is allocated while no router has power.
  size_t runNight() {
    for (const auto &host : hosts_) host->powerOff();
    network_.time().runFor(hour);
    forgetRoutes();
    network_.frames().idleDel();
    const size_t left = allocated;
    for (const auto &host : hosts_) startAgain(*host);
    return left;
  }
  bool allAgree() {
    for (const auto &host : hosts_) {
      if (host->bsr(zone_) != hosts_[0]->router().address()) return false;
      if (Sim::tableOf(host->rpSet()) != Sim::tableOf(hosts_[0]->rpSet())) return false;
    }
    return Sim::tableOf(hosts_[0]->rpSet()).group.size() == 1 + routers - bsrs;
  }

 private:
  // The answers that the simulator keeps for each router until the topology changes.
  void forgetRoutes() {
    network_.links()[0]->cut();
    network_.links()[0]->heal();
    network_.distancesTo(hosts_[0]->router().address());
    for (const auto &host : hosts_) host->router().routes()->lookup(host->router().address());
  }
  static std::string name(uint32_t n) { return std::string(1, 'r').append(std::to_string(n)); }
  void linkIs(uint32_t one, uint32_t other) {
    network_.linkIs(name(one).append("-").append(name(other)), {name(one), name(other)}, {.mtu = 576});
  }
  Pax::IpGenPrefix groups(uint32_t n) const {
    if (family_ == Pax::AddressFamily::ipv4) return {Pax::IpGenAddr::v4(0xe1000000 + (n << 16)), 16};
    return {Pax::IpGenAddr::v6(0xff3e000000000000 + (uint64_t{n} << 16), 0), 48};
  }
  void candidateRpIs(uint32_t n) {
    for (const uint32_t range : {0u, n}) hosts_[n]->candidateRpIs(groups(range), static_cast<uint16_t>(n));
  }
  void startAgain(Sim::Host &host) {
    host.powerOn();
    host.start();
  }
  void happens(Orb::Random &random) {
    const uint32_t n = random.next() % routers;
    Sim::Host &host = *hosts_[n];
    Sim::Link &link = *network_.links()[random.next() % network_.links().size()];
    switch (random.next() % 8) {
      case 0: return link.isCut() ? link.heal() : link.cut();
      case 1: return host.runs() ? host.stop() : startAgain(host);
      case 2: return host.runs() ? host.crash() : startAgain(host);
      case 3: return host.runs() ? host.powerOff() : startAgain(host);
      case 4: return link.parametersIs({.mtu = 576, .jitter = 0.1, .loss = 0.2});
      case 5: {
        Sim::Intf &intf = host.router().intfs()[random.next() % host.router().intfs().size()];
        return intf.upIs(!intf.isUp());
      }
      case 6: return n < bsrs ? host.candidateBsrDel(zone_) : host.candidateRpDel();
      case 7: return n < bsrs ? host.candidateBsrIs(zone_, 200) : candidateRpIs(n);
    }
  }
  void repair() {
    for (const auto &link : network_.links()) {
      link->heal();
      link->parametersIs({.mtu = 576});
    }
    for (uint32_t n = 0; n < routers; ++n) {
      for (Sim::Intf &intf : hosts_[n]->router().intfs()) intf.upIs(true);
      if (!hosts_[n]->runs()) startAgain(*hosts_[n]);
      if (n < bsrs) hosts_[n]->candidateBsrIs(zone_, static_cast<uint16_t>(100 - n));
      if (n >= bsrs) candidateRpIs(n);
    }
  }

  const Pax::AddressFamily family_;
  const Pax::IpGenPrefix zone_;
  Sim::Network network_;
  std::vector<std::unique_ptr<Sim::Host>> hosts_;
};

// The slope of the line that fits the bytes of the days from the second on, in bytes a day.
double slopeOf(const std::vector<size_t> &bytes) {
  const auto n = static_cast<double>(bytes.size() - 1);
  double x = 0, y = 0, xx = 0, xy = 0;
  for (size_t day = 1; day < bytes.size(); ++day) {
    const auto at = static_cast<double>(day), here = static_cast<double>(bytes[day]);
    x += at, y += here, xx += at * at, xy += at * here;
  }
  return (n * xy - x * y) / (n * xx - x * x);
}

bool run(Pax::AddressFamily family, int days, bool nightly) {
  std::cout << family << (nightly ? ", all power off every night" : ", uninterrupted") << '\n';
  Domain domain(family);
  std::vector<size_t> bytes;
  bool good = true;
  for (int n = 1; n <= days; ++n) {
    bytes.push_back(domain.runDay());
    const bool agree = domain.allAgree();
    if (nightly) bytes.back() = domain.runNight();
    std::cout << "  day " << n << ": " << bytes.back() << " bytes" << (agree ? "" : ", NO AGREEMENT") << std::endl;
    good = good && agree;
  }
  const double slope = slopeOf(bytes);
  // In all, since what lists have needed at once differs from day to day; a few days tell less.
  const double most = days < 10 ? 32768 : 8192;
  const bool flat = slope * days < most;
  std::cout << "  " << slope << " bytes a day from day 2 on: " << (flat ? "flat" : "GROWS") << std::endl;
  return good && flat;
}

}  // namespace

int main(int argc, char **argv) {
  const int days = std::max(argc > 1 ? std::atoi(argv[1]) : 30, 3);
  bool good = true;
  for (const auto family : {Pax::AddressFamily::ipv4, Pax::AddressFamily::ipv6}) {
    for (const bool nightly : {true, false}) good = run(family, days, nightly) && good;
  }
  return good ? EXIT_SUCCESS : EXIT_FAILURE;
}
