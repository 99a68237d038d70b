#include "daemon/VrfHost.h"

#include <algorithm>
#include <system_error>

#include "platform/tracelet/Tracelet.h"

namespace Routing::Pim::Bsr {

namespace {

Tracelet::Module trace("Pim::Bsr::Daemon");

constexpr double retryInterval = 10;

std::string whereText(const FoundHome &home) {
  const std::string device = home.deviceName();
  return device.empty() ? "namespace " + home.home.networkNamespace : "VRF device " + device;
}

bool contains(const std::vector<Pax::IntfId> &interfaces, const Pax::IntfId &intfId) {
  return std::find(interfaces.begin(), interfaces.end(), intfId) != interfaces.end();
}

}  // namespace

VrfHost::VrfHost(const Process &process, const L3::VrfName &vrf, const PimVrf &pim)
    : process_(process), vrf_(vrf), pim_(pim), retry_(process.wheel, *this) {
  find();
}

void VrfHost::pimIs(const PimVrf &pim) {
  const PimVrf before = std::exchange(pim_, pim);
  if (!platform_) return;
  const auto &hello = platform_->hello();
  hello->parametersIs(helloParameters());
  for (const Pax::IntfId &intfId : pim.interfaces) {
    if (!contains(before.interfaces, intfId)) hello->intfIs(intfId);
  }
  for (const Pax::IntfId &intfId : before.interfaces) {
    if (!contains(pim.interfaces, intfId)) hello->intfDel(intfId);
  }
}

IO::HelloSpeaker::Parameters VrfHost::helloParameters() const {
  return {pim_.speak, pim_.drPriority, process_.system.redundancyStatus, pim_.neighborsMost};
}

void VrfHost::find() {
  const std::vector<VrfHome> homes = homesOf(vrf_, pim_);
  const VrfHome &first = homes.front();
  process_.system.vrfIs(vrf_, first.networkNamespace, first.needsDevice ? first.device : "");
  finder_.emplace(process_.watcher, process_.monitors, homes, [this] { handleFound(); });
  handleFound();
}

void VrfHost::handleFound() {
  if (open_) handleVanished();
  retry_.timeMinIs(Orb::never);
  forbidden_ = false;
  if (finder_->error()) return handleRefusal(*finder_->error());
  if (finder_->found()) return open(*finder_->found());
  reason_ = finder_->awaited();
  TRACELET(trace, 3, "VRF " << vrf_ << " waits for " << reason_);
}

void VrfHost::open(const FoundHome &home) {
  reason_.clear();
  try {
    platform_ = std::make_unique<Linux::VrfPlatform>(
        process_.loop, process_.random,
        Linux::VrfPlatform::Parameters{vrf_.text(), home.monitor, home.device, helloParameters()});
  } catch (const std::system_error &error) {
    return handleRefusal(error);
  }
  open_ = home;
  for (const Pax::IntfId &intfId : pim_.interfaces) platform_->hello()->intfIs(intfId);
  process_.system.vrfIs(vrf_, home.home.networkNamespace, home.deviceName());
  process_.system.namespaceExistsIs(vrf_, true);
  process_.system.pimIs(vrf_,
                        {platform_->interfaces(), platform_->pimStatus(), platform_->routes(), platform_->port()});
}

void VrfHost::handleRefusal(const std::system_error &error) {
  forbidden_ = error.code() == std::errc::operation_not_permitted || error.code() == std::errc::permission_denied;
  reason_ = error.what();
  if (forbidden_) reason_ += " (the agent needs CAP_NET_RAW and CAP_NET_ADMIN, and CAP_SYS_ADMIN for namespaces)";
  TRACELET(trace, 1, "VRF " << vrf_ << " cannot be opened: " << reason_);
  retry_.timeMinIs(process_.loop.now() + retryInterval);
}

// Where only the device is another one, what is left of the VRF hears a goodbye.
void VrfHost::handleVanished() {
  const auto &now = finder_->found();
  if (now && now->monitor == open_->monitor && open_->device == 0) return close();
  TRACELET(trace, 2, "VRF " << vrf_ << " stops: " << whereText(*open_) << " is gone");
  platform_->vanish();
  close();
}

void VrfHost::close() {
  process_.system.pimDel(vrf_);
  process_.system.namespaceExistsIs(vrf_, false);
  if (platform_) platform_->hello()->shutDown();
  platform_.reset();
  open_.reset();
}

}  // namespace Routing::Pim::Bsr
