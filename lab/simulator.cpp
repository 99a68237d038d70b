// The lab's routers without a kernel: the same agents on simulated routers and virtual time. Reads
// commands, one on each line, and carries them out; lab/run-lab uses it in place of namespaces and
// pimbsrctl.
//
//   FAMILY router VRF NAME ADDRESS   a router's VRF, with the address of its "lo"; "default" comes first
//   FAMILY link VRF NAME NAME        joins two, each with its next interface, eth0 and on
//   FAMILY start NAME FILE           an agent with this configuration
//   FAMILY kill NAME                 as SIGKILL does; the router goes on forwarding
//   FAMILY run SECONDS
//   FAMILY now                       prints the milliseconds that have passed
//   FAMILY show NAME NOUN [ARGUMENT]       prints the line that "pimbsrctl --json show NOUN" prints
//   FAMILY explain NAME TOPIC [ARGUMENT]   likewise
//
// Exit 0 at the end of its input, 1 with the reason at a command that it cannot carry out.
#include <algorithm>
#include <cmath>
#include <iostream>
#include <map>
#include <memory>
#include <sstream>
#include <stdexcept>

#include "daemon/file/ConfigApply.h"
#include "daemon/file/ConfigFile.h"
#include "platform/sim/Network.h"
#include "platform/system/AgentName.h"
#include "sim/Host.h"
#include "view/EventReporter.h"
#include "view/Explain.h"
#include "view/Metrics.h"
#include "view/Show.h"

namespace {

using namespace Routing::Pim::Bsr;

// A simulated router has PIM on all of them.
std::vector<Pax::IntfId> interfacesOf(Sim::Router &router) {
  std::vector<Pax::IntfId> interfaces;
  for (const Sim::Intf &intf : router.intfs()) interfaces.push_back(intf.intfId());
  return interfaces;
}

// A router with what it tells. Its agent tells of its end, too.
struct Box {
  explicit Box(Sim::Router &router)
      : time(router.network().time()),
        host(router),
        reporter({log, drops, host.system(), Kiv::make<Orb::TimerWheel>(time, time),
                  [this](const L3::VrfName &vrf) { return interfacesIn(vrf); },
                  [this](const L3::VrfName &) { return host.runs() ? "its interfaces" : ""; }}) {
    host.watcherIs(&reporter);
  }
  ~Box() {
    if (host.runs()) host.crash();
  }
  std::vector<Pax::IntfId> interfacesIn(const L3::VrfName &vrf) const {
    for (Sim::Router *router : host.vrfs()) {
      if (router->vrf() == vrf.text()) return interfacesOf(*router);
    }
    return {};
  }

  Sim::VirtualTime &time;
  Sim::Host host;
  EventLog log{[this] { return time.now(); }};
  Drops drops;
  EventReporter reporter;
};

Rows metricsOf(const std::vector<VrfView> &views) {
  AgentFigures agent;
  agent.agent = agentName(views.front().af);
  return metricsRows(agent, views);
}

class Simulation {
 public:
  explicit Simulation(Pax::AddressFamily family) : network_(family, 1) {}

  void act(const std::string &verb, std::istream &arguments);

 private:
  void routerIs(const std::string &vrf, const std::string &name, const std::string &address);
  void start(const std::string &name, const std::string &file);
  Rows shown(const std::string &name, const std::string &noun, const std::string &argument);
  std::vector<VrfView> viewsOf(const std::string &name);

  static std::string nameIn(const std::string &vrf, const std::string &name) { return name + " of " + vrf; }
  Box &box(const std::string &name) {
    const auto found = box_.find(name);
    if (found == box_.end()) throw std::invalid_argument("there is no router " + name);
    return *found->second;
  }
  Sim::Host &host(const std::string &name) { return box(name).host; }

