#include "sim/Host.h"

#include "platform/sim/Network.h"

namespace Sim {

namespace Bsr = Routing::Pim::Bsr;

namespace {
const Pax::IntfId loopback(L3::defaultVrf, "lo");
}

Host::Host(Router &router)
    : router_(router),
      config_(Kiv::make<Bsr::Config>()),
      vrfIntfConfig_(Kiv::make<Bsr::VrfIntfConfig>(L3::defaultVrf)),
      clearConfig_(Kiv::make<Bsr::ClearConfig>()),
      ipAclConfig_(Kiv::make<Acl::Input::Config>()) {
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
  container.pimCounters = router_.port()->messageCounters();
  container.ipAclConfig = ipAclConfig_;
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
  const auto intfConfig = Kiv::make<Bsr::IntfConfig>();
  intfConfig->bsrBorderGrpIs(zone);
  vrfIntfConfig_->intfConfigIs(intfId, intfConfig);
}

void Host::candidateBsrIs(const Pax::IpGenPrefix &zone, uint16_t priority) {
  const auto group = config_->bsrCandidateConfigIs(loopback)->groupIs(zone);
  group->hashMaskLenIs(zone.af() == Pax::AddressFamily::ipv4 ? 30 : 126);
  group->priorityIs(priority);
}

void Host::candidateBsrDel(const Pax::IpGenPrefix &zone) {
  if (const auto candidate = config_->bsrCandidateConfig(loopback)) candidate->groupDel(zone);
}

Kiv::Ptr<Bsr::RpCandidateConfig> Host::candidateRpIs(const Pax::IpGenPrefix &groups, uint16_t priority) {
  const auto candidate = config_->rpCandidateConfigIs(loopback);
  candidate->groupRangeOptionsIs(groups)->priorityIs(priority);
  candidate->groupRangeIs(groups);
  return candidate;
}

void Host::candidateRpDel() { config_->rpCandidateConfigDel(loopback); }

}  // namespace Sim
