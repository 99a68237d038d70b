/// The agent as a service of systemd.
#pragma once

#include <functional>
#include <string>

#include "platform/orb/TimerFor.h"
#include "view/EventLog.h"

namespace Routing::Pim::Bsr {

/// Tells systemd how the agent fares, by sd_notify(3), and feeds its watchdog from a timer of the loop, so that a loop
/// that hangs is found. Does nothing where systemd did not start the agent or wants to know nothing (NOTIFY_SOCKET).
/// The daemon owns it.
class ServiceManager {
 public:
  static constexpr size_t longestStatus = 500;  ///< characters

  /// `status` says what "systemctl status" shows. It is asked a second after an event, and told where it has changed.
  ServiceManager(const Kiv::Ptr<Orb::TimerWheel> &wheel, EventLog &events, std::function<std::string()> status);

  /// The first configuration is in force.
  void started();
  /// Of reloads that overlap the first begin and the last end are told.
  void reloadBegins();
  void reloadEnds();
  void stops();

 private:
  static constexpr double patience = 1;

  void feedWatchdog();
  void lookAtStatus();

  const Kiv::Ptr<Orb::TimerWheel> wheel_;
  const std::function<std::string()> status_;
  std::string told_;      // as the status
  double interval_ = 0;   // of the watchdog's food, seconds; 0: it wants none
  uint64_t reloads_ = 0;  // under way
  Orb::TimerFor<&ServiceManager::feedWatchdog> watchdogTimer_;
  Orb::TimerFor<&ServiceManager::lookAtStatus> statusTimer_;
  EventLog::Listening listening_;
};

}  // namespace Routing::Pim::Bsr
