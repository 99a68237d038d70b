/// A small simulated network to which everything happens that the fuzzer's bytes say.
#pragma once

#include <array>
#include <memory>
#include <vector>

#include "fuzzers/Invariants.h"
#include "fuzzers/Packets.h"
#include "platform/sim/Network.h"
#include "tests/support/Told.h"

namespace Fuzz {

/// Three routers with agents, the first with a second VRF, and a peer without one, from which most packets come:
///
///   r1 --- lan --- peer        b1 (VRF "blue" of r1) --- r3
///           |
///          r2 --- r3
class World {
 public:
  explicit World(const Test::Addresses &addresses) : a(addresses), network_(addresses.af, 1) {
    network_.router("b1", "blue");
    network_.linkIs("lan", {"r1", "r2", "peer"});
    network_.linkIs("r2-r3", {"r2", "r3"});
    network_.linkIs("b1-r3", {"b1", "r3"});
    for (const char *name : {"r1", "r2", "r3"}) hosts_.push_back(std::make_unique<Sim::Host>(network_.router(name)));
    hosts_[0]->vrfIs(network_.router("b1", "blue"));
    network_.router("peer").pimStart();
    for (const auto &host : hosts_) told_.push_back(std::make_unique<Test::Told>(*host));
    for (const auto &host : hosts_) host->start();
    std::vector<Pax::IpGenAddr> routers;
    for (const auto &router : network_.routers()) routers.push_back(router->address());
    packets_ = std::make_unique<Packets>(a, routers);
    network_.time().runFor(6);
  }

  /// One thing happens.
  void step(Bytes &in) {
    const uint32_t what = in.upTo(32);
    if (what < 16) return arrive(in);
    if (what < 22) return pass(in);
    Sim::Host &host = *hosts_[in.upTo(hosts_.size())];
    switch (what) {
      case 22: return host.candidateBsrIs(packets_->zone(in), in.u8());
      case 23: return host.candidateBsrDel(packets_->zone(in));
      case 24: return candidateRp(in, host);
      case 25: return border(in, host);
      case 26: return filter(in, host);
      case 27: return process(in, host);
      case 28: return wire(in, host);
      case 29: return vrf(in);
      case 30: return system(in, host);
      default: return times(in, host);
    }
  }
  void pass(double seconds) { network_.time().runFor(seconds); }
  std::string broken() {
    std::string wrong;
    for (const auto &host : hosts_) wrong += Invariants::broken(*host, network_.time().now());
    for (const auto &told : told_) {
      const bool isBounded = told->log.events().size() <= Routing::Pim::Bsr::EventLog::most &&
                             told->drops.rows().size() <= Routing::Pim::Bsr::Drops::most;
      if (!isBounded) wrong += "too many events or drops are kept\n";
    }
    return wrong;
  }
  const Test::Addresses a;

 private:
  void arrive(Bytes &in) {
    const auto &routers = network_.routers();
    Sim::Router &router = *routers[in.upTo(routers.size())];
    if (!router.port() || router.intfs().empty()) return;
    const Sim::Intf &intf = router.intfs()[in.upTo(router.intfs().size())];
    if (!intf.isUp()) return;
    const Pax::IpGenAddr source = sourceAt(in, intf);
    const uint32_t to = in.upTo(16);
    const Pax::IpGenAddr destination = to < 12    ? Pax::allPimRouters(a.af)
                                       : to == 12 ? packets_->rp(in)
                                                  : router.address();
    const std::vector<uint8_t> bytes = packets_->any(in, source, destination);
    router.port()->arrive({intf.intfId(), source, destination, bytes});
  }
  // Mostly somebody on the link.
  Pax::IpGenAddr sourceAt(Bytes &in, const Sim::Intf &intf) {
    const auto &members = intf.link().members();
    const uint32_t from = in.upTo(8);
    const Sim::Intf &member = *members[from % members.size()];
    if (from < 6) return a.ipv4() ? member.address() : member.nextHopAddress();
    return from == 6 ? packets_->rp(in) : a.onLink(100 + in.u8());
  }

  void pass(Bytes &in) {
    constexpr std::array seconds{0.5, 2.0, 5.0, 11.0, 31.0, 61.0, 131.0, 700.0};
    pass(seconds[in.upTo(seconds.size())]);
  }

