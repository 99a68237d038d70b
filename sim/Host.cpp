#include "sim/Host.h"

#include "platform/sim/Network.h"
#include "platform/tracelet/Require.h"

namespace Sim {

namespace Bsr = Routing::Pim::Bsr;

const Pax::IntfId loopback(L3::defaultVrf, "lo");

const L3::VrfName Host::vrf(L3::defaultVrf);

Host::Host(Router &router) : router_(router), vrfs_{&router}, system_(store_, router.network().af()) {
  system_.vrfIs(vrf);
  storeNew();
}

void Host::vrfIs(Router &router) {
  vrfs_.push_back(&router);
  system_.vrfIs(router.vrf(), router.vrf());
  system_.namespaceExistsIs(router.vrf(), true);
  if (runs()) start(router);
}

void Host::vrfDel(Router &router) {
  system_.vrfDel(router.vrf());
  router.pimStop(true);
  std::erase(vrfs_, &router);
}

void Host::start() {
  for (Router *router : vrfs_) start(*router);
  VirtualTime &time = router_.network().time();
  agent_ = Bsr::makeAgent(router_.network().af(), {store_, time, time, router_.random()});
  agent_->watcherIs(watcher_);
  agent_->doInit();
}

void Host::start(Router &router) {
  router.pimStart(system_.redundancyStatus);
  system_.pimIs(router.vrf(), {router.allIntfStatusDir(), router.pimStatus(), router.routes(), router.port()});
}

void Host::end(bool goodbye) {
  agent_ = nullptr;
  for (Router *router : vrfs_) {
    system_.pimDel(router->vrf());
    router->pimStop(goodbye);
  }
}

void Host::powerOff() {
  crash();
  powerIs(false);
  storeNew();
}

void Host::storeNew() {
  for (const Router *router : vrfs_) {
    const L3::VrfName name = router->vrf();
    system_.statusColl->vrfStatusDel(name);
    system_.statusColl->vrfStatusIs(name);
    system_.rpCandidateStatusColl->vrfStatusIs(name, Kiv::make<Routing::Pim::RpCandidateStatus>(name.text()));
  }
}

void Host::powerIs(bool power) {
  for (Router *router : vrfs_) router->powerIs(power);
}

const Bsr::Status &Host::status() const {
  const auto status = system_.statusColl->vrfStatus(vrf);
  REQUIRE(status);
  return *status;
}

Pax::IpGenAddr Host::bsr(const Pax::IpGenPrefix &zone) const {
  const auto elected = status().bootstrapRouter(zone);
  return elected ? elected->ipAddr() : Pax::IpGenAddr();
}

void Host::borderIs(const Pax::IpGenPrefix &zone, const Pax::IntfId &intfId) {
  system_.configColl->intfConfigIs(intfId)->bsrBorderGrpIs(zone);
}

void Host::candidateBsrIs(const Pax::IpGenPrefix &zone, uint16_t priority) {
  const auto group = config().bsrCandidateConfigIs(loopback)->groupIs(zone);
  group->hashMaskLenIs(zone.af() == Pax::AddressFamily::ipv4 ? 30 : 126);
  group->priorityIs(priority);
}

void Host::candidateBsrDel(const Pax::IpGenPrefix &zone) {
  if (const auto candidate = config().bsrCandidateConfig(loopback)) candidate->groupDel(zone);
}

Kiv::Ptr<Bsr::RpCandidateConfig> Host::candidateRpIs(const Pax::IpGenPrefix &groups, uint16_t priority) {
  const auto candidate = config().rpCandidateConfigIs(loopback);
  candidate->groupRangeOptionsIs(groups)->priorityIs(priority);
  candidate->groupRangeIs(groups);
  return candidate;
}

void Host::candidateRpDel() { config().rpCandidateConfigDel(loopback); }

}  // namespace Sim
