#include "view/Event.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <stdexcept>

#include "view/Json.h"

namespace Routing::Pim::Bsr {

namespace {

constexpr std::array severities{"emergency", "alert", "critical", "error", "warning", "notice", "info", "debug"};

constexpr std::array kinds{
    "agentStarted",
    "agentStopping",
    "roleChanged",
    "stageComplete",
    "configurationLoaded",
    "configurationRefused",
    "stateSaveFailed",
    "stateSaved",
    "metricsFailed",
    "metricsServed",
    "vrfRuns",
    "vrfWaits",
    "interfaceUp",
    "interfaceDown",
    "interfaceMissing",
    "interfaceChanged",
    "neighborCame",
    "neighborLeft",
    "neighborRestarted",
    "neighborChanged",
    "drChanged",
    "zoneAppeared",
    "zoneForgotten",
    "bsrLearned",
    "bsrElected",
    "bsrTakenOver",
    "bsrReplaced",
    "bsrChanged",
    "bsrLost",
    "bsrTimedOut",
    "rpAdded",
    "rpChanged",
    "rpWithdrawn",
    "rpExpired",
    "rpDropped",
    "rpHidden",
    "rpShown",
    "rpSetChanged",
    "candidateInForce",
    "candidateNotInForce",
    "advertisementAccepted",
    "advertisementRefused",
    "messageRefused",
    "messagesRefused",
    "limitReached",
    "limitLeft",
    "eventsSkipped",
};
static_assert(kinds.size() == static_cast<size_t>(EventKind::eventsSkipped) + 1);

// The place of the word among all.
size_t placeOf(std::span<const char *const> words, std::string_view word, const char *what) {
  const auto found = std::find(words.begin(), words.end(), word);
  if (found != words.end()) return static_cast<size_t>(found - words.begin());
  std::string all;
  for (const char *each : words) all.append(all.empty() ? "" : ", ").append(each);
  throw std::invalid_argument("there is no " + std::string(what) + " '" + std::string(word) + "'; they are: " + all);
}

template <class Type>
void addIf(bool applies, Rows &row, const char *name, const Type &value) {
  if (applies) row[name] = toJson(value);
}

}  // namespace

std::ostream &operator<<(std::ostream &out, Severity severity) {
  return out << severities[static_cast<size_t>(severity)];
}

Severity severityFrom(std::string_view word) { return static_cast<Severity>(placeOf(severities, word, "severity")); }

std::span<const char *const> eventKindWords() { return kinds; }

std::ostream &operator<<(std::ostream &out, EventKind kind) { return out << kinds[static_cast<size_t>(kind)]; }

EventKind eventKindFrom(std::string_view word) {
  return static_cast<EventKind>(placeOf(kinds, word, "kind of events"));
}

Rows rowOf(const Event &event) {
  Rows row{{"seq", event.seq}, {"time", utcText(event.time)}, {"severity", toJson(event.severity)}};
  addIf(!event.vrf.empty(), row, "vrf", event.vrf);
  row["kind"] = toJson(event.kind);
  addIf(!event.zone.isEmpty(), row, "zone", event.zone);
  addIf(!event.group.isEmpty(), row, "group", event.group);
  addIf(!event.rp.isZero(), row, "rp", event.rp);
  addIf(!event.bsr.isZero(), row, "bsr", event.bsr);
  addIf(!event.interface.isEmpty(), row, "interface", event.interface);
  addIf(!event.neighbor.isZero(), row, "neighbor", event.neighbor);
  addIf(!event.oldValue.empty(), row, "old", event.oldValue);
  addIf(!event.newValue.empty(), row, "new", event.newValue);
  addIf(!event.cause.empty(), row, "cause", event.cause);
  row["text"] = event.text;
  return row;
}

std::string utcText(double time) {
  using namespace std::chrono;
  const sys_time<milliseconds> at{milliseconds(std::llround(time * 1000))};
  const auto day = floor<days>(at);
  const year_month_day date(day);
  const hh_mm_ss clock(at - day);
  char text[64];
  std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02d.%03dZ", int(date.year()), unsigned(date.month()),
                unsigned(date.day()), int(clock.hours().count()), int(clock.minutes().count()),
                int(clock.seconds().count()), int(clock.subseconds().count()));
  return text;
}

double timeFrom(std::string_view text) {
  using namespace std::chrono;
  const std::string whole(text);
  int year = 0, month = 0, day = 0, hour = 0, minute = 0, read = 0, hours = 0, minutes = 0;
  double second = 0;
  char letter = 0, zone = 0;
  const int fields = std::sscanf(whole.c_str(), "%4d-%2d-%2d%c%2d:%2d:%lf%n%c", &year, &month, &day, &letter, &hour,
                                 &minute, &second, &read, &zone);
  const bool isUtc = (zone == 'Z' || zone == 'z') && static_cast<size_t>(read) + 1 == whole.size();
  const bool hasOffset = (zone == '+' || zone == '-') && whole.size() == static_cast<size_t>(read) + 6 &&
                         std::sscanf(whole.c_str() + read + 1, "%2d:%2d", &hours, &minutes) == 2;
  const year_month_day date{std::chrono::year(year), std::chrono::month(month), std::chrono::day(day)};
  if (fields != 8 || (!isUtc && !hasOffset) || !date.ok() || !std::isfinite(second)) {
    throw std::invalid_argument("'" + whole + "' is no time, as in 2024-05-01T12:34:56Z");
  }
  const double offset = (zone == '-' ? -60.0 : 60.0) * (hours * 60 + minutes);
  return double(duration_cast<seconds>(sys_days(date).time_since_epoch()).count()) + hour * 3600 + minute * 60 +
         second - offset;
}

}  // namespace Routing::Pim::Bsr
