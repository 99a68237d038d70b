/// What operators are told: one record and one sentence for each thing that happens.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <nlohmann/json_fwd.hpp>
#include <span>
#include <string>
#include <string_view>

#include "platform/pax/IntfId.h"
#include "platform/pax/IpGenPrefix.h"
#include "platform/pax/Ranged.h"

namespace Routing::Pim::Bsr {

/// The numbers and words of syslog (RFC 5424 section 6.2.1): the lower, the worse.
enum class Severity : uint8_t { emergency, alert, critical, error, warning, notice, info, debug };
std::ostream &operator<<(std::ostream &out, Severity severity);
/// From its word. Throws std::invalid_argument naming all of them.
Severity severityFrom(std::string_view word);

enum class EventKind : uint8_t {
  // The process.
  agentStarted,
  agentStopping,
  roleChanged,
  stageComplete,
  configurationLoaded,
  configurationRefused,
  stateSaveFailed,
  stateSaved,
  metricsFailed,  ///< they cannot be served where the configuration says
  metricsServed,  ///< now they are
  // A VRF and its links.
  vrfRuns,
  vrfWaits,
  interfaceUp,
  interfaceDown,
  interfaceMissing,
  interfaceChanged,  ///< the address or the MTU of PIM there
  neighborCame,
  neighborLeft,
  neighborRestarted,
  neighborChanged,  ///< its DR priority or its other addresses
  drChanged,
  // The BSR of a zone.
  zoneAppeared,
  zoneForgotten,
  bsrLearned,    ///< the zone has one again, or the first
  bsrElected,    ///< it is this router
  bsrTakenOver,  ///< another router took over from this one
  bsrReplaced,   ///< another router took over from another one
  bsrChanged,    ///< the same router has another weight
  bsrLost,       ///< there is none any more
  bsrTimedOut,   ///< there is none any more, for it was silent
  // Its RPs.
  rpAdded,
  rpChanged,
  rpWithdrawn,
  rpExpired,
  rpDropped,  ///< with its BSR
  rpHidden,   ///< its range has come to lie in an inner zone
  rpShown,
  rpSetChanged,  ///< by more RPs than are told one by one
  // What this router offers and collects.
  candidateInForce,
  candidateNotInForce,
  advertisementAccepted,
  advertisementRefused,
  // What was not taken.
  messageRefused,
  messagesRefused,  ///< more of them in the last minute
  limitReached,
  limitLeft,
  eventsSkipped,  ///< so many of one kind that they are only counted
};
/// The words of all kinds, "bsrElected", in their order.
std::span<const char *const> eventKindWords();
std::ostream &operator<<(std::ostream &out, EventKind kind);
/// From its word. Throws std::invalid_argument.
EventKind eventKindFrom(std::string_view word);

/// What does not apply is as it is made: empty, unset, zero.
struct Event {
  EventKind kind{};
  Severity severity = Severity::notice;
  L3::VrfName vrf{};
  Pax::IpGenPrefix zone{};
  Pax::IpGenPrefix group{};
  Pax::IpGenAddr rp{};
  Pax::IpGenAddr bsr{};
  Pax::IntfId interface {};
  Pax::IpGenAddr neighbor{};
  std::string oldValue{};
  std::string newValue{};
  std::string cause{};
  std::string text{};  ///< the whole in one sentence
  uint64_t seq = 0;    ///< from 1; the log sets it
  double time = 0;     ///< seconds since 1970; the log sets it
};

/// A row of "show events": {seq, time, severity, vrf, kind, what applies of the others, text}.
nlohmann::ordered_json rowOf(const Event &event);

/// "2024-05-01T12:34:56.789Z"
std::string utcText(double time);
/// Seconds since 1970, from "2024-05-01T12:34:56Z" with or without a fraction, and with Z or an offset. Throws
/// std::invalid_argument.
double timeFrom(std::string_view text);

}  // namespace Routing::Pim::Bsr
