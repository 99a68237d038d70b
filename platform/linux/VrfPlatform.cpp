#include "platform/linux/VrfPlatform.h"

namespace Linux {

VrfPlatform::VrfPlatform(EventLoop &loop, Orb::Random &random, const Parameters &parameters)
    : timerWheel_(Kiv::make<Orb::TimerWheel>(loop, loop)),
      interfaces_(Kiv::make<Ip::AllIntfStatusDir>()),
      pimStatus_(Kiv::make<Routing::Pim::Status>(parameters.vrf)),
      links_(Kiv::make<LinkTable>()) {
  const auto &where = parameters.monitor->where();
  const Pax::AddressFamily family = parameters.monitor->family();
  routes_ = Kiv::make<KernelRouteLookup>(*where, parameters.device, links_, interfaces_);
  port_ = Kiv::make<RawPacketPort>(loop, where, parameters.device, family, pimStatus_, routes_, links_);
  hello_ =
      Kiv::make<Routing::Pim::IO::HelloSpeaker>(pimStatus_, interfaces_, port_, timerWheel_, random, parameters.hello);
  vrfLinks_.emplace(parameters.monitor, parameters.device, parameters.vrf, interfaces_, links_);
}

VrfPlatform::~VrfPlatform() {
  port_->close();
  routes_->close();
}

}  // namespace Linux
