#include "sim/Host.h"

#include "platform/sim/Network.h"

namespace Sim {

namespace Bsr = Routing::Pim::Bsr;

namespace {
const Pax::IntfId loopback(L3::defaultVrf, "lo");
}

const L3::VrfName Host::vrf(L3::defaultVrf);

Host::Host(Router &router) : router_(router), system_(store_, router.network().af()) {
  system_.vrfIs(vrf);
  storeNew();
}

Host::~Host() { crash(); }

void Host::start(const Router::HelloParameters &parameters) {
  router_.pimStart(parameters);
  system_.pimIs(vrf, {router_.allIntfStatusDir(), router_.pimStatus(), router_.routes(), router_.port()});
  VirtualTime &time = router_.network().time();
  agent_ = Bsr::makeAgent(router_.network().af(), {store_, time, time, router_.random()});
  agent_->doInit();
}

void Host::end(bool goodbye) {
  agent_ = nullptr;
  system_.pimDel(vrf);
  router_.pimStop(goodbye);
}

void Host::powerOff() {
  crash();
  router_.powerIs(false);
  storeNew();
}

void Host::storeNew() {
  system_.statusColl->vrfStatusDel(vrf);
  system_.statusColl->vrfStatusIs(vrf);
  system_.rpCandidateStatusColl->vrfStatusIs(vrf, Kiv::make<Routing::Pim::RpCandidateStatus>(vrf.text()));
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
