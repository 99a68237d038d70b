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

Kiv::Ptr<Bsr::BsrCandidate> Host::candidateBsrIs(const Pax::IpGenPrefix &zone, uint16_t priority) {
  const bool ipv4 = zone.af() == Pax::AddressFamily::ipv4;
  const Pax::IpGenAddr any = ipv4 ? Pax::IpGenAddr::v4(0) : Pax::IpGenAddr::v6(0, 0);
  status_->crpPermitIs(Pax::IpGenPrefix(any, 0), true);
  const auto candidate = status_->cbsrIs(zone);
  candidate->addressIs(router_.address());
  candidate->hashMaskLenIs(ipv4 ? 30 : 126);
  candidate->bsPeriodIs(60);
  candidate->priorityIs(priority);
  return candidate;
}

Kiv::Ptr<Bsr::RpCandidate> Host::candidateRpIs(const Pax::IpGenPrefix &groups, uint16_t priority) {
  const auto candidate = status_->crpIs(router_.address());
  candidate->prefixSetIs(groups);
  candidate->prefixOptionsIs(groups)->priorityIs(priority);
  return candidate;
}

}  // namespace Sim
