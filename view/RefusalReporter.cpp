#include "view/RefusalReporter.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "io/BootstrapMessageSm.h"

namespace Routing::Pim::Bsr {

namespace {

// Advertisements go to the wrong BSR for a moment whenever it is another one.
Severity severityOf(IO::Refusal reason) {
  if (reason == IO::Refusal::notBsr) return Severity::notice;
  return isExpected(reason) ? Severity::info : Severity::warning;
}

// How many packets of a neighbor were refused for a reason.
using Count = std::pair<uint64_t, std::pair<Pax::IpGenAddr, IO::Refusal>>;

// Sorts them; those that come most often are named.
std::string sourcesOf(std::vector<Count> &counts, uint64_t all) {
  constexpr size_t named = 3;
  std::stable_sort(counts.begin(), counts.end(), [](auto &one, auto &other) { return one.first > other.first; });
  std::string text;
  uint64_t rest = all;
  for (size_t i = 0; i < std::min(named, counts.size()); ++i) {
    const auto &[count, by] = counts[i];
    text += sentence(i == 0 ? ": " : ", ", count, " from ", by.first, " (", wordOf(by.second), ")");
    rest -= count;
  }
  if (rest > 0) text += sentence(counts.empty() ? ": " : ", ", rest, " from others");
  return text;
}

bool isOfAdvertisement(IO::Refusal reason) { return reason == IO::Refusal::filter || reason == IO::Refusal::notBsr; }

}  // namespace

bool RefusalReporter::isEcho(const IO::Refused &refused) const {
  // Fragments share the tag of their message, so those that are at fault themselves would look like copies.
  const bool isAtFault = refused.reason == IO::Refusal::contradiction || refused.reason == IO::Refusal::openBytes;
  return refused.isBootstrap && !isAtFault && gate_.knows(refused.bsr, refused.fragmentTag);
}

void RefusalReporter::refused(const IO::Refused &refused) {
  if (isEcho(refused)) return count(refused, true);
  if (!refused.isBootstrap || waiting_.size() >= waitingMost) {
    count(refused, false);
    return tell(refused);
  }
  waiting_.push_back({refused, reporting_.now() + patience});
  if (!judgeTimer_.armed()) judgeTimer_.timeMinIs(waiting_.front().until);
}

void RefusalReporter::judge() {
  const double now = reporting_.now();
  const auto due = std::find_if(waiting_.begin(), waiting_.end(), [&](const Waiting &one) { return one.until > now; });
  for (auto each = waiting_.begin(); each != due; ++each) {
    const bool echo = isEcho(each->refused);
    count(each->refused, echo);
    if (!echo) tell(each->refused);
  }
  waiting_.erase(waiting_.begin(), due);
  if (!waiting_.empty()) judgeTimer_.timeMinIs(waiting_.front().until);
}

void RefusalReporter::count(const IO::Refused &refused, bool isEcho) {
  drops_.add({vrf_, refused.intfId, refused.source, refused.reason, refused.bsr, isEcho}, reporting_.now());
}

void RefusalReporter::tell(const IO::Refused &refused) {
  if (!sumTimer_.armed()) sumTimer_.timeMinIs(reporting_.now() + sumInterval);
  const By by{refused.source, refused.reason};
  if (const auto told = told_.find(by); told != told_.end()) {
    told->second.last = reporting_.now();
    ++told->second.more;
    return;
  }
  if (firsts_ == firstsMost || told_.size() == toldMost) {
    ++others_;
    return;
  }
  ++firsts_;
  told_[by].last = reporting_.now();
  const bool isAdvertisement = isOfAdvertisement(refused.reason);
  Event event{.kind = isAdvertisement ? EventKind::advertisementRefused : EventKind::messageRefused,
              .severity = severityOf(refused.reason),
              .bsr = refused.bsr,
              .interface = refused.intfId,
              .neighbor = refused.source};
  event.cause = wordOf(refused.reason);
  event.text = isAdvertisement       ? sentence("An advertisement from ", refused.source)
               : refused.isBootstrap ? sentence("A message of BSR ", refused.bsr, " from ", refused.source)
                                     : sentence("A packet from ", refused.source);
  if (!refused.intfId.isEmpty()) event.text += sentence(" on ", refused.intfId);
  event.text += sentence(" was refused: ", textOf(refused.reason));
  if (!refused.neighbor.isZero()) event.text += sentence(", ", refused.neighbor);
  if (refused.detail) event.text += sentence(" (", refused.detail, ")");
  reporting_.tell(std::move(event));
}

void RefusalReporter::sumUp() {
  uint64_t more = others_;
  std::vector<Count> counts;
  Event event{.kind = EventKind::messagesRefused, .severity = Severity::info};
  if (others_ > 0) event.severity = Severity::warning;
  for (auto told = told_.begin(); told != told_.end();) {
    auto &[by, each] = *told;
    if (each.more > 0) {
      more += each.more;
      counts.emplace_back(each.more, by);
      event.severity = std::min(event.severity, severityOf(by.second));
      each.more = 0;
    }
    told = each.last + forgotten <= reporting_.now() ? told_.erase(told) : std::next(told);
  }
  firsts_ = 0;
  others_ = 0;
  if (!told_.empty()) sumTimer_.timeMinIs(reporting_.now() + sumInterval);
  if (more == 0) return;
  event.newValue = std::to_string(more);
  event.text = sentence(more, more == 1 ? " more packet was" : " more packets were", " refused in the last minute");
  event.text += sourcesOf(counts, more);
  if (!counts.empty()) {
    event.neighbor = counts.front().second.first;
    event.cause = wordOf(counts.front().second.second);
  }
  reporting_.tell(std::move(event));
}

}  // namespace Routing::Pim::Bsr
