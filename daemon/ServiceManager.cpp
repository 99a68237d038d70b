#include "daemon/ServiceManager.h"

#include <systemd/sd-daemon.h>
#include <time.h>

#include <cstdlib>

#include "daemon/EventLines.h"

namespace Routing::Pim::Bsr {

namespace {

// systemd tells by it whether READY answers this RELOADING.
std::string monotonicMicroseconds() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return std::to_string(now.tv_sec * 1000000 + now.tv_nsec / 1000);
}

void tell(const std::string &text) { ::sd_notify(0, text.c_str()); }

}  // namespace

ServiceManager::ServiceManager(const Kiv::Ptr<Orb::TimerWheel> &wheel, EventLog &events,
                               std::function<std::string()> status)
    : wheel_(wheel), status_(std::move(status)), watchdogTimer_(wheel, *this), statusTimer_(wheel, *this) {
  if (!std::getenv("NOTIFY_SOCKET")) return;
  uint64_t microseconds = 0;
  if (::sd_watchdog_enabled(0, &microseconds) > 0) interval_ = static_cast<double>(microseconds) * 1e-6 / 2;
  listening_ = events.listen([this](const Event &) {
    if (!statusTimer_.armed()) statusTimer_.timeMinIs(wheel_->now() + patience);
  });
}

void ServiceManager::started() {
  tell("READY=1");
  if (interval_ > 0) feedWatchdog();
}

void ServiceManager::reloadBegins() {
  if (reloads_++ == 0) tell("RELOADING=1\nMONOTONIC_USEC=" + monotonicMicroseconds());
}

void ServiceManager::reloadEnds() {
  if (--reloads_ == 0) tell("READY=1");
}

void ServiceManager::stops() { tell("STOPPING=1"); }

void ServiceManager::feedWatchdog() {
  tell("WATCHDOG=1");
  watchdogTimer_.timeMinIs(wheel_->now() + interval_);
}

void ServiceManager::lookAtStatus() {
  std::string status = EventLines::printable(status_());
  if (status.size() > longestStatus) status.replace(longestStatus - 3, status.npos, "...");
  if (status == told_) return;
  told_ = std::move(status);
  tell("STATUS=" + told_);
}

}  // namespace Routing::Pim::Bsr
