/// A router that runs an agent beside another one, for reloads of whole configuration files.
#pragma once

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "config/ConfigSm.h"
#include "daemon/file/ConfigApply.h"
#include "daemon/file/ConfigFile.h"
#include "platform/sim/Network.h"
#include "sim/Host.h"
#include "tests/support/Addresses.h"
#include "tests/support/EntityLines.h"

namespace Test {

namespace Bsr = Routing::Pim::Bsr;
namespace Packet = Routing::Pim::Packet;
using Json = nlohmann::json;
using Texts = std::set<std::string>;

inline const std::vector<std::string> vrfs{L3::defaultVrf, "blue"};

template <class... Parts>
std::string text(const Parts &...parts) {
  std::ostringstream out;
  ((out << parts << ' '), ...);
  return out.str();
}

/// A router of two VRFs on virtual time, each with eth0 and the interfaces a, b and c for candidates. Beside it, unless
/// it is alone, another one that is BSR of all groups while nobody else is.
class Box {
 public:
  explicit Box(Pax::AddressFamily family, bool alone = false) : network(family, 1) {
    for (const std::string &vrf : vrfs) {
      const std::string own = "own " + vrf, other = "other " + vrf;
      for (const std::string &name : {own, other}) network.router(name, vrf);
      network.linkIs(vrf, {own, other}).tapIs([this](const Sim::Packet &packet) { note(packet); });
      for (uint32_t n = 1; n <= 3; ++n) network.router(own).addressIs(address(vrf, n));
      for (uint32_t n = 1; n <= 3; ++n) addressIs(vrf, std::string(1, "-abc"[n]), n);
    }
    for (Sim::Host *host : {&own, &other}) host->vrfIs(network.router(host == &own ? "own blue" : "other blue"));
    if (alone) return;
    for (const std::string &vrf : vrfs) {
      const auto group = other.system()
                             .configColl->vrfConfigIs(vrf)
                             ->bsrCandidateConfigIs({vrf, "eth0"})
                             ->groupIs(Pax::allGroups(family));
      group->intervalIs(10);
      group->hashMaskLenIs(30);
      group->priorityIs(1);
    }
    other.start();
    own.start();
  }

  /// `pause` is the time between two operations, as between turns of a loop; none if it is 0.
  void apply(const Json &file, double pause = 0.001) {
    const Bsr::LoadedConfiguration loaded = Bsr::configurationFromText(file.dump(), network.af());
    for (const Bsr::Finding &error : loaded.findings.errors) ADD_FAILURE() << Bsr::toText(file.dump(), error);
    Bsr::ConfigApplication application(loaded.configuration, *own.system().configColl, *own.system().aclCli);
    while (application.step()) {
      if (pause > 0) network.time().runFor(pause);
    }
  }
  const Bsr::Status &status(const std::string &vrf) { return *own.system().statusColl->vrfStatus(vrf); }
  const Bsr::ConfigSm &configSm(const std::string &vrf) const { return own.agent().containerSm(vrf)->configSm(); }
  /// One of those that lead to the router.
  Pax::IpGenAddr address(const std::string &vrf, uint32_t n) const {
    return Addresses{network.af()}.host((vrf == "blue" ? 0x20000 : 0x10000) + n);
  }
  /// Gives the interface that address, or none.
  void addressIs(const std::string &vrf, const std::string &intf, uint32_t n) {
    network.router("own " + vrf)
        .allIntfStatusDir()
        ->intfStatusIs({vrf, intf})
        ->ipAddrIs(n == 0 ? Pax::IpGenAddr() : address(vrf, n));
  }

  /// What of status follows from the configuration, the names aside that an interface without address has claimed.
  Lines configured() {
    Lines lines;
    for (const std::string &vrf : vrfs) {
      for (const auto &[at, value] : linesOf(status(vrf))) {
        const std::string name = at.substr(0, at.find(' '));
        const bool ofEngine = at.ends_with(" elected") || at.ends_with(" state") || name == "counters" ||
                              name == "crpStatus" || name == "bootstrapRouter";
        const bool idle = name.starts_with("zone") && addressOf(vrf, value.substr(value.find('/') + 1)).isZero();
        if (!ofEngine && !idle) lines[vrf + ' ' + at] = value;
      }
    }
    return lines;
  }
  Pax::IpGenAddr addressOf(const std::string &vrf, const std::string &intf) {
    return network.router("own " + vrf).allIntfStatusDir()->intfStatusIs({vrf, intf})->ipAddr();
  }
  /// Each candidacy, with the interface behind it. A range that changes its mode, or comes to lie in another zone of
  /// ours, is another one.
  Texts served() {
    Texts served;
    for (const std::string &vrf : vrfs) {
      for (const auto &[zone, cbsr] : status(vrf).cbsr()) {
        served.insert(text("BSR", zone, cbsr->address()) + text("of", cbsr->intfId()));
      }
      for (const auto &[address, crp] : status(vrf).crp()) {
        for (const auto &[prefix, in] : crp->prefixSet()) {
          std::pair<Pax::IpGenPrefix, Pax::IntfId> innermost(Pax::allGroups(network.af()), {});
          for (const auto &[zone, cbsr] : status(vrf).cbsr()) {
            if (zone.covers(prefix) && innermost.first.covers(zone)) innermost = {zone, cbsr->intfId()};
          }
          served.insert(text("RP", prefix, address) +
                        text("of", crp->intfId(), crp->mode(), "in", innermost.first, innermost.second));
        }
      }
    }
    return served;
  }
  /// The zones of which this router is the BSR, and says so on eth0.
  Texts elected() {
    Texts elected;
    for (const std::string &vrf : vrfs) {
      for (const auto &[zone, cbsr] : status(vrf).cbsr()) {
        if (cbsr->elected() && !status(vrf).bsBorder(zone)) elected.insert(text("BSR", zone, cbsr->address()));
      }
    }
    return elected;
  }

  Sim::Network network;
  Sim::Host own{network.router("own default")}, other{network.router("other default")};
  /// Priority 0 of a BSR, hold time 0 of an RP, that was on the wire.
  Texts goodbyes;

 private:
  void note(const Sim::Packet &packet) {
    const auto result = Packet::Codec(network.af()).decode(packet.payload, packet.source, packet.destination);
    if (const auto *bsm = dynamic_cast<const Packet::BootstrapMessage *>(result.message.get())) {
      const auto &groups = bsm->groupData();
      const bool scoped = !groups.empty() && groups.front()->adminScope();
      const Pax::IpGenPrefix zone = scoped ? groups.front()->prefix() : Pax::allGroups(network.af());
      if (bsm->priority() == 0) goodbyes.insert(text("BSR", zone, bsm->bsrAddress()));
      for (const auto &group : groups) {
        for (const auto &rp : group->rpList()) {
          if (rp.holdTime == 0) goodbyes.insert(text("RP", group->prefix(), rp.address));
        }
      }
    } else if (const auto *crp = dynamic_cast<const Packet::CrpAdvMessage *>(result.message.get())) {
      if (crp->holdTime() != 0) return;
      for (const auto &group : crp->groupData()->groupInfo()->group) {
        goodbyes.insert(text("RP", group.prefix, crp->rpAddress()));
      }
    }
  }
};

}  // namespace Test
