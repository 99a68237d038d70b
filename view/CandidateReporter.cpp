#include "view/CandidateReporter.h"

#include <utility>

#include "view/Show.h"

namespace Routing::Pim::Bsr {

class CandidateReporter::KivCandidate : public Kiv::ReactorOf<BsrCandidate, CandidateReporter> {
 public:
  using ReactorOf::ReactorOf;
  void onAddress() override { owner_.changed(); }
  void onIntfId() override { owner_.changed(); }
  void onPriority() override { owner_.changed(); }
};

class CandidateReporter::KivStatus : public Kiv::ReactorOf<Status, CandidateReporter> {
 public:
  using ReactorOf::ReactorOf;
  void onCbsr(const Pax::IpGenPrefix &zone) override {
    owner_.handleCandidate(zone);
    owner_.changed();
  }
  void onCrp(const Pax::IpGenAddr &) override { owner_.changed(); }
};

CandidateReporter::CandidateReporter(Reporting &reporting, const Kiv::Ptr<const Status> &status)
    : reporting_(reporting),
      status_(status),
      timer_(reporting.wheel(), *this),
      kivStatus_(std::make_unique<KivStatus>(*this, status)) {
  for (const Pax::IpGenPrefix &zone : status->cbsr().keys()) handleCandidate(zone);
  changed();
}

CandidateReporter::~CandidateReporter() = default;

void CandidateReporter::handleCandidate(const Pax::IpGenPrefix &zone) {
  candidate_.erase(zone);
  if (const auto candidate = status_->cbsr(zone)) candidate_[zone] = std::make_unique<KivCandidate>(*this, candidate);
}

void CandidateReporter::changed() {
  if (!timer_.armed()) timer_.timeMinIs(reporting_.now() + delay);
}

CandidateReporter::Forces CandidateReporter::forces() const {
  const VrfView view = reporting_.view();
  Forces forces;
  const auto add = [&](const char *role, const Rows &rows) {
    for (const Rows &row : rows) {
      const std::string zone = row.contains("zone") && row["zone"].is_string() ? row["zone"].get<std::string>() : "";
      const std::string reason = row["reason"].is_string() ? row["reason"].get<std::string>() : "";
      forces[{role, row["interface"].get<std::string>(), zone}] = {row["active"].get<bool>(), reason};
    }
  };
  Rows bsrs = Rows::array(), rps = Rows::array();
  if (!view.config) return forces;
  ShowCursor cursor;
  while (showCandidateBsr(view, cursor, bsrs)) {
  }
  showCandidateRp(view, rps);
  add("BSR", bsrs);
  add("RP", rps);
  return forces;
}

void CandidateReporter::compare() {
  const Forces before = std::exchange(known_, forces());
  struct Told {
    Candidate first;
    size_t others = 0;
    bool isNew = true;
  };
  std::map<std::tuple<std::string, std::string, Force>, Told> changes;  // by role, interface and what is in force
  for (const auto &[candidate, force] : known_) {
    const auto known = before.find(candidate);
    if (known != before.end() && known->second == force) continue;
    const auto [at, isFirst] = changes.try_emplace({candidate.role, candidate.interface, force}, Told{candidate});
    if (!isFirst) ++at->second.others;
    if (known != before.end()) at->second.isNew = false;
  }
  for (const auto &[key, told] : changes) tell(told.first, std::get<Force>(key), told.others, told.isNew);
}

void CandidateReporter::tell(const Candidate &first, const Force &force, size_t others, bool isNew) {
  Event event{.kind = force.isIn ? EventKind::candidateInForce : EventKind::candidateNotInForce,
              .severity = !force.isIn ? Severity::warning
                          : isNew     ? Severity::info
                                      : Severity::notice,
              .interface = Pax::IntfId::fromText(first.interface)};
  if (!first.zone.empty()) event.zone = Pax::IpGenPrefix::fromText(first.zone);
  event.newValue = first.role;
  event.cause = force.reason;
  event.text = sentence("Candidate ", first.role, " on ", first.interface);
  if (!first.zone.empty()) event.text += " for zone " + first.zone;
  if (others > 0) event.text += sentence(" and ", others, others == 1 ? " other" : " others");
  event.text += force.isIn ? " is in force" : " is not in force";
  if (!force.reason.empty()) event.text += (force.isIn ? ", but " : ": ") + force.reason;
  reporting_.tell(std::move(event));
}

}  // namespace Routing::Pim::Bsr
