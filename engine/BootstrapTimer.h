/// The bootstrap timer of a candidate BSR: when its machine acts next, and why.
#pragma once

#include "engine/PimBsrSm.h"
#include "model/Status.h"
#include "platform/orb/TimerWheel.h"

namespace Routing::Pim::Bsr {

/// Owned by the zone's candidate machine; nothing else arms the timer. Where the zone has a BSR, arming writes the
/// time into the BSR's status, except for an override and for what is due at once. Times are absolute, in seconds of
/// the platform's clock.
class BootstrapTimer {
 public:
  /// How soon a change of the RP set is announced or told again (RFC 5059 section 5: BS_Min_Interval).
  static constexpr double bsMinInterval = 10;

  enum class Reason : uint8_t {
    timeout,       ///< the BSR that we follow has to be heard before
    randOverride,  ///< we take over, unless we hear a better candidate before
    announcement,  ///< of an election that survived a restart
    period,        ///< our next message: after a period, or sooner where something has to be told again
    answer,        ///< to a sender of lower weight, which had to wait
    change,        ///< of the RP set
  };

  /// All outlive it.
  BootstrapTimer(Orb::Timer &timer, const PimBsrSm &bsrSm, const Pax::IpGenPrefix &zone)
      : timer_(timer), bsrSm_(bsrSm), zone_(zone) {}

  /// What it was armed for last.
  Reason reason() const { return reason_; }
  double time() const { return timer_.timeMin(); }

  /// The timeout for the BSR that we follow: the hold time, raised where our own period is not shorter (RFC
  /// 5059 section 5). `lead` begins the trace of one that is raised.
  void timeoutIs(uint32_t holdTime, uint32_t bsPeriod, const char *lead);
  uint32_t timeout() const { return timeout_; }

  void arm(Reason reason, double time);
  void disarm() { timer_.timeMinIs(Orb::never); }
  /// Makes it fire now, for the same reason.
  void hasten() { arm(reason_, bsrSm_.now()); }
  /// The RP set has changed, which is announced soon (RFC 5059 section 3.3).
  void pull();
  /// The timeout has changed: an armed timer fires within it.
  void shorten();

 private:
  const std::string &vrfName() const { return bsrSm_.vrfName(); }

  Orb::Timer &timer_;
  const PimBsrSm &bsrSm_;
  const Pax::IpGenPrefix &zone_;
  uint32_t timeout_ = 0;
  Reason reason_ = Reason::randOverride;
};

}  // namespace Routing::Pim::Bsr