  Sim::Network network_;
  std::map<std::string, std::unique_ptr<Box>> box_;
};

void Simulation::act(const std::string &verb, std::istream &arguments) {
  double seconds = 0;
  std::string first, second, third;
  if (verb == "run" && arguments >> seconds) {
    network_.time().runFor(seconds);
  } else if (verb == "now") {
    std::cout << std::llround((network_.time().now() - Sim::VirtualTime::start) * 1000) << std::endl;
  } else if (verb == "kill" && arguments >> first) {
    host(first).crash();
  } else if (verb == "start" && arguments >> first >> second) {
    start(first, second);
  } else if ((verb == "show" || verb == "explain") && arguments >> first >> second) {
    arguments >> third;
    std::cout << (verb == "show" ? shown(first, second, third) : explanationOf(second, viewsOf(first), third))
              << std::endl;
  } else if (verb == "router" && arguments >> first >> second >> third) {
    routerIs(first, second, third);
  } else if (verb == "link" && arguments >> first >> second >> third) {
    network_.linkIs(first + ": " + second + " - " + third, {nameIn(first, second), nameIn(first, third)});
  } else {
    throw std::invalid_argument("cannot understand it");
  }
}

void Simulation::routerIs(const std::string &vrf, const std::string &name, const std::string &address) {
  Sim::Router &router = network_.router(nameIn(vrf, name), vrf);
  router.addressDel(router.address());
  router.addressIs(Pax::IpGenAddr::fromText(address));
  if (vrf == L3::defaultVrf) {
    box_[name] = std::make_unique<Box>(router);
  } else {
    host(name).vrfIs(router);
  }
}

void Simulation::start(const std::string &name, const std::string &file) {
  Sim::Host &started = host(name);
  const LoadedConfiguration loaded = configurationFromFile(file, network_.af());
  if (!loaded.good()) throw std::invalid_argument(toText(file, loaded.findings.errors.front()));
  for (Sim::Router *router : started.vrfs()) {
    const auto pim = loaded.configuration.pim.find(router->vrf());
    if (pim == loaded.configuration.pim.end() || pim->second.interfaces != interfacesOf(*router)) {
      throw std::invalid_argument(file + ": the interfaces are not those of VRF " + router->vrf());
    }
  }
  configurationApply(loaded.configuration, *started.system().configColl, *started.system().aclCli);
  started.start();
}

Rows Simulation::shown(const std::string &name, const std::string &noun, const std::string &argument) {
  if (noun == "events") return eventRows(box(name).log, {});
  if (noun == "drops") return dropRows(box(name).drops, "", network_.time().now());
  if (noun == "metrics") return metricsOf(viewsOf(name));
  return rowsOf(noun, viewsOf(name), argument);
}

std::vector<VrfView> Simulation::viewsOf(const std::string &name) {
  std::vector<VrfView> views;
  Sim::Host &shown = host(name);
  for (Sim::Router *router : shown.vrfs()) {
    const ContainerSm *machines = shown.runs() ? shown.agent().containerSm(router->vrf()) : nullptr;
    views.push_back(viewOf(shown.system(), router->vrf(), machines, network_.time().now(), interfacesOf(*router)));
    views.back().drops = &box(name).drops;
  }
  std::sort(views.begin(), views.end(), [](const VrfView &a, const VrfView &b) { return a.vrf < b.vrf; });
  return views;
}

}  // namespace

int main() {
  Simulation ipv4(Pax::AddressFamily::ipv4), ipv6(Pax::AddressFamily::ipv6);
  for (std::string line; std::getline(std::cin, line);) {
    std::istringstream words(line);
    std::string family, verb;
    words >> family >> verb;
    try {
      if (family != "4" && family != "6") throw std::invalid_argument("the family must be 4 or 6");
      (family == "4" ? ipv4 : ipv6).act(verb, words);
    } catch (const std::exception &error) {
      std::cerr << "simulator: " << line << ": " << error.what() << std::endl;
      return 1;
    }
  }
  return 0;
}
