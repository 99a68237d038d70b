#include "view/RpReporter.h"

#include <utility>

#include "platform/orb/Duration.h"

namespace Routing::Pim::Bsr {

RpReporter::Change *RpReporter::note(Fate fate, const RpAt &at) {
  const bool isReplaced = fate == Fate::added && last_.fate == Fate::withdrawn && last_.isAt(at);
  last_ = {fate, at.zone, at.prefix, at.address};
  reporting_.settleSoon();
  if (!sumTimer_.armed()) sumUpIn(first);
  Counts &counts = counts_[at.zone];
  if (isReplaced) {  // in another mode
    --counts[size_t(Fate::withdrawn)];
    last_.fate = fate = Fate::changed;
  }
  ++counts[size_t(fate)];
  if (isReplaced && !changes_.empty() && changes_.back().isAt(at)) {
    changes_.back().fate = fate;
    return &changes_.back();
  }
  last_.isLoud = toldSingly_ < loud;
  notLoud_ += last_.isLoud ? 0 : 1;
  if (toldSingly_ >= single) return nullptr;
  ++toldSingly_;
  const auto bsr = status_->bootstrapRouter(at.zone);
  last_.bsr = bsr ? bsr->ipAddr() : bsrs_.lastTold(at.zone);
  changes_.push_back(last_);
  return &changes_.back();
}

bool RpReporter::isOurs(const Pax::IpGenPrefix &zone) const {
  const auto candidate = status_->cbsr(zone);
  return candidate && candidate->elected();
}

void RpReporter::rpCame(const RpAt &at) {
  const bool isFirst = isOurs(at.zone) && ++collected_[{at.zone, at.address}] == 1;
  Change *change = note(Fate::added, at);
  if (change) change->isFirst = isFirst && change->fate == Fate::added;
}

// A hold time of 0 says that it is about to go.
void RpReporter::rpChanged(const RpAt &at, const Pim::RpCandidate &rp) {
  if (rp.holdTime() == 0 || last_.isAt(at)) return;
  Change *change = note(Fate::changed, at);
  const auto set = change ? published_->crpSet(at.prefix) : nullptr;
  const auto before = set ? set->rp(at.address) : nullptr;
  if (before && before->setupTime() == rp.setupTime()) change->before.emplace(*before);  // else it is another zone's
}

void RpReporter::rpWent(const RpAt &at, const Pim::RpCandidate &rp, bool withSet) {
  const auto collected = collected_.empty() ? collected_.end() : collected_.find({at.zone, at.address});
  if (collected != collected_.end() && --collected->second == 0) collected_.erase(collected);
  const bool isOver = rp.holdTime() != 0 && rp.expires() <= reporting_.now();
  Change *change = note(withSet ? Fate::dropped : isOver ? Fate::expired : Fate::withdrawn, at);
  if (change) change->before.emplace(rp);
  if (!change || !isOver || withSet) return;
  const char *what = isOurs(at.zone) ? "no advertisement of it was accepted for " : "no BSR has listed it for ";
  change->cause = sentence(what, rp.holdTime(), " s");
}

void RpReporter::innermostChanged(const Pax::IpGenPrefix &prefix, const Pax::IpGenPrefix &before,
                                  const Pax::IpGenPrefix &now) {
  const bool goesInward = before.isEmpty() || before.covers(now);
  if (!before.isEmpty() && goesInward && !now.isEmpty()) noteAll(Fate::hidden, before, prefix, now);
  if (!now.isEmpty() && !goesInward) noteAll(Fate::shown, now, prefix, before);
}

void RpReporter::noteAll(Fate fate, const Pax::IpGenPrefix &zone, const Pax::IpGenPrefix &prefix,
                         const Pax::IpGenPrefix &other) {
  const auto set = rpSetOf(*status_, zone, prefix);
  if (!set) return;
  for (const Pax::IpGenAddr &address : set->rp().keys()) {
    Change *change = note(fate, {zone, prefix, address});
    if (change) change->cause = sentence("inner zone ", other, fate == Fate::hidden ? " has a BSR" : " has no BSR");
  }
}

void RpReporter::settle() {
  for (const Change &change : std::exchange(changes_, {})) tell(change);
  last_ = {};
}

void RpReporter::handleSumTime() {
  if (counts_.empty()) {
    toldSingly_ = 0;
    return;
  }
  const auto counts = std::exchange(counts_, {});
  const double seconds = reporting_.now() - countedFrom_;
  sumUpIn(further);
  if (std::exchange(notLoud_, 0) == 0) return;
  Counts others{};
  size_t zones = 0;
  for (const auto &[zone, each] : counts) {
    if (++zones <= zonesMost) {
      tellSum(zone, each, seconds);
    } else {
      for (size_t i = 0; i < each.size(); ++i) others[i] += each[i];
    }
  }
  if (zones > zonesMost) tellSum({}, others, seconds);
}

void RpReporter::sumUpIn(double seconds) {
  countedFrom_ = reporting_.now();
  sumTimer_.timeMinIs(countedFrom_ + seconds);
}

std::string RpReporter::causeOf(const Change &change) const {
  if (!change.cause.empty()) return change.cause;
  switch (change.fate) {
    case Fate::added: return isOurs(change.zone) ? "it advertised itself" : "the BSR lists it";
    case Fate::withdrawn: return whyWithdrawn(change);
    case Fate::dropped: return whyDropped(change);
    default: return "";
  }
}

// A BSR gives up what an inner zone with a BSR collects.
std::string RpReporter::whyWithdrawn(const Change &change) const {
  if (!isOurs(change.zone)) return "the BSR withdrew it";
  const Pax::IpGenPrefix inner = innerZoneOf(change);
  return inner.isEmpty() ? "it withdrew itself" : sentence("inner zone ", inner, " has a BSR");
}

Pax::IpGenPrefix RpReporter::innerZoneOf(const Change &change) const {
  for (uint8_t length = change.prefix.length(); length > change.zone.length(); --length) {
    const Pax::IpGenPrefix inner(change.prefix.address(), length);
    if (status_->bootstrapRouter(inner)) return inner;
  }
  return {};
}

// Of a BSR that times out the RPs stay until their own time is over.
std::string RpReporter::whyDropped(const Change &change) const {
  const auto bsr = status_->bootstrapRouter(change.zone);
  return bsr ? sentence("BSR ", bsr->ipAddr(), " took over") : "this router is the BSR no more";
}

std::string RpReporter::inWords(const Change &change, const std::optional<RpOptions> &now) {
  static constexpr std::array<const char *, size_t(Fate::count)> verbs{
      "was added", "changed", "was withdrawn", "expired", "was dropped with its BSR", "is hidden", "comes into use"};
  if (change.fate == Fate::changed && now && change.before) return changeInWords(*now, *change.before);
  std::string text = verbs[size_t(change.fate)];
  if (change.fate == Fate::dropped) text += sentence(", ", change.bsr);
  if (now) text += " (" + textOf(*now) + ")";
  return text;
}

void RpReporter::tell(const Change &change) {
  static constexpr std::array<EventKind, size_t(Fate::count)> kinds{
      EventKind::rpAdded,   EventKind::rpChanged, EventKind::rpWithdrawn, EventKind::rpExpired,
      EventKind::rpDropped, EventKind::rpHidden,  EventKind::rpShown};
  const auto set = rpSetOf(*status_, change.zone, change.prefix);
  const auto rp = set ? set->rp(change.rp) : nullptr;
  Event event{.kind = kinds[size_t(change.fate)],
              .severity = change.isLoud ? Severity::notice : Severity::info,
              .zone = change.zone,
              .group = change.prefix,
              .rp = change.rp,
              .bsr = change.bsr};
  if (change.isFirst) {
    Event first = event;
    first.kind = EventKind::advertisementAccepted;
    first.severity = Severity::info;
    first.text = sentence("The first advertisement of candidate RP ", change.rp, " was accepted in zone ", change.zone);
    reporting_.tell(std::move(first));
  }
  std::optional<RpOptions> now;
  if (rp && change.fate <= Fate::changed) now.emplace(*rp);
  if (change.fate == Fate::changed && now && change.before && changeInWords(*now, *change.before).empty()) return;
  if (now) event.newValue = textOf(*now);
  if (change.before) event.oldValue = textOf(*change.before);
  event.cause = causeOf(change);
  event.text = sentence("RP ", change.rp, " of ", change.prefix, " in zone ", change.zone, ' ', inWords(change, now));
  if (!event.cause.empty()) event.text += ": " + event.cause;
  if (change.fate == Fate::added) {
    const Pax::IpGenPrefix inner = innerZoneOf(change);
    if (!inner.isEmpty()) event.text += sentence("; it is hidden by inner zone ", inner);
  }
  reporting_.tell(std::move(event));
}

void RpReporter::tellSum(const Pax::IpGenPrefix &zone, const Counts &counts, double seconds) {
  static constexpr std::array<const char *, size_t(Fate::count)> words{
      "added", "changed", "withdrawn", "expired", "dropped with their BSR", "hidden", "came into use"};
  Event event{.kind = EventKind::rpSetChanged, .severity = Severity::notice, .zone = zone};
  for (size_t i = 0; i < counts.size(); ++i) {
    if (counts[i] > 0) event.newValue += sentence(event.newValue.empty() ? "" : ", ", counts[i], ' ', words[i]);
  }
  event.text = sentence("RPs of ", zone.isEmpty() ? std::string("other zones") : sentence("zone ", zone),
                        ", in all in the last ", Orb::durationText(seconds), ": ", event.newValue);
  reporting_.tell(std::move(event));
}

}  // namespace Routing::Pim::Bsr
