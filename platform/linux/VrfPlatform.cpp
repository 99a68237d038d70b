#include "platform/linux/VrfPlatform.h"

#include "platform/tracelet/Tracelet.h"

namespace Linux {

static Tracelet::Module trace("VrfPlatform");

// The name is watched before anything is opened, so that a namespace that takes it over is noticed.
VrfPlatform::VrfPlatform(EventLoop &loop, NamespaceWatcher &watcher, Orb::Random &random, const Parameters &parameters)
    : vrf_(parameters.vrf),
      networkNamespace_(parameters.networkNamespace),
      vanished_(parameters.vanished),
      timerWheel_(Kiv::make<Orb::TimerWheel>(loop, loop)),
      interfaces_(Kiv::make<Ip::AllIntfStatusDir>()),
      pimStatus_(Kiv::make<Routing::Pim::Status>(parameters.vrf)),
      links_(Kiv::make<LinkTable>()) {
  if (!networkNamespace_.empty()) {
    watched_.emplace(watcher, networkNamespace_, [this](bool) { vanish(); });
  }
  const auto where = std::make_shared<const Namespace>(networkNamespace_);
  routes_ = Kiv::make<KernelRouteLookup>(*where, links_, interfaces_);
  port_ = Kiv::make<RawPacketPort>(loop, where, parameters.family, pimStatus_, routes_, links_);
  hello_ =
      Kiv::make<Routing::Pim::IO::HelloSpeaker>(pimStatus_, interfaces_, port_, timerWheel_, random, parameters.hello);
  monitor_.emplace(loop, *where, interfaces_, links_,
                   NetlinkMonitor::Parameters{vrf_, parameters.family, parameters.complete});
}

// The owner's callback may destroy this object, so it is the last act.
void VrfPlatform::vanish() {
  TRACELET(trace, 3, vrf_ << ": network namespace " << networkNamespace_ << " is gone");
  watched_.reset();
  const auto vanished = vanished_;
  monitor_->retractAll();
  close();
  if (vanished) vanished();
}

void VrfPlatform::close() {
  if (port_) port_->close();
  if (routes_) routes_->close();
  monitor_.reset();
}

}  // namespace Linux
