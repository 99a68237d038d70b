#include "view/RefusalReporter.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "io/BootstrapMessageSm.h"
#include "view/Rpf.h"

namespace Routing::Pim::Bsr {

namespace {

// Advertisements go to the wrong BSR for a moment whenever it is another one.
Severity severityOf(IO::Refusal reason) {
  if (reason == IO::Refusal::notBsr) return Severity::notice;
  return isExpected(reason) ? Severity::info : Severity::warning;
}

// How many packets of a neighbor were refused for a reason.
struct Count {
  uint64_t count;
  Pax::IpGenAddr neighbor;
  Pax::IntfId intfId;
  IO::Refusal reason;
};

// Sorts them; those that come most often are named.
std::string sourcesOf(std::vector<Count> &counts, uint64_t all) {
  constexpr size_t named = 3;
  std::stable_sort(counts.begin(), counts.end(), [](auto &one, auto &other) { return one.count > other.count; });
  std::string text;
  uint64_t rest = all;
  for (size_t i = 0; i < std::min(named, counts.size()); ++i) {
    const Count &each = counts[i];
    text += sentence(i == 0 ? ": " : ", ", each.count, " from ");
    text += each.neighbor.isZero() ? sentence("strangers on ", each.intfId) : Kiv::toText(each.neighbor);
    text += sentence(" (", wordOf(each.reason), ")");
    rest -= each.count;
  }
  if (rest > 0) text += sentence(counts.empty() ? ": " : ", ", rest, " from others");
  return text;
}

}  // namespace

bool RefusalReporter::isEcho(const IO::Refused &refused) const {
  // Fragments share the tag of their message, so those that are at fault themselves would look like copies.
  const bool isAtFault = refused.reason == IO::Refusal::contradiction || refused.reason == IO::Refusal::openBytes;
  return refused.isBootstrap && !isAtFault && gate_.knows(refused.bsr, refused.fragmentTag);
}

bool RefusalReporter::isFromNeighbor(const IO::Refused &refused) const {
  const auto pimIntf = pimStatus_->pimIntf(refused.intfId);
  return pimIntf && pimIntf->neighbor(refused.source);
}

bool RefusalReporter::isFromStranger(const IO::Refused &refused) const {
  return !isOfAdvertisement(refused.reason) && !isFromNeighbor(refused);
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
  Drops::Key key{.vrf = vrf_, .intfId = refused.intfId, .reason = refused.reason, .isEcho = isEcho};
  if (!isFromStranger(refused)) {
    key.neighbor = refused.source;
    key.bsr = refused.bsr;
  }
  drops_.add(key, reporting_.now());
}

void RefusalReporter::tell(const IO::Refused &refused) {
  if (!sumTimer_.armed()) sumTimer_.timeMinIs(reporting_.now() + sumInterval);
  const By by =
      isFromStranger(refused) ? By({}, refused.intfId, refused.reason) : By(refused.source, {}, refused.reason);
  if (const auto told = told_.find(by); told != told_.end()) {
    told->second.last = reporting_.now();
    ++told->second.more;
    return;
  }
  const bool byNeighbor = isFromNeighbor(refused);
  size_t &firsts = byNeighbor ? firstsOfNeighbors_ : firstsOfOthers_;
  if (firsts == firstsMost || told_.size() >= (byNeighbor ? toldMost : toldMost / 2)) {
    ++others_;
    return;
  }
  ++firsts;
  told_[by].last = reporting_.now();
  tellFirst(refused);
}

void RefusalReporter::tellFirst(const IO::Refused &refused) {
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
  if (isFromStranger(refused)) event.text += ", which is no PIM neighbor,";
  if (!refused.intfId.isEmpty()) event.text += sentence(" on ", refused.intfId);
  event.text += sentence(" was refused: ", textOf(refused.reason));
  if (!refused.neighbor.isZero()) event.text += sentence(", ", refused.neighbor);
  if (refused.reason == IO::Refusal::noRoute) {
    const std::string why = whyNoRpf(reporting_.view(), refused.bsr);
    if (!why.empty()) event.text += ": " + why;
  }
  if (refused.detail) event.text += sentence(" (", refused.detail, ")");
  reporting_.tell(std::move(event));
}

void RefusalReporter::sumUp() {
  uint64_t more = others_;
  std::vector<Count> counts;
  Event event{.kind = EventKind::messagesRefused, .severity = Severity::info};
  if (others_ > 0) event.severity = Severity::warning;
  for (auto next = told_.begin(); next != told_.end();) {
    const auto told = next++;
    auto &[by, each] = *told;
    const auto &[neighbor, intfId, reason] = by;
    if (each.more > 0) {
      more += each.more;
      counts.push_back({each.more, neighbor, intfId, reason});
      event.severity = std::min(event.severity, severityOf(reason));
      each.more = 0;
    }
    if (each.last + forgotten <= reporting_.now()) told_.erase(told);
  }
  firstsOfNeighbors_ = firstsOfOthers_ = 0;
  others_ = 0;
  if (!told_.empty()) sumTimer_.timeMinIs(reporting_.now() + sumInterval);
  if (more == 0) return;
  event.newValue = std::to_string(more);
  event.text = sentence(more, more == 1 ? " more packet was" : " more packets were", " refused in the last minute");
  event.text += sourcesOf(counts, more);
  if (!counts.empty()) {
    event.neighbor = counts.front().neighbor;
    event.interface = counts.front().intfId;
    event.cause = wordOf(counts.front().reason);
  }
  reporting_.tell(std::move(event));
}

}  // namespace Routing::Pim::Bsr
