#include "view/LimitReporter.h"

#include <algorithm>

#include "view/LimitTable.h"

namespace Routing::Pim::Bsr {

class LimitReporter::KivCounters : public Kiv::ReactorOf<PimBsrCounters, LimitReporter> {
  using ReactorOf::ReactorOf;
  void onLimitCounters() override { owner_.handleCounters(); }
};

class LimitReporter::KivPimIntf : public Kiv::ReactorOf<PimIntf, LimitReporter> {
 public:
  KivPimIntf(LimitReporter &owner, const Pax::IntfId &intfId, const Kiv::Ptr<const PimIntf> &intf)
      : ReactorOf(owner, intf), intfId_(intfId) {}
  void onHelloRefused() override { owner_.refused({"neighbors", intfId_}, notifier()->neighborsMost()); }

 private:
  const Pax::IntfId intfId_;
};

class LimitReporter::KivPimStatus : public Kiv::ReactorOf<Pim::Status, LimitReporter> {
  using ReactorOf::ReactorOf;
  void onPimIntf(const Pax::IntfId &intfId) override { owner_.handlePimIntf(intfId); }
};

LimitReporter::LimitReporter(Reporting &reporting, const Kiv::Ptr<const Status> &status,
                             const Kiv::Ptr<const Pim::Status> &pimStatus)
    : reporting_(reporting),
      status_(status),
      pimStatus_(pimStatus),
      counters_(status->counters()->limitCounters()),
      timer_(reporting.wheel(), *this),
      kivCounters_(std::make_unique<KivCounters>(*this, status->counters())),
      kivPimStatus_(std::make_unique<KivPimStatus>(*this, pimStatus)) {
  for (const Pax::IntfId &intfId : pimStatus->pimIntf().keys()) handlePimIntf(intfId);
}

LimitReporter::~LimitReporter() = default;

void LimitReporter::handlePimIntf(const Pax::IntfId &intfId) {
  pimIntf_.erase(intfId);
  if (const auto intf = pimStatus_->pimIntf(intfId)) {
    pimIntf_[intfId] = std::make_unique<KivPimIntf>(*this, intfId, intf);
  }
}

// Counters that are cleared refuse nothing.
void LimitReporter::handleCounters() {
  const PimBsrLimitCounters before = std::exchange(counters_, status_->counters()->limitCounters());
  for (const LimitEntry &limit : limitTable) {
    if (counters_.*limit.refused > before.*limit.refused) refused({limit.name, {}}, status_->limits().*limit.most);
  }
}

void LimitReporter::refused(const Limited &limited, uint32_t most) {
  const auto [met, isNew] = met_.try_emplace(limited);
  met->second = reporting_.now();
  if (!isNew) return;
  if (!timer_.armed()) timer_.timeMinIs(reporting_.now() + quiet);
  const auto &[name, intfId] = limited;
  Event event{.kind = EventKind::limitReached, .severity = Severity::warning, .interface = intfId};
  event.newValue = std::to_string(most);
  event.cause = name;
  event.text = sentence("The limit '", name, "' of ", most, " is reached");
  if (!intfId.isEmpty()) event.text += sentence(" on ", intfId);
  event.text += ": what is new beyond it is refused";
  reporting_.tell(std::move(event));
}

void LimitReporter::handleQuiet() {
  const double now = reporting_.now();
  double next = Orb::never;
  for (auto met = met_.begin(); met != met_.end();) {
    const auto &[name, intfId] = met->first;
    if (met->second + quiet > now) {
      next = std::min(next, (met++)->second + quiet);
      continue;
    }
    Event event{.kind = EventKind::limitLeft, .severity = Severity::notice, .interface = intfId};
    event.cause = name;
    event.text = sentence("The limit '", name, "' is met no more");
    if (!intfId.isEmpty()) event.text += sentence(" on ", intfId);
    met = met_.erase(met);
    reporting_.tell(std::move(event));
  }
  timer_.timeMinIs(next);
}

}  // namespace Routing::Pim::Bsr
