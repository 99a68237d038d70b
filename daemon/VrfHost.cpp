#include "daemon/VrfHost.h"

#include <algorithm>
#include <system_error>

#include "platform/linux/Namespace.h"
#include "platform/tracelet/Tracelet.h"

namespace Routing::Pim::Bsr {

namespace {

Tracelet::Module trace("Pim::Bsr::Daemon");

constexpr double retryInterval = 10;

bool contains(const std::vector<Pax::IntfId> &interfaces, const Pax::IntfId &intfId) {
  return std::find(interfaces.begin(), interfaces.end(), intfId) != interfaces.end();
}

}  // namespace

VrfHost::VrfHost(const Process &process, const L3::VrfName &vrf, const PimVrf &pim, const Entities &entities)
    : process_(process),
      vrf_(vrf),
      entities_(entities),
      pim_(pim),
      vrfIntfConfig_(Kiv::make<VrfIntfConfig>(vrf.text())),
      rpCandidateStatus_(Kiv::make<RpCandidateStatus>(vrf.text())),
      retry_(*this, process.wheel) {
  open();
}

VrfHost::~VrfHost() { close(); }

void VrfHost::pimIs(const PimVrf &pim) {
  const PimVrf before = std::exchange(pim_, pim);
  if (before.networkNamespace != pim.networkNamespace) {
    close();
    open();
  } else if (platform_) {
    const auto &hello = platform_->hello();
    hello->parametersIs(helloParameters());
    for (const Pax::IntfId &intfId : pim.interfaces) {
      if (!contains(before.interfaces, intfId)) hello->intfIs(intfId);
    }
    for (const Pax::IntfId &intfId : before.interfaces) {
      if (!contains(pim.interfaces, intfId)) hello->intfDel(intfId);
    }
  }
}

IO::HelloSpeaker::Parameters VrfHost::helloParameters() const { return {pim_.speak, pim_.drPriority}; }

void VrfHost::open() {
  awaited_.reset();
  retry_.timeMinIs(Orb::never);
  forbidden_ = false;
  const std::string &name = pim_.networkNamespace.text();
  if (!name.empty() && Linux::namespaceInode(Linux::namespacePath(name)) == 0) return waitForNamespace();
  reason_ = "interfaces and addresses";
  try {
    platform_ = std::make_unique<Linux::VrfPlatform>(
        process_.loop, process_.watcher, process_.random,
        Linux::VrfPlatform::Parameters{vrf_.text(), name, process_.family, helloParameters(), [this] { run(); },
                                       [this] { handleVanished(); }});
    for (const Pax::IntfId &intfId : pim_.interfaces) platform_->hello()->intfIs(intfId);
  } catch (const std::system_error &error) {
    forbidden_ = error.code() == std::errc::operation_not_permitted || error.code() == std::errc::permission_denied;
    reason_ = error.what();
    if (forbidden_) reason_ += " (the agent needs CAP_NET_RAW and CAP_NET_ADMIN, and CAP_SYS_ADMIN for namespaces)";
    TRACELET(trace, 1, "VRF " << vrf_ << " cannot be opened: " << reason_);
    platform_.reset();
    retry_.timeMinIs(process_.loop.now() + retryInterval);
  }
}

void VrfHost::run() {
  TRACELET(trace, 3, "VRF " << vrf_ << " starts");
  for (const Pax::IntfId &intfId : pim_.interfaces) {
    if (!platform_->inVrfDevice(intfId)) continue;
    TRACELET(trace, 1, "Interface " << intfId << " belongs to a vrf device, whose routes are not looked at");
  }
  Container container;
  container.vrf = vrf_;
  container.af = process_.family;
  container.clock = &process_.loop;
  container.waker = &process_.loop;
  container.random = &process_.random;
  container.config = entities_.config;
  container.vrfIntfConfig = vrfIntfConfig_;
  container.clearConfig = entities_.clearConfig;
  container.status = entities_.status;
  container.rpCandidateStatus = rpCandidateStatus_;
  container.pimStatus = platform_->pimStatus();
  container.allIntfStatusDir = platform_->interfaces();
  container.ipAclConfig = entities_.ipAclConfig;
  container.pimCounters = platform_->port()->messageCounters();
  container.routes = platform_->routes();
  container.packetPort = platform_->port();
  containerSm_ = std::make_unique<ContainerSm>(container);
  reason_.clear();
}

void VrfHost::close() {
  awaited_.reset();
  containerSm_.reset();
  if (platform_) platform_->hello()->shutDown();
  platform_.reset();
}

void VrfHost::handleVanished() {
  TRACELET(trace, 2, "VRF " << vrf_ << " stops: namespace " << pim_.networkNamespace << " is gone");
  containerSm_.reset();
  platform_.reset();
  open();
}

void VrfHost::waitForNamespace() {
  reason_ = "namespace " + pim_.networkNamespace.text();
  TRACELET(trace, 3, "VRF " << vrf_ << " waits for " << reason_);
  awaited_.emplace(process_.watcher, pim_.networkNamespace.text(), [this](bool present) {
    if (present) open();
  });
  // It may have come between the look and the watch.
  if (awaited_->present()) retry_.timeMinIs(process_.loop.now());
}

}  // namespace Routing::Pim::Bsr
