/// What holds of an agent's status whatever was received, configured or unplugged.
#pragma once

#include <sstream>
#include <string>

#include "platform/sim/Network.h"
#include "sim/Agreement.h"
#include "sim/Host.h"

namespace Fuzz {

/// Empty, or what does not hold.
class Invariants {
 public:
  static std::string broken(const Sim::Host &host, double now) {
    Invariants invariants(host, now);
    invariants.sets(host.rpSet(), "published");
    for (const auto &[zone, zoneStatus] : host.status().crpStatus()) {
      if (zoneStatus->status()) invariants.sets(*zoneStatus->status(), "learned");
    }
    invariants.elections();
    invariants.publication();
    invariants.neighbors();
    const std::string wrong = invariants.wrong_.str();
    return wrong.empty() ? "" : host.router().name() + " at " + std::to_string(now) + ":\n" + wrong;
  }

 private:
  // Seconds that work may take which is due.
  static constexpr double patience = 1;
  static constexpr size_t rpsMost = 20000;

  Invariants(const Sim::Host &host, double now)
      : host_(host), now_(now), runs_(host.runs() && host.agent().containerSm(L3::VrfName(L3::defaultVrf))) {}

  static bool isRouter(const Pax::IpGenAddr &address) {
    return !address.isZero() && !address.isMulticast() && !address.isBroadcast() && !address.isLoopback();
  }
  void expect(bool good, const char *what, const Pax::IpGenPrefix &where, const Pax::IpGenAddr &address = {}) {
    if (!good) wrong_ << "  " << what << ": " << where << ' ' << address << '\n';
  }

  void sets(const Routing::Pim::RpCandidateStatus &status, const char *kind) {
    size_t rps = 0;
    for (const auto &[prefix, set] : status.crpSet()) {
      expect(Pax::allGroups(host_.router().network().af()).covers(prefix), "not a group prefix", prefix);
      for (const auto &[address, rp] : set->rp()) {
        ++rps;
        expect(isRouter(address) && !address.isLinkLocal(), "not an RP's address", prefix, address);
        expect(rp->priority() <= 255, "priority", prefix, address);
        expect(!runs_ || rp->expires() >= now_ - patience, kind, prefix, address);
      }
    }
    expect(rps <= rpsMost, "too many RPs", {});
  }

  void elections() {
    const auto &status = host_.status();
    for (const auto &[zone, bsr] : status.bootstrapRouter()) {
      expect(isRouter(bsr->ipAddr()), "not a BSR's address", zone, bsr->ipAddr());
      // A candidate that is about to take over leaves the time at which the BSR was lost.
      const auto own = status.cbsr(zone);
      const bool isLost = own && own->state() == Routing::Pim::Bsr::BsrCandidateState::pBsr;
      expect(!runs_ || isLost || bsr->expiryTime() >= now_ - patience, "BSR expired", zone, bsr->ipAddr());
    }
    if (!runs_) return;
    for (const auto &[zone, candidate] : status.cbsr()) {
      const bool isElected = candidate->state() == Routing::Pim::Bsr::BsrCandidateState::eBsr;
      expect(candidate->elected() == isElected, "elected or not", zone, candidate->address());
      const auto bsr = status.bootstrapRouter(zone);
      if (isElected) expect(bsr && bsr->ipAddr() == candidate->address(), "elected, and another is BSR", zone);
    }
  }

  // What is due is published; what nobody announces any more may still be there.
  void publication() {
    if (!runs_) return;
    const Sim::RpTable published = Sim::tableOf(host_.rpSet());
    for (const auto &[prefix, rps] : Sim::publicationDue(host_).group) {
      const auto found = published.group.find(prefix);
      expect(found != published.group.end() && found->second == rps, "published otherwise than learned", prefix);
    }
  }

  void neighbors() {
    if (!host_.router().pimRuns()) return;
    for (const auto &[intfId, intf] : host_.router().pimStatus()->pimIntf()) {
      expect(intf->neighbor().size() <= intf->neighborsMost(), "too many neighbors", {});
      for (const auto &[address, neighbor] : intf->neighbor()) {
        expect(isRouter(address), "not a neighbor's address", {}, address);
        expect(neighbor->secondary().size() <= Routing::Pim::IO::HelloSpeaker::secondaryMost, "long list", {}, address);
        for (const auto &secondary : neighbor->secondary().keys()) {
          Pax::IpGenAddr owner;
          intf->neighborOwning(secondary, owner);
          expect(owner == address, "an address of two neighbors", {}, secondary);
        }
      }
    }
  }

  const Sim::Host &host_;
  const double now_;
  const bool runs_;  // its machines do; without them the status stays as it was
  std::ostringstream wrong_;
};

}  // namespace Fuzz
