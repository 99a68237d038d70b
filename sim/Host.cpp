#include "sim/Host.h"

#include "platform/sim/Network.h"

namespace Sim {

namespace Bsr = Routing::Pim::Bsr;

Host::Host(Router &router)
    : router_(router),
      config_(Kiv::make<Bsr::Config>()),
      vrfIntfConfig_(Kiv::make<Bsr::VrfIntfConfig>(L3::defaultVrf)),
      clearConfig_(Kiv::make<Bsr::ClearConfig>()) {
  storeNew();
}

Host::~Host() { crash(); }

void Host::start(const Router::HelloParameters &parameters) {
  router_.pimStart(parameters);
  Bsr::Container container;
  container.vrf = L3::defaultVrf;
  container.af = router_.network().af();
  container.clock = &router_.network().time();
  container.waker = &router_.network().time();
  container.random = &router_.random();
  container.config = config_;
  container.vrfIntfConfig = vrfIntfConfig_;
  container.clearConfig = clearConfig_;
  container.status = status_;
  container.rpCandidateStatus = rpSet_;
  container.pimStatus = router_.pimStatus();
  container.allIntfStatusDir = router_.allIntfStatusDir();
  container.routes = router_.routes();
  container.packetPort = router_.port();
  agent_ = std::make_unique<Bsr::ContainerSm>(container);
}

void Host::end(bool goodbye) {
  agent_ = nullptr;
  router_.pimStop(goodbye);
}

void Host::powerOff() {
  crash();
  router_.powerIs(false);
  storeNew();
}

void Host::storeNew() {
  status_ = Kiv::make<Bsr::Status>(L3::VrfName(L3::defaultVrf));
  rpSet_ = Kiv::make<Routing::Pim::RpCandidateStatus>(L3::defaultVrf);
}

Pax::IpGenAddr Host::bsr(const Pax::IpGenPrefix &zone) const {
  const auto elected = status_->bootstrapRouter(zone);
  return elected ? elected->ipAddr() : Pax::IpGenAddr();
}

void Host::borderIs(const Pax::IpGenPrefix &zone, const Pax::IntfId &intfId) {
  status_->bsBorderIs(zone)->intfIdIs(intfId);
}

}  // namespace Sim