  void candidateRp(Bytes &in, Sim::Host &host) {
    if (in.oneIn(4)) return host.candidateRpDel();
    const auto candidate = host.candidateRpIs(packets_->group(in), in.u8());
    if (in.oneIn(4)) candidate->modeIs(in.upTo(2) ? Routing::Pim::Mode::bidir : Routing::Pim::Mode::sparse);
    if (in.oneIn(4)) candidate->advIntervalIs(Routing::Pim::CrpAdvInterval(1 + in.u8()));
  }
  void border(Bytes &in, Sim::Host &host) {
    const Pax::IntfId intfId = host.router().intfs()[in.upTo(host.router().intfs().size())].intfId();
    if (in.oneIn(3)) return host.system().configColl->intfConfigDel(intfId);
    host.borderIs(packets_->zone(in), intfId);
  }
  void filter(Bytes &in, Sim::Host &host) {
    const Pax::IntfId lo(L3::defaultVrf, "lo");
    const auto rules = Kiv::make<Acl::AclSubConfig>();
    for (uint32_t n = in.upTo(4); n > 0; --n) {
      const Pax::IpGenPrefix source = in.oneIn(2) ? packets_->group(in) : Pax::IpGenPrefix(packets_->rp(in), in.u8());
      rules->ruleBySequenceIs(n, {in.oneIn(3) ? Acl::Action::deny : Acl::Action::permit, {source}});
    }
    host.system().aclCli->aclIs("A")->currCfgIs(rules);
    const uint32_t use = in.upTo(4);
    if (use == 0) host.config().crpFilterAclIs("A");
    if (use == 1) host.config().crpFilterAclDel("A");
    if (use == 2) host.config().rpCandidateConfigIs(lo)->aclIs("A");
    if (use != 3) return;
    const auto acl = host.config().bsrCandidateConfigIs(lo)->aclIs("A");
    acl->hashMaskLenIs(in.upTo(33));
    acl->priorityIs(in.u8());
  }

  // The process ends, the box loses its power, or what ended begins anew.
  void process(Bytes &in, Sim::Host &host) {
    const uint32_t how = in.upTo(3);
    if (host.runs()) return how == 0 ? host.stop() : how == 1 ? host.crash() : host.powerOff();
    host.powerOn();
    if (&host == hosts_[0].get() && host.vrfs().size() < 2) host.vrfIs(network_.router("b1", "blue"));
    host.start();
  }
  void wire(Bytes &in, Sim::Host &host) {
    Sim::Intf &intf = host.router().intfs()[in.upTo(host.router().intfs().size())];
    switch (in.upTo(5)) {
      case 0: return intf.upIs(!intf.isUp());
      case 1: return intf.link().isCut() ? intf.link().heal() : intf.link().cut();
      case 2: return intf.link().parametersIs({.mtu = 576u + in.u8()});
      case 3: return host.router().addressIs(a.host(0x900000 + in.upTo(4)));
      default: return host.router().addressDel(a.host(0x900000 + in.upTo(4)));
    }
  }
  void vrf(Bytes &) {
    Sim::Host &host = *hosts_[0];
    if (host.runs() && host.vrfs().size() == 2) host.vrfDel(network_.router("b1", "blue"));
  }
  void system(Bytes &in, Sim::Host &host) {
    switch (in.upTo(4)) {
      case 0: return host.system().standbyIs(in.oneIn(2));
      case 1: return host.system().shutdownStageInput->stageIs("NetworkAgentShutdown");
      case 2: return host.system().shutdownStageInput->stageIs("");
      default:
        if (const auto clear = host.system().clearConfigColl->vrfClearConfig(L3::VrfName(L3::defaultVrf))) {
          clear->countersCountInc(1);
        }
    }
  }
  static void times(Bytes &in, Sim::Host &host) {
    const uint16_t holdTime = std::max<uint16_t>(in.u16(), 1);
    host.config().holdTimeIs(holdTime);
    host.config().szTimeoutIs(10u * holdTime);
  }

  Sim::Network network_;
  std::vector<std::unique_ptr<Sim::Host>> hosts_;
  std::vector<std::unique_ptr<Test::Told>> told_;
  std::unique_ptr<Packets> packets_;
};

}  // namespace Fuzz
