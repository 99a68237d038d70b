/// What simulated routers tell.
#pragma once

#include <algorithm>
#include <sstream>

#include "sim/Host.h"
#include "view/EventReporter.h"

namespace Test {

namespace Bsr = Routing::Pim::Bsr;

/// The events of one host, from when this is made.
class Told {
 public:
  explicit Told(Sim::Host &host)
      : host(host),
        log([&time = host.router().network().time()] { return time.now(); }),
        reporter({log, drops, host.system(),
                  Kiv::make<Orb::TimerWheel>(host.router().network().time(), host.router().network().time()),
                  [this](const L3::VrfName &vrf) { return interfacesOf(vrf); },
                  [&host](const L3::VrfName &) { return host.runs() ? "a namespace" : ""; }}) {
    host.watcherIs(&reporter);
  }
  // The agent tells this of its end.
  ~Told() {
    if (host.runs()) host.crash();
    host.watcherIs(nullptr);
  }

  /// The kinds of the events since the last time, of this severity at least.
  std::string story(Bsr::Severity least = Bsr::Severity::notice) {
    std::string kinds;
    for (const Bsr::Event &event : log.events()) {
      if (event.seq > told_ && event.severity <= least) kinds += (kinds.empty() ? "" : " ") + Kiv::toText(event.kind);
    }
    told_ = log.lastSeq();
    return kinds;
  }
  /// The last one of the kind.
  Bsr::Event last(Bsr::EventKind kind) const {
    const auto found = std::find_if(log.events().rbegin(), log.events().rend(),
                                    [&](const Bsr::Event &event) { return event.kind == kind; });
    return found == log.events().rend() ? Bsr::Event() : *found;
  }
  /// All of them, to look at.
  std::string text() const {
    std::ostringstream text;
    for (const Bsr::Event &event : log.events()) {
      text << event.time << ' ' << event.severity << ' ' << event.kind << ' ' << event.text << '\n';
    }
    return text.str();
  }

  Sim::Host &host;
  Bsr::EventLog log;
  Bsr::Drops drops;
  Bsr::EventReporter reporter;
  std::vector<Pax::IntfId> others;  ///< are configured, besides those that are there

 private:
  std::vector<Pax::IntfId> interfacesOf(const L3::VrfName &vrf) const {
    std::vector<Pax::IntfId> interfaces = others;
    for (Sim::Router *router : host.vrfs()) {
      if (router->vrf() != vrf.text()) continue;
      for (const Sim::Intf &intf : router->intfs()) interfaces.push_back(intf.intfId());
    }
    return interfaces;
  }

  uint64_t told_ = 0;
};

}  // namespace Test
