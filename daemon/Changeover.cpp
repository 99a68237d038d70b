#include "daemon/Changeover.h"

namespace Routing::Pim::Bsr {

Changeover::Changeover(const VrfHost::Process &process, VrfHosts &hosts, const Configuration &before,
                       Configuration wanted)
    : process_(process), hosts_(hosts), wanted_(std::move(wanted)), next_(wanted_.pim.begin()) {
  for (const auto &[vrf, pim] : before.pim) {
    const auto now = wanted_.pim.find(vrf);
    const auto host = hosts.find(vrf);
    if (now == wanted_.pim.end() || !host->second->mayStayWith(now->second)) gone_.push_back(vrf);
  }
}

bool Changeover::goOn() {
  constexpr int most = 500;  // a millisecond, where nothing runs that would react
  for (int steps = 1; step(); ++steps) {
    if (steps == most || process_.loop.turnIsLong()) return false;
  }
  return true;
}

// False when nothing is left.
bool Changeover::step() {
  if (!gone_.empty()) {
    process_.system.vrfDel(gone_.back());  // the agent says goodbye there, and then PIM does
    hosts_.erase(gone_.back());
    gone_.pop_back();
  } else if (!application_) {
    application_.emplace(wanted_, *process_.system.configColl, *process_.system.aclCli);
  } else if (!applied_) {
    applied_ = !application_->step();
  } else if (next_ != wanted_.pim.end()) {
    hostIs(next_->first, next_->second);
    ++next_;
  } else {
    return false;
  }
  return true;
}

void Changeover::hostIs(const L3::VrfName &vrf, const PimVrf &pim) {
  if (const auto host = hosts_.find(vrf); host != hosts_.end()) {
    host->second->pimIs(pim);
  } else {
    hosts_.emplace(vrf, std::make_unique<VrfHost>(process_, vrf, pim));
  }
}

}  // namespace Routing::Pim::Bsr
