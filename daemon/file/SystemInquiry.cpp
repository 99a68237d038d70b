#include "daemon/file/SystemInquiry.h"

#include <algorithm>
#include <boost/asio/post.hpp>
#include <chrono>
#include <system_error>

#include "daemon/file/Entries.h"

namespace Routing::Pim::Bsr {

namespace asio = boost::asio;

namespace {

constexpr std::chrono::seconds patience(5);
constexpr int asksPerTurn = 16;

}  // namespace

SystemInquiry::SystemInquiry(Linux::EventLoop &loop, Linux::NetlinkMonitors &monitors,
                             const Configuration &configuration, std::function<void()> done)
    : loop_(loop),
      monitors_(monitors),
      configuration_(configuration),
      done_(std::move(done)),
      next_(configuration.pim.begin()),
      deadline_(std::make_shared<asio::steady_timer>(loop.context(), patience)) {
  deadline_->async_wait([this, weak = std::weak_ptr(deadline_)](const boost::system::error_code &error) {
    if (error || weak.expired() || !done_) return;
    std::exchange(done_, nullptr)();
  });
  askNext();
}

// A few in a turn: each enters a namespace.
void SystemInquiry::askNext() {
  for (int i = 0; i < asksPerTurn && next_ != configuration_.pim.end(); ++i, ++next_) {
    for (const VrfHome &home : homesOf(next_->first, next_->second)) ask(home);
  }
  asio::post(loop_.context(), [this, weak = std::weak_ptr(deadline_)] {
    if (weak.expired() || !done_) return;
    loop_.workBegins();
    next_ != configuration_.pim.end() ? askNext() : evaluate();
  });
}

void SystemInquiry::ask(const VrfHome &home) {
  const auto [entry, isNew] = asked_.try_emplace(home.networkNamespace);
  if (!isNew || !namespaceExists(home)) return;
  Asked &asked = entry->second;
  try {
    asked.monitor = monitors_.monitor(home.networkNamespace);
    asked.listening = asked.monitor->listen([this] { evaluate(); });
  } catch (const std::system_error &) {
    asked.refused = true;  // as the agent will be, when it runs
  }
}

void SystemInquiry::evaluate() {
  const bool all = std::all_of(asked_.begin(), asked_.end(), [](const auto &entry) {
    return !entry.second.monitor || entry.second.monitor->complete();
  });
  if (all && done_ && next_ == configuration_.pim.end()) std::exchange(done_, nullptr)();
}

void SystemInquiry::findWarnings(Findings &findings) const {
  for (const auto &[vrf, pim] : configuration_.pim) findWarningsOf(vrf, pim, findings);
}

void SystemInquiry::findWarningsOf(const L3::VrfName &vrf, const PimVrf &pim, Findings &findings) const {
  std::vector<FoundHome> found;
  std::string absent;  // "namespace blue nor VRF device blue"
  for (const VrfHome &home : homesOf(vrf, pim)) {
    const auto entry = asked_.find(home.networkNamespace);
    if (entry == asked_.end()) return;  // the time was over before it was asked
    const Asked &asked = entry->second;
    if (asked.refused || (asked.monitor && !asked.monitor->complete())) return;
    if (const auto here = findHome(home, asked.monitor)) {
      found.push_back(*here);
    } else {
      absent += (absent.empty() ? "" : " nor ") + awaitedIn(home, asked.monitor != nullptr);
    }
  }
  const std::string path = entryPath({"pim", vrf.text()});
  if (found.empty()) {
    const std::string no = homesOf(vrf, pim).size() > 1 ? "neither " : "no ";
    return findings.warning(path, "there is " + no + absent + " now; the VRF begins when there is one");
  }
  if (vrf.text() != L3::defaultVrf) findings.found.push_back("VRF " + vrf.text() + " is " + toText(found.front()));
  if (found.size() > 1) {
    findings.warning(path, "there are both a namespace and a VRF device " + vrf.text() +
                               ", of which the namespace is used; give 'namespace' or 'device'");
  }
  const Linux::LinkMessage *device = found.front().monitor->link(found.front().deviceName());
  if (device && !device->adminUp) {
    findings.warning(path, "VRF device " + device->name + " is down: nothing is routed in it");
  }
  findSystemWarnings(configuration_, vrf, SystemView(vrf, found.front()), findings);
}

}  // namespace Routing::Pim::Bsr
