#include "engine/BootstrapTimer.h"

#include "model/VrfTrace.h"

namespace Routing::Pim::Bsr {

namespace {

Tracelet::Module trace("Pim::Bsr::CandidateSm");

// By the reasons' numbers.
constexpr const char *reasons[] = {"timeout", "override", "announcement", "period", "answer", "change"};

}  // namespace

// An override, and a message due at once, leave the BSR's expiry time alone: neither says when the next message of
// the BSR is due.
void BootstrapTimer::arm(Reason reason, double time) {
  const double now = bsrSm_.now();
  reason_ = reason;
  timer_.timeMinIs(time);
  VRF_TRACE(trace, 6,
            "Bootstrap timer of zone " << zone_ << " set to " << time - now
                                       << " seconds: " << reasons[static_cast<size_t>(reason)]);
  if (reason == Reason::randOverride || time <= now) return;
  if (const auto bsr = bsrSm_.bsrStatus()->bootstrapRouter(zone_)) bsr->expiryTimeIs(time);
}

void BootstrapTimer::pull() {
  const double remaining = time() - bsrSm_.now();
  if (remaining > bsMinInterval) {
    arm(Reason::change, bsrSm_.now() + bsMinInterval);
    VRF_TRACE(trace, 5, "Setting bootstrap timer to expire in BS_MIN_INTERVAL for zone " << zone_);
  } else {
    VRF_TRACE(trace, 5, "Bootstrap timer expires in " << remaining << " seconds");
  }
}

void BootstrapTimer::shorten() {
  if (!timer_.armed()) {
    VRF_TRACE(trace, 5, "BS timer not set. Nothing to be done. ");
    return;
  }
  const double now = bsrSm_.now();
  if (time() <= now + timeout_) return;
  VRF_TRACE(trace, 5,
            "BS timer expiry was in " << time() - now << " seconds from now. Resetting BS timer expiry to " << timeout_
                                      << " seconds from now.");
  arm(Reason::timeout, now + timeout_);
}

void BootstrapTimer::timeoutIs(uint32_t holdTime, uint32_t bsPeriod, const char *lead) {
  if (holdTime > bsPeriod) {
    timeout_ = holdTime;
    return;
  }
  VRF_TRACE(trace, 1,
            lead << holdTime << " secs, which is less than this C-BSR BSM interval of " << bsPeriod
                 << " secs. Overriding this with value ( 2 * BS_Period ) + 10 as recommended by RFC 5059.");
  timeout_ = 2 * bsPeriod + 10;
}

}  // namespace Routing::Pim::Bsr
