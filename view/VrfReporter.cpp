#include "view/VrfReporter.h"

#include "agent/ContainerSm.h"

namespace Routing::Pim::Bsr {

VrfReporter::VrfReporter(EventLog &log, Drops &drops, const Kiv::Ptr<Orb::TimerWheel> &wheel,
                         const ContainerSm &machines, std::function<VrfView()> view,
                         std::function<void(const L3::VrfName &vrf)> settled)
    : machines_(machines),
      settled_(std::move(settled)),
      reporting_(log, wheel, machines.container().vrf, std::move(view), [this] { settle(); }),
      link_(reporting_, machines.container().pimStatus, machines.container().vrfIpStatus),
      bsr_(reporting_, machines.container().status),
      rp_(reporting_, machines.container().status, machines.container().rpCandidateStatus, bsr_),
      candidate_(reporting_, machines.container().status),
      limit_(reporting_, machines.container().status, machines.container().pimStatus),
      refusal_(reporting_, machines.container().vrf, machines.container().pimStatus, machines.bsrIOSm(), drops) {
  machines.bsrSm().zoneWatcherIs(this);
  machines.container().packetPort->refusalWatcherIs(this);
}

VrfReporter::~VrfReporter() {
  machines_.container().packetPort->refusalWatcherIs(nullptr);
  machines_.bsrSm().zoneWatcherIs(nullptr);
  settle();
}

// The BSR before its RPs.
void VrfReporter::settle() {
  link_.settle();
  bsr_.settle();
  rp_.settle();
  if (settled_) settled_(machines_.container().vrf);
}

void VrfReporter::handleConfig() {
  link_.handleConfig();
  candidate_.handleConfig();
}

}  // namespace Routing::Pim::Bsr
