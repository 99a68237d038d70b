/// What the protocol stories are told with.
#pragma once

#include <map>
#include <memory>
#include <sstream>

#include "platform/sim/Network.h"
#include "sim/Feeder.h"
#include "sim/Host.h"
#include "tests/support/Addresses.h"

namespace Test {

/// A simulated network whose routers named in agents() run agents; feeder() makes a feeder of one.
class Story {
 public:
  explicit Story(const Addresses &addresses, uint64_t seed = 1) : addresses(addresses), network(addresses.af, seed) {}

  /// Links between each router and the next, all of these parameters but the MTUs.
  void chain(const std::vector<std::string> &routers, const std::vector<uint32_t> &mtus,
             Sim::LinkParameters parameters = {}) {
    for (size_t i = 0; i + 1 < routers.size(); ++i) {
      parameters.mtu = mtus[i % mtus.size()];
      network.linkIs(routers[i] + "-" + routers[i + 1], {routers[i], routers[i + 1]}, parameters);
    }
  }
  Sim::Feeder &feeder(const std::string &name, double period = 60) {
    auto &feeder = feeders_[name];
    if (!feeder) feeder = std::make_unique<Sim::Feeder>(network.router(name), period);
    return *feeder;
  }
  Sim::Host &host(const std::string &name) {
    auto &host = hosts_[name];
    if (!host) host = std::make_unique<Sim::Host>(network.router(name));
    return *host;
  }
  void start(const std::vector<std::string> &routers) {
    for (const std::string &name : routers) host(name).start();
  }

  /// A table of `groups` prefixes in the zone with `rps` RPs each, of which a message can name 255.
  /// Different `variant`s share no RP.
  Sim::RpTable table(const Pax::IpGenPrefix &zone, uint32_t groups, uint32_t rps, uint32_t variant = 0,
                     uint16_t holdTime = 150) const {
    Sim::RpTable table;
    if (zone != addresses.global()) table.group[zone];
    for (uint32_t g = 0; g < groups; ++g) {
      auto &set = table.group[prefix(zone, g)];
      for (uint32_t r = 0; r < std::min(rps, 255u); ++r) {
        set[addresses.host(0x800000 + variant * 0x10000 + g % 7 * 256 + r)] = {holdTime, static_cast<uint16_t>(r % 256),
                                                                               hashMaskLen()};
      }
    }
    return table;
  }
  /// The feeder says this of the zone from now on.
  void feed(Sim::Feeder &feeder, const Pax::IpGenPrefix &zone, const Sim::RpTable &table, uint8_t priority = 64) {
    uint32_t mtu = 2100;
    for (const Sim::Intf &intf : feeder.router().intfs()) mtu = std::min(mtu, intf.link().parameters().mtu);
    const Sim::BsrParameters bsr{feeder.router().address(), priority, hashMaskLen(), zone, zone != addresses.global()};
    feeder.zoneIs(zone, fragmentsOf(bsr, table, mtu));
  }

  uint8_t hashMaskLen() const { return addresses.ipv4() ? 30 : 126; }
  Sim::VirtualTime &time() { return network.time(); }
  bool within(double seconds, const std::function<bool()> &holds) {
    return time().runUntil(holds, time().now() + seconds);
  }
  /// The running agents that have another BSR in the zone or publish another table, one a line.
  std::string others(const Pax::IpGenPrefix &zone, const Pax::IpGenAddr &bsr, const Sim::RpTable &table) const {
    std::ostringstream text;
    for (const auto &[name, host] : hosts_) {
      const Sim::RpTable published = Sim::tableOf(host->rpSet());
      if (!host->runs() || (host->bsr(zone) == bsr && published == table)) continue;
      text << name << " has " << host->bsr(zone) << " with " << published << "\n";
    }
    return text.str();
  }
  /// Every running agent has this BSR (unset for none) in the zone, and publishes this table.
  bool everyAgentHas(const Pax::IpGenPrefix &zone, const Pax::IpGenAddr &bsr, const Sim::RpTable &table) const {
    return others(zone, bsr, table).empty();
  }
  bool everyAgentHas(const Pax::IpGenPrefix &zone, const Sim::Feeder &feeder, const Sim::RpTable &table) const {
    return everyAgentHas(zone, feeder.router().address(), table);
  }

  const Addresses addresses;
  Sim::Network network;

 private:
  Pax::IpGenPrefix prefix(const Pax::IpGenPrefix &zone, uint32_t n) const {
    const Pax::IpGenAddr base = zone == addresses.global() ? addresses.group(0).address() : zone.address();
    return addresses.ipv4() ? Pax::IpGenPrefix(Pax::IpGenAddr::v4(base.v4() + (n << 4)), 28)
                            : Pax::IpGenPrefix(Pax::IpGenAddr::v6(base.high() + n, 0), 64);
  }

  std::map<std::string, std::unique_ptr<Sim::Feeder>> feeders_;
  std::map<std::string, std::unique_ptr<Sim::Host>> hosts_;
};

}  // namespace Test
