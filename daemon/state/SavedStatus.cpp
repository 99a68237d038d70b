#include "daemon/state/SavedStatus.h"

#include <algorithm>
#include <limits>

#include "view/EntityJson.h"

namespace Routing::Pim::Bsr {

namespace {

using nlohmann::json;

void expect(bool good, const std::string &what) {
  if (!good) throw Kiv::RangeError(what + " is out of range");
}

Kiv::Value toValue(const json &json) {
  if (json.is_boolean()) return json.get<bool>();
  if (json.is_number_unsigned()) return json.get<uint64_t>();
  if (json.is_number_float()) return json.get<double>();
  return json.get<std::string>();
}

void readAttributes(const json &json, Kiv::Entity &entity) {
  for (const auto &[name, value] : membersOf(json)) {
    if (!entity.attributeIs(name, toValue(value))) throw Kiv::RangeError("no attribute " + name);
  }
}

class Reader {
 public:
  Reader(const SavedRange &range, Status &status, RpCandidateStatus &published)
      : range_(range), status_(status), published_(published) {}

  void read(const json &json) {
    for (const auto &[zone, saved] : membersOf(json.at("cbsr"))) readCandidate(saved, *status_.cbsrIs(groups(zone)));
    for (const auto &[zone, saved] : membersOf(json.at("bootstrapRouter"))) {
      readBsr(saved, *status_.bootstrapRouterIs(groups(zone)));
    }
    for (const auto &[zone, saved] : membersOf(json.at("crpStatus"))) {
      readSets(saved, *status_.crpStatusIs(groups(zone))->statusIs(""));
    }
    readSets(json.at("published"), published_);
  }

 private:
  Pax::IpGenPrefix groups(const std::string &text) const {
    const auto prefix = Pax::IpGenPrefix::fromText(text);
    expect(Pax::allGroups(range_.af).covers(prefix), text);
    return prefix;
  }
  void expectUnicast(const Pax::IpGenAddr &address) const {
    expect(address.af() == range_.af && !address.isZero() && !address.isMulticast(), Kiv::toText(address));
  }
  void expectTimes(double setup, double expiry, double longest) const {
    expect(setup >= 0 && setup <= range_.now, "setupTime");
    expect(expiry > 0 && expiry <= range_.now + longest, "expiry");
  }

  void readCandidate(const json &json, BsrCandidate &candidate) const {
    readAttributes(json, candidate);
    expectUnicast(candidate.address());
    expect(candidate.priority() <= 255, "priority");
    expect(candidate.hashMaskLen() <= Pax::addressBits(range_.af), "hashMaskLen");
    expect(candidate.elected(), "elected");
  }
  void readBsr(const json &json, ElectedBsrStatus &bsr) const {
    readAttributes(json, bsr);
    expectUnicast(bsr.ipAddr());
    expect(bsr.priority() <= 255, "priority");
    expect(bsr.hashMaskLen() <= 255, "hashMaskLen");  // any that a message can tell
    expectTimes(bsr.setupTime(), bsr.expiryTime(), UINT32_MAX);
  }
  void readSets(const json &json, RpCandidateStatus &sets) const {
    sets.rpSetTypeIs(rpSetTypeBsr);
    for (const auto &[prefix, set] : membersOf(json)) readSet(set, *sets.crpSetIs(groups(prefix)));
  }
  void readSet(const json &json, RpCandidateSet &set) const {
    for (const auto &[address, saved] : membersOf(json)) {
      const auto rp = Pax::IpGenAddr::fromText(address);
      expectUnicast(rp);
      readRp(saved, *set.rpIs(rp));
    }
  }
  void readRp(const json &json, Pim::RpCandidate &rp) const {
    readAttributes(json, rp);
    expect(rp.priority() <= 255, "priority");
    expectTimes(rp.setupTime(), rp.expires(), UINT16_MAX);
  }

