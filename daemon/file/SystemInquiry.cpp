#include "daemon/file/SystemInquiry.h"

#include <algorithm>
#include <boost/asio/post.hpp>
#include <chrono>
#include <system_error>

#include "platform/linux/NetlinkMonitor.h"

namespace Routing::Pim::Bsr {

namespace asio = boost::asio;

namespace {

constexpr std::chrono::seconds patience(5);
constexpr int asksPerTurn = 16;

}  // namespace

struct SystemInquiry::Asked {
  Asked(Linux::EventLoop &loop, const std::string &vrf, const PimVrf &pim, Pax::AddressFamily family,
        std::function<void()> complete)
      : monitor(loop, Linux::Namespace(pim.networkNamespace.text()), interfaces, Kiv::make<Linux::LinkTable>(),
                {vrf, family, std::move(complete)}) {}
  const Kiv::Ptr<Ip::AllIntfStatusDir> interfaces = Kiv::make<Ip::AllIntfStatusDir>();
  Linux::NetlinkMonitor monitor;
};

SystemInquiry::SystemInquiry(Linux::EventLoop &loop, const Configuration &configuration, Known known,
                             std::function<void()> done)
    : configuration_(configuration),
      known_(std::move(known)),
      done_(std::move(done)),
      next_(configuration.pim.begin()),
      deadline_(std::make_shared<asio::steady_timer>(loop.context(), patience)) {
  deadline_->async_wait([this, weak = std::weak_ptr(deadline_)](const boost::system::error_code &error) {
    if (error || weak.expired() || !done_) return;
    std::exchange(done_, nullptr)();
  });
  askNext(loop);
}

SystemInquiry::~SystemInquiry() = default;

// A few in a turn: each enters a namespace.
void SystemInquiry::askNext(Linux::EventLoop &loop) {
  for (int i = 0; i < asksPerTurn && next_ != configuration_.pim.end(); ++i, ++next_) {
    if (!known_(next_->first, next_->second)) ask(loop, next_->first, next_->second);
  }
  asio::post(loop.context(), [this, &loop, weak = std::weak_ptr(deadline_)] {
    if (weak.expired() || !done_) return;
    loop.workBegins();
    next_ != configuration_.pim.end() ? askNext(loop) : evaluate();
  });
}

void SystemInquiry::ask(Linux::EventLoop &loop, const L3::VrfName &vrf, const PimVrf &pim) {
  // The monitor is in the middle of its work when it says that it is complete.
  const auto complete = [this, &loop, weak = std::weak_ptr(deadline_)] {
    asio::post(loop.context(), [this, weak] {
      if (!weak.expired()) evaluate();
    });
  };
  try {
    asked_.emplace(vrf, std::make_unique<Asked>(loop, vrf.text(), pim, configuration_.family, complete));
  } catch (const std::system_error &) {
    return;  // it is waited for, or will be refused, when the agent runs
  }
}

void SystemInquiry::evaluate() {
  const bool all =
      std::all_of(asked_.begin(), asked_.end(), [](const auto &asked) { return asked.second->monitor.complete(); });
  if (all && done_ && next_ == configuration_.pim.end()) std::exchange(done_, nullptr)();
}

void SystemInquiry::findWarnings(Findings &findings) const {
  for (const auto &[vrf, pim] : configuration_.pim) {
    if (const auto view = known_(vrf, pim)) {
      findSystemWarnings(configuration_, vrf, *view, findings);
    } else if (const auto asked = asked_.find(vrf); asked != asked_.end() && asked->second->monitor.complete()) {
      const auto inVrfDevice = [&](const Pax::IntfId &intfId) { return asked->second->monitor.inVrfDevice(intfId); };
      findSystemWarnings(configuration_, vrf, {asked->second->interfaces, inVrfDevice}, findings);
    }
  }
}

}  // namespace Routing::Pim::Bsr
