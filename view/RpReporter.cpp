#include "view/RpReporter.h"

#include <utility>

namespace Routing::Pim::Bsr {

RpReporter::Change *RpReporter::note(Fate fate, const RpAt &at) {
  const bool isReplaced = fate == Fate::added && last_.fate == Fate::withdrawn && last_.isAt(at);
  last_ = {fate, at.zone, at.prefix, at.address};
  reporting_.settleSoon();
  if (!sumTimer_.armed()) sumTimer_.timeMinIs(reporting_.now() + first);
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
  changes_.push_back(last_);
  return &changes_.back();
}

bool RpReporter::isOurs(const Pax::IpGenPrefix &zone) const {
  const auto candidate = status_->cbsr(zone);
  return candidate && candidate->elected();
}

void RpReporter::rpCame(const RpAt &at) {
  const bool isFirst = isOurs(at.zone) && ++collected_[{at.zone, at.address}] == 1;
  if (Change *change = note(Fate::added, at)) change->isFirst = isFirst;
}

// A hold time of 0 says that it is about to go.
void RpReporter::rpChanged(const RpAt &at, const Pim::RpCandidate &rp) {
  if (rp.holdTime() == 0 || last_.isAt(at)) return;
  Change *change = note(Fate::changed, at);
  const auto set = change ? published_->crpSet(at.prefix) : nullptr;
  if (const auto before = set ? set->rp(at.address) : nullptr) change->before = optionsOf(*before);
}

void RpReporter::rpWent(const RpAt &at, const Pim::RpCandidate &rp, bool withSet) {
  const auto collected = collected_.empty() ? collected_.end() : collected_.find({at.zone, at.address});
  if (collected != collected_.end() && --collected->second == 0) collected_.erase(collected);
  const bool isOver = rp.holdTime() != 0 && rp.expires() <= reporting_.now();
  Change *change = note(withSet ? Fate::dropped : isOver ? Fate::expired : Fate::withdrawn, at);
  if (change && isOver && !withSet) change->cause = sentence("nothing was heard of it for ", rp.holdTime(), " s");
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
  sumTimer_.timeMinIs(reporting_.now() + further);
  if (std::exchange(notLoud_, 0) == 0) return;
  Counts others{};
  size_t zones = 0;
  for (const auto &[zone, each] : counts) {
    if (++zones <= zonesMost) {
      tellSum(zone, each);
    } else {
      for (size_t i = 0; i < each.size(); ++i) others[i] += each[i];
    }
  }
  if (zones > zonesMost) tellSum({}, others);
}

std::string RpReporter::optionsOf(const Pim::RpCandidate &rp) {
  return sentence(rp.pimMode(), " priority ", rp.priority(), " holdTime ", rp.holdTime(), " hashMaskLen ",
                  rp.hashMaskLen());
}

std::string RpReporter::causeOf(const Change &change) const {
  if (!change.cause.empty()) return change.cause;
  switch (change.fate) {
    case Fate::added: return isOurs(change.zone) ? "it advertised itself" : "the BSR lists it";
    case Fate::withdrawn: return whyWithdrawn(change);
    case Fate::dropped: return "the zone's BSR is another or gone";
    default: return "";
  }
}

// A BSR gives up what an inner zone with a BSR collects.
std::string RpReporter::whyWithdrawn(const Change &change) const {
  if (!isOurs(change.zone)) return "the BSR withdrew it";
  for (uint8_t length = change.prefix.length(); length > change.zone.length(); --length) {
    const Pax::IpGenPrefix inner(change.prefix.address(), length);
    if (status_->bootstrapRouter(inner)) return sentence("inner zone ", inner, " has a BSR");
  }
  return "it took itself back";
}

void RpReporter::tell(const Change &change) {
  struct Words {
    EventKind kind;
    const char *verb;
  };
  static constexpr std::array<Words, size_t(Fate::count)> words{{{EventKind::rpAdded, "was added"},
                                                                 {EventKind::rpChanged, "changed"},
                                                                 {EventKind::rpWithdrawn, "was withdrawn"},
                                                                 {EventKind::rpExpired, "expired"},
                                                                 {EventKind::rpDropped, "was dropped with its BSR"},
                                                                 {EventKind::rpHidden, "is hidden"},
                                                                 {EventKind::rpShown, "is shown again"}}};
  const auto bsr = status_->bootstrapRouter(change.zone);
  const auto set = rpSetOf(*status_, change.zone, change.prefix);
  const auto rp = set ? set->rp(change.rp) : nullptr;
  Event event{.kind = words[size_t(change.fate)].kind,
              .severity = change.isLoud ? Severity::notice : Severity::info,
              .zone = change.zone,
              .group = change.prefix,
              .rp = change.rp,
              .bsr = bsr ? bsr->ipAddr() : Pax::IpGenAddr()};
  if (change.isFirst) {
    Event first = event;
    first.kind = EventKind::advertisementAccepted;
    first.severity = Severity::info;
    first.text = sentence("The first advertisement of candidate RP ", change.rp, " was accepted in zone ", change.zone);
    reporting_.tell(std::move(first));
  }
  event.oldValue = change.before;
  if (rp && change.fate <= Fate::changed) event.newValue = optionsOf(*rp);
  event.cause = causeOf(change);
  event.text =
      sentence("RP ", change.rp, " of ", change.prefix, " in zone ", change.zone, ' ', words[size_t(change.fate)].verb);
  if (!event.newValue.empty()) event.text += " (" + event.newValue + ")";
  if (!event.oldValue.empty()) event.text += ", which was (" + event.oldValue + ")";
  if (!event.cause.empty()) event.text += ": " + event.cause;
  reporting_.tell(std::move(event));
}

void RpReporter::tellSum(const Pax::IpGenPrefix &zone, const Counts &counts) {
  static constexpr std::array<const char *, size_t(Fate::count)> words{
      "added", "changed", "withdrawn", "expired", "dropped with their BSR", "hidden", "shown again"};
  Event event{.kind = EventKind::rpSetChanged, .severity = Severity::notice, .zone = zone};
  for (size_t i = 0; i < counts.size(); ++i) {
    if (counts[i] > 0) event.newValue += sentence(event.newValue.empty() ? "" : ", ", counts[i], ' ', words[i]);
  }
  event.text =
      sentence("RPs of ", zone.isEmpty() ? std::string("other zones") : sentence("zone ", zone), ": ", event.newValue);
  reporting_.tell(std::move(event));
}

}  // namespace Routing::Pim::Bsr