  const SavedRange range_;
  Status &status_;
  RpCandidateStatus &published_;
};

json candidateJson(const BsrCandidate &candidate) {
  json saved = toJson(candidate);
  saved.erase("state");  // its machine starts as the elected one
  return saved;
}

}  // namespace

CopiedStatus::CopiedStatus() {
  for (const char *part : {"cbsr", "bootstrapRouter", "crpStatus", "published"}) elections_[part] = json::object();
}

void CopiedStatus::candidateIs(const Pax::IpGenPrefix &zone, const BsrCandidate &candidate) {
  elections_["cbsr"][Kiv::toText(zone)] = candidateJson(candidate);
}

void CopiedStatus::bsrIs(const Pax::IpGenPrefix &zone, const ElectedBsrStatus &bsr) {
  elections_["bootstrapRouter"][Kiv::toText(zone)] = toJson(bsr);
}

void CopiedStatus::learnedIn(const Pax::IpGenPrefix &zone) {
  elections_["crpStatus"][Kiv::toText(zone)] = json::object();
}

void CopiedStatus::learnedIs(const Pax::IpGenPrefix &zone, const Pax::IpGenPrefix &range, const RpCandidateSet &set) {
  rangeIs(zone, range, set);
}

void CopiedStatus::publishedIs(const Pax::IpGenPrefix &range, const RpCandidateSet &set) { rangeIs({}, range, set); }

void CopiedStatus::rangeIs(const Pax::IpGenPrefix &zone, const Pax::IpGenPrefix &range, const RpCandidateSet &set) {
  Range &copy = ranges_.emplace_back(Range{zone, range, {}});
  copy.rps.reserve(set.rp().size());
  for (const auto &[address, rp] : set.rp()) {
    copy.rps.push_back(
        {address, rp->pimMode(), rp->priority(), rp->holdTime(), rp->hashMaskLen(), rp->setupTime(), rp->expires()});
  }
}

json CopiedStatus::json() const {
  auto all = elections_;
  for (const Range &copy : ranges_) {
    auto &ranges = copy.zone.isEmpty() ? all["published"] : all["crpStatus"][Kiv::toText(copy.zone)];
    ranges[Kiv::toText(copy.range)] = rpsJson(copy.rps);
  }
  return all;
}

// With the names and values that its description gives an RpCandidate.
json CopiedStatus::rpsJson(const std::vector<Rp> &rps) {
  auto all = json::object();
  const auto value = [](const auto &of) {
    return std::visit([](const auto &general) { return nlohmann::json(general); }, Kiv::toValue(of));
  };
  for (const Rp &rp : rps) {
    all[Kiv::toText(rp.address)] = {{"pimMode", value(rp.mode)},      {"priority", value(rp.priority)},
                                    {"holdTime", value(rp.holdTime)}, {"hashMaskLen", value(rp.hashMaskLen)},
                                    {"setupTime", rp.setupTime},      {"expires", rp.expires}};
  }
  return all;
}

SavedVrf::SavedVrf(const Kiv::Ptr<const Status> &status, const Kiv::Ptr<const RpCandidateStatus> &published)
    : status_(status), published_(published) {
  for (const auto &[zone, candidate] : status->cbsr()) {
    if (candidate->elected()) parts_.push_back({Part::candidate, {}, zone});
  }
  for (const auto &[zone, elected] : status->bootstrapRouter()) parts_.push_back({Part::bsr, {}, zone});
  for (const auto &[zone, learned] : status->crpStatus()) {
    if (!learned->status()) continue;
    copy_.learnedIn(zone);
    for (const auto &[range, set] : learned->status()->crpSet()) parts_.push_back({Part::learned, range, zone});
  }
  if (published) {
    for (const auto &[range, set] : published->crpSet()) parts_.push_back({Part::published, range, {}});
  }
  // The parts of one range are beside one another, the elections before all ranges.
  std::sort(parts_.begin(), parts_.end(), [](const Part &one, const Part &other) { return one.range < other.range; });
}

bool SavedVrf::take(size_t most) {
  size_t taken = 0;
  while (next_ < parts_.size()) {
    const Part &part = parts_[next_];
    if (taken >= most && (part.range.isEmpty() || part.range != parts_[next_ - 1].range)) return false;
    ++next_;
    taken += take(part);
  }
  return true;
}

size_t SavedVrf::take(const Part &part) {
  Kiv::Ptr<const RpCandidateSet> set;
  switch (part.kind) {
    case Part::candidate:
      if (const auto candidate = status_->cbsr(part.zone); candidate && candidate->elected()) {
        copy_.candidateIs(part.zone, *candidate);
      }
      return 1;
    case Part::bsr:
      if (const auto bsr = status_->bootstrapRouter(part.zone)) copy_.bsrIs(part.zone, *bsr);
      return 1;
    case Part::learned:
      set = rpSetOf(*status_, part.zone, part.range);
      if (set) copy_.learnedIs(part.zone, part.range, *set);
      break;
    case Part::published:
      set = published_->crpSet(part.range);
      if (set) copy_.publishedIs(part.range, *set);
      break;
  }
  return set ? set->rp().size() : 1;
}

CopiedStatus SavedVrf::copied() {
  take(std::numeric_limits<size_t>::max());
  return std::move(copy_);
}

const json::object_t &membersOf(const json &json) {
  if (!json.is_object()) throw Kiv::RangeError("an object is missing");
  return json.get_ref<const json::object_t &>();
}

void readStatus(const json &json, const SavedRange &range, Status &status, RpCandidateStatus &published) {
  Reader(range, status, published).read(json);
}

}  // namespace Routing::Pim::Bsr
