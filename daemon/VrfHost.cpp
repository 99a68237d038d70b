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

VrfHost::VrfHost(const Process &process, const L3::VrfName &vrf, const PimVrf &pim)
    : process_(process), vrf_(vrf), pim_(pim), retry_(process.wheel, *this) {
  process_.system.vrfIs(vrf_, pim_.networkNamespace);
  open();
}

void VrfHost::pimIs(const PimVrf &pim) {
  const PimVrf before = std::exchange(pim_, pim);
  if (before.networkNamespace != pim.networkNamespace) {
    close();
    process_.system.namespaceExistsIs(vrf_, false);
    process_.system.vrfIs(vrf_, pim_.networkNamespace);
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

IO::HelloSpeaker::Parameters VrfHost::helloParameters() const {
  return {pim_.speak, pim_.drPriority, process_.system.redundancyStatus, pim_.neighborsMost};
}

void VrfHost::open() {
  awaited_.reset();
  retry_.timeMinIs(Orb::never);
  forbidden_ = false;
  const std::string &name = pim_.networkNamespace.text();
  if (!name.empty() && Linux::namespaceInode(Linux::namespacePath(name)) == 0) return waitForNamespace();
  process_.system.namespaceExistsIs(vrf_, true);
  reason_ = "interfaces and addresses";
  try {
    platform_ = std::make_unique<Linux::VrfPlatform>(
        process_.loop, process_.watcher, process_.random,
        Linux::VrfPlatform::Parameters{vrf_.text(), name, process_.system.af, helloParameters(), [this] { publish(); },
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

void VrfHost::publish() {
  for (const Pax::IntfId &intfId : pim_.interfaces) {
    if (!platform_->inVrfDevice(intfId)) continue;
    TRACELET(trace, 1, "Interface " << intfId << " belongs to a vrf device, whose routing table is not used");
  }
  reason_.clear();
  process_.system.pimIs(vrf_,
                        {platform_->interfaces(), platform_->pimStatus(), platform_->routes(), platform_->port()});
}

void VrfHost::close() {
  awaited_.reset();
  process_.system.pimDel(vrf_);
  if (platform_) platform_->hello()->shutDown();
  platform_.reset();
}

void VrfHost::handleVanished() {
  TRACELET(trace, 2, "VRF " << vrf_ << " stops: namespace " << pim_.networkNamespace << " is gone");
  process_.system.namespaceExistsIs(vrf_, false);
  process_.system.pimDel(vrf_);
  platform_.reset();
  open();
}

void VrfHost::waitForNamespace() {
  reason_ = "namespace " + pim_.networkNamespace.text();
  TRACELET(trace, 3, "VRF " << vrf_ << " waits for " << reason_);
  awaited_.emplace(process_.watcher, pim_.networkNamespace.text(), [this](bool present) {
    if (present) open();
  });
  // It may have appeared before it was watched.
  if (awaited_->present()) retry_.timeMinIs(process_.loop.now());
}

}  // namespace Routing::Pim::Bsr
