#include "agent/IdleAging.h"

#include <algorithm>

#include "platform/tracelet/Tracelet.h"

namespace Routing::Pim::Bsr {

namespace {

Tracelet::Module trace("Pim::Bsr::Agent");

constexpr double ageInterval = 1;  // at least, however many RPs expire one after the other

// One pass over a VRF's status; what is over by `now` goes, and `next` is when something else will be.
class Pass {
 public:
  explicit Pass(double now) : now_(now) {}
  double next() const { return next_; }

  // `timeout` is that of a BSR: the status of a VRF that has not run yet has none.
  void over(Status &status, uint32_t timeout) {
    for (const Pax::IpGenPrefix &zone : status.bootstrapRouter().keys()) overBsr(status, zone, timeout);
    for (const Pax::IpGenPrefix &zone : status.crpStatus().keys()) {
      const auto sets = rpSetsOf(status, zone);
      if (sets) over(*sets);
      if (!status.bootstrapRouter(zone) && (!sets || sets->crpSet().empty())) status.crpStatusDel(zone);
    }
  }
  void over(RpCandidateStatus &sets) {
    for (const Pax::IpGenPrefix &prefix : sets.crpSet().keys()) {
      const auto set = sets.crpSet(prefix);
      for (const Pax::IpGenAddr &address : set->rp().keys()) {
        const double expires = set->rp(address)->expires();
        if (expires > 0 && isOver(expires)) set->rpDel(address);
      }
      if (set->rp().empty()) sets.crpSetDel(prefix);
    }
  }

 private:
  // What an elected router sends next is due when its time is over; silence is counted from there.
  void overBsr(Status &status, const Pax::IpGenPrefix &zone, uint32_t timeout) {
    const auto candidate = status.cbsr(zone);
    const bool isOwn = candidate && candidate->elected();
    const double expires = status.bootstrapRouter(zone)->expiryTime() + (isOwn ? timeout : 0);
    if (!isOver(expires)) return;
    status.bootstrapRouterDel(zone);
    if (!isOwn) return;
    candidate->electedIs(false);
    candidate->stateIs(BsrCandidateState::unset);
  }
  bool isOver(double time) {
    if (time <= now_) return true;
    next_ = std::min(next_, time);
    return false;
  }

  const double now_;
  double next_ = Orb::never;
};

}  // namespace

IdleAging::IdleAging(const Agent::Process &process, const Mounts &mounts)
    : process_(process), mounts_(mounts), timer_(Kiv::make<Orb::TimerWheel>(process.clock, process.waker), *this) {}

void IdleAging::idleIs(const L3::VrfName &vrf, bool idle) {
  if (!idle) {
    idle_.erase(vrf);
  } else if (idle_.insert(vrf).second) {
    timer_.timeMinIs(process_.clock.now());
  }
}

void IdleAging::age() {
  const double now = process_.clock.now();
  Pass pass(now);
  for (const L3::VrfName &vrf : idle_) {
    TRACELET(trace, 5, "Aging what was learned in VRF " << vrf);
    const auto config = mounts_.configColl->vrfConfig(vrf);
    if (const auto status = mounts_.statusColl->vrfStatus(vrf)) pass.over(*status, config ? config->holdTime() : 0);
    if (const auto *published = mounts_.rpCandidateStatusColl->vrfStatus(vrf)) pass.over(**published);
  }
  timer_.timeMinIs(std::max(pass.next(), now + ageInterval));
}

}  // namespace Routing::Pim::Bsr
