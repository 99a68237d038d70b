#include "daemon/VrfHost.h"

#include <algorithm>
#include <system_error>

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
  const VrfHome first = homesOf(vrf_, pim_).front();
  process_.system.vrfIs(vrf_, first.networkNamespace, first.needsDevice ? first.device : "");
  find();
}

bool VrfHost::mayStayWith(const PimVrf &pim) const {
  const auto last = process_.system.allVrfStatusLocal->vrfStatus(vrf_);
  return isHome(homesOf(vrf_, pim), last->namespaceName().text(), last->device());
}

void VrfHost::pimIs(const PimVrf &pim) {
  const PimVrf before = std::exchange(pim_, pim);
  if (homesOf(vrf_, before) != homesOf(vrf_, pim)) {
    lookFor();
    const auto &found = finder_->found();
    const bool stays = open_ && found && found->monitor == open_->monitor && found->device == open_->device;
    stays ? void(open_ = found) : handleFound();
  }
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

void VrfHost::lookFor() {
  finder_.emplace(process_.watcher, process_.monitors, homesOf(vrf_, pim_), [this] { handleFound(); });
}

void VrfHost::find() {
  lookFor();
  handleFound();
}

void VrfHost::handleFound() {
  if (open_) {
    TRACELET(trace, 2, "VRF " << vrf_ << " leaves " << toText(*open_));
    close();
  }
  const auto error = finder_->error();
  if (error && retry_.armed()) return;  // which is told, and tried again
  retry_.timeMinIs(Orb::never);
  forbidden_ = false;
  if (error) return handleRefusal(*error);
  if (finder_->found()) return open(*finder_->found());
  reason_ = finder_->awaited();
  TRACELET(trace, 3, "VRF " << vrf_ << " waits for " << reason_);
}

void VrfHost::open(const FoundHome &home) {
  reason_.clear();
  const std::string &name = home.home.networkNamespace;
  const auto last = process_.system.allVrfStatusLocal->vrfStatus(vrf_);
  const bool isElsewhere = !isSameNamespace(last->namespaceName().text(), name) || last->device() != home.deviceName();
  if (isElsewhere) process_.system.statusDel(vrf_);  // of another network
  process_.system.vrfIs(vrf_, name, home.deviceName());
  try {
    platform_ = std::make_unique<Linux::VrfPlatform>(
        process_.loop, process_.random,
        Linux::VrfPlatform::Parameters{vrf_.text(), home.monitor, home.device, helloParameters()});
  } catch (const std::system_error &error) {
    return handleRefusal(error);
  }
  open_ = home;
  for (const Pax::IntfId &intfId : pim_.interfaces) platform_->hello()->intfIs(intfId);
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

// The machines end before their interfaces go, as in a restart.
void VrfHost::close() {
  process_.system.pimDel(vrf_);
  process_.system.namespaceExistsIs(vrf_, false);
  if (platform_) platform_->hello()->shutDown();
  platform_.reset();
  open_.reset();
}

}  // namespace Routing::Pim::Bsr
