#include "plan/Box.h"

#include <algorithm>

#include "daemon/file/ConfigApply.h"
#include "daemon/file/Difference.h"
#include "platform/sim/Network.h"
#include "platform/system/AgentName.h"
#include "view/Explain.h"
#include "view/Figures.h"
#include "view/Metrics.h"
#include "view/Show.h"

namespace Planning {

using namespace Routing::Pim::Bsr;

namespace {

std::vector<Sim::Router *> makeVrfs(Sim::Network &network, const Router &router) {
  std::vector<Sim::Router *> made;
  for (const Vrf &vrf : router.vrfs) {
    const bool isDefault = made.empty();
    Sim::Router &each = network.router(isDefault ? router.name : router.name + "/" + vrf.name, vrf.name);
    each.addressDel(each.address());
    for (const Interface &interface : vrf.interfaces) {
      if (interface.link) continue;
      if (interface.name != "lo") each.stubIs(interface.name);
      for (const Sim::IntfAddress &address : interface.addresses) each.addressIs(address.address, interface.name);
    }
    made.push_back(&each);
  }
  return made;
}

}  // namespace

Box::Box(Sim::Network &network, const Router &router, Settled settled)
    : router_(router),
      time_(network.time()),
      configuration_(router.configuration),
      vrfs_(makeVrfs(network, router)),
      host_(*vrfs_.front()),
      log_([this] { return time_.now() - Sim::VirtualTime::start; }),
      reporter_({log_, drops_, host_.system(), Kiv::make<Orb::TimerWheel>(time_, time_),
                 [this](const L3::VrfName &vrf) {
                   const auto pim = configuration_->pim.find(vrf);
                   return pim == configuration_->pim.end() ? std::vector<Pax::IntfId>() : pim->second.interfaces;
                 },
                 [this](const L3::VrfName &) { return host_.runs() ? "its interfaces" : ""; },
                 [this, settled = std::move(settled)](const L3::VrfName &vrf) {
                   for (size_t i = 0; i < router_.vrfs.size(); ++i) {
                     if (router_.vrfs[i].name == vrf.text()) settled(i);
                   }
                 }}) {
  host_.watcherIs(&reporter_);
}

Box::~Box() { crash(); }

bool Box::isConfigured(const Sim::Router &vrf) const { return configuration_->pim.contains(L3::VrfName(vrf.vrf())); }

// As a reload does: VRFs that go say goodbye first, those that come have their configuration when they start.
void Box::apply() {
  if (applied_ == configuration_) return;
  const auto isThere = [&](Sim::Router *vrf) {
    return std::find(host_.vrfs().begin(), host_.vrfs().end(), vrf) != host_.vrfs().end();
  };
  for (Sim::Router *vrf : vrfs_) {
    if (vrf != vrfs_.front() && isThere(vrf) && !isConfigured(*vrf)) host_.vrfDel(*vrf);
  }
  configurationApply(*configuration_, *host_.system().configColl, *host_.system().aclCli);
  for (Sim::Router *vrf : vrfs_) {
    const auto pim = configuration_->pim.find(L3::VrfName(vrf->vrf()));
    const PimVrf settings = pim == configuration_->pim.end() ? PimVrf() : pim->second;
    vrf->pimIs({settings.speak, settings.drPriority, host_.system().redundancyStatus, settings.neighborsMost},
               settings.interfaces);
    if (!isThere(vrf) && isConfigured(*vrf)) host_.vrfIs(*vrf);
  }
  std::string text = "Configuration loaded: ";
  text += differenceOf(applied_ ? *applied_ : Routing::Pim::Bsr::Configuration(), *configuration_);
  reporter_.tell(EventKind::configurationLoaded, Severity::notice, text);
  reporter_.handleConfig();
  applied_ = configuration_;
}

void Box::configurationIs(const ConfigurationPtr &configuration) {
  configuration_ = configuration;
  if (runs()) apply();
}

void Box::start() {
  if (runs() || !hasPower()) return;
  apply();
  reporter_.started(agentName(host_.system().af), PIMBSR_VERSION, "");
  host_.start();
}

void Box::stop() {
  if (!runs()) return;
  reporter_.stopping(agentName(host_.system().af));
  host_.stop();
}

void Box::crash() {
  if (runs()) host_.crash();
}

void Box::powerOff() {
  if (!hasPower()) return;
  host_.powerOff();
  for (Sim::Router *vrf : vrfs_) vrf->powerIs(false);
}

void Box::powerOn() {
  if (hasPower()) return;
  for (Sim::Router *vrf : vrfs_) vrf->powerIs(true);
  start();
}

void Box::standbyIs(bool standby) { host_.system().standbyIs(standby); }

bool Box::hears(size_t vrf, const Pax::IntfId &intfId, const Pax::IpGenPrefix &zone) const {
  if (!runs() || standsBy()) return false;
  const std::vector<Pax::IntfId> interfaces = vrfs_[vrf]->pimInterfaces();
  if (std::find(interfaces.begin(), interfaces.end(), intfId) == interfaces.end()) return false;
  const auto status = this->status(vrf);
  const auto border = status ? status->bsBorder(zone) : nullptr;
  return !border || !border->intfId(intfId);
}

Kiv::Ptr<const Status> Box::status(size_t vrf) const {
  return host_.system().statusColl->vrfStatus(L3::VrfName(vrfs_[vrf]->vrf()));
}

HeldByZone Box::held(size_t vrf) const {
  HeldByZone all;
  const auto status = runsIn(vrf) ? this->status(vrf) : nullptr;
  if (!status) return all;
  for (const auto &[zone, bsr] : status->bootstrapRouter()) {
    Held &held = all[zone];
    const auto candidate = status->cbsr(zone);
    const bool isSilent =
        candidate && candidate->state() == BsrCandidateState::pBsr && bsr->expiryTime() <= time_.now();
    if (isSilent) continue;  // it waits to take over
    held.bsr = bsr->ipAddr();
    held.priority = bsr->priority();
    held.hashMaskLen = bsr->hashMaskLen();
    held.elected = vrfs_[vrf]->owns(held.bsr);
  }
  for (const auto &[zone, set] : status->crpStatus()) {
    if (!set->status()) continue;
    RpSetDigest digest;
    Held &held = all[zone];
    for (const auto &[prefix, rps] : set->status()->crpSet()) {
      for (const auto &[address, rp] : rps->rp()) {
        digest.add(prefix, address, *rp);
        ++held.rps;
      }
    }
    held.digest = digest.value();
  }
  return all;
}

std::set<Pax::IpGenAddr> Box::rps(size_t vrf, const Pax::IpGenPrefix &zone) const {
  std::set<Pax::IpGenAddr> all;
  const auto status = this->status(vrf);
  const auto sets = status ? rpSetsOf(*status, zone) : nullptr;
  if (!sets) return all;
  for (const auto &[prefix, rps] : sets->crpSet()) {
    for (const auto &[address, rp] : rps->rp()) all.insert(address);
  }
  return all;
}

std::vector<VrfView> Box::views() {
  std::vector<VrfView> views;
  for (Sim::Router *vrf : host_.vrfs()) {
    if (!isConfigured(*vrf)) continue;
    const ContainerSm *machines = runs() ? host_.agent().containerSm(vrf->vrf()) : nullptr;
    views.push_back(viewOf(host_.system(), vrf->vrf(), machines, time_.now(), vrf->pimInterfaces()));
    views.back().drops = &drops_;
  }
  std::sort(views.begin(), views.end(), [](const VrfView &a, const VrfView &b) { return a.vrf < b.vrf; });
  return views;
}

Rows Box::shown(const std::string &noun, const std::string &argument) {
  if (noun == "events") return eventRows(log_, {});
  if (noun == "drops") return dropRows(drops_, "", time_.now());
  if (noun != "metrics") return rowsOf(noun, views(), argument);
  AgentFigures agent;
  agent.agent = agentName(host_.system().af);
  return metricsRows(agent, views());
}

Rows Box::explained(const std::string &topic, const std::string &argument) {
  return explanationOf(topic, views(), argument);
}

}  // namespace Planning
