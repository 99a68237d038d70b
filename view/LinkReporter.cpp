#include "view/LinkReporter.h"

#include <utility>

#include "view/Reasons.h"

namespace Routing::Pim::Bsr {

class LinkReporter::KivNeighbor : public Kiv::ReactorOf<PimNeighbor, KivPimIntf> {
 public:
  using ReactorOf::ReactorOf;
  void onGenerationId() override;
  void onHasGenerationId() override { onGenerationId(); }

  const PimNeighbor &neighbor() const { return *notifier(); }
  bool hasRestarted = false;
};

// Neighbors that are gone stay until they are told of.
class LinkReporter::KivPimIntf : public Kiv::ReactorOf<PimIntf, LinkReporter> {
 public:
  KivPimIntf(LinkReporter &owner, const Pax::IntfId &intfId, const Kiv::Ptr<const PimIntf> &intf)
      : ReactorOf(owner, intf), intfId_(intfId) {
    for (const Pax::IpGenAddr &address : intf->neighbor().keys()) neighborIs(address);
  }
  void onDr() override { owner_.changed(intfId_); }
  void onNeighbor(const Pax::IpGenAddr &address) override {
    if (notifier()->neighbor(address)) {
      neighborIs(address);
    } else if (const auto gone = neighbor_.extract(address)) {
      gone_[address] = Kiv::Ptr<const PimNeighbor>(gone.mapped()->notifier());
    }
    owner_.changed(intfId_);
  }
  void restarted() { owner_.changed(intfId_); }

  // Of this interface since it was asked last.
  std::map<Pax::IpGenAddr, Kiv::Ptr<const PimNeighbor>> takeGone() { return std::exchange(gone_, {}); }
  bool takeRestarted(const Pax::IpGenAddr &address) {
    return std::exchange(neighbor_.at(address)->hasRestarted, false);
  }

 private:
  void neighborIs(const Pax::IpGenAddr &address) {
    neighbor_[address] = std::make_unique<KivNeighbor>(*this, notifier()->neighbor(address));
  }

  const Pax::IntfId intfId_;
  std::map<Pax::IpGenAddr, std::unique_ptr<KivNeighbor>> neighbor_;
  std::map<Pax::IpGenAddr, Kiv::Ptr<const PimNeighbor>> gone_;
};

void LinkReporter::KivNeighbor::onGenerationId() {
  hasRestarted = true;
  owner_.restarted();
}

class LinkReporter::KivPimStatus : public Kiv::ReactorOf<Pim::Status, LinkReporter> {
 public:
  using ReactorOf::ReactorOf;
  void onPimIntf(const Pax::IntfId &intfId) override {
    owner_.handlePimIntf(intfId);
    owner_.changed(intfId);
  }
};

class LinkReporter::KivInterfaces : public Kiv::ReactorOf<Ip::AllIntfStatusDir, LinkReporter> {
 public:
  using ReactorOf::ReactorOf;
  void onIntfStatus(const Pax::IntfId &intfId) override { owner_.changed(intfId); }
};

LinkReporter::LinkReporter(Reporting &reporting, const Kiv::Ptr<const Pim::Status> &pimStatus,
                           const Kiv::Ptr<const Ip::AllIntfStatusDir> &interfaces)
    : reporting_(reporting),
      pimStatus_(pimStatus),
      interfaces_(interfaces),
      kivPimStatus_(std::make_unique<KivPimStatus>(*this, pimStatus)),
      kivInterfaces_(std::make_unique<KivInterfaces>(*this, interfaces)) {
  for (const auto &[intfId, intf] : pimStatus->pimIntf()) {
    handlePimIntf(intfId);
    const auto neighbors = intf->neighbor().keys();
    known_[intfId] = {State::on, intf->dr(), {neighbors.begin(), neighbors.end()}};
  }
  handleConfig();
}

LinkReporter::~LinkReporter() = default;

void LinkReporter::handlePimIntf(const Pax::IntfId &intfId) {
  pimIntf_.erase(intfId);
  if (const auto intf = pimStatus_->pimIntf(intfId)) {
    pimIntf_[intfId] = std::make_unique<KivPimIntf>(*this, intfId, intf);
  }
}

void LinkReporter::handleConfig() {
  const std::vector<Pax::IntfId> configured = reporting_.view().pimInterfaces;
  const std::set<Pax::IntfId> wanted(configured.begin(), configured.end());
  std::erase_if(known_, [&](const auto &known) { return !wanted.contains(known.first); });
  for (const Pax::IntfId &intfId : wanted) {
    if (known_.try_emplace(intfId).second) changed(intfId);
  }
}

void LinkReporter::changed(const Pax::IntfId &intfId) {
  changed_.insert(intfId);
  reporting_.settleSoon();
}

void LinkReporter::settle() {
  for (const Pax::IntfId &intfId : std::exchange(changed_, {})) settle(intfId);
}

void LinkReporter::settle(const Pax::IntfId &intfId) {
  const auto known = known_.find(intfId);
  if (known == known_.end()) {  // it is not configured any more
    if (const auto reactor = pimIntf_.find(intfId); reactor != pimIntf_.end()) reactor->second->takeGone();
    return;
  }
  settleState(intfId, known->second);
  const auto intf = pimStatus_->pimIntf(intfId);
  if (!intf) return;
  settleNeighbors(intfId, known->second, *intf);
  settleDr(intfId, known->second, *intf);
}

void LinkReporter::settleState(const Pax::IntfId &intfId, Known &known) {
  const State now = pimStatus_->pimIntf(intfId)       ? State::on
                    : interfaces_->intfStatus(intfId) ? State::off
                                                      : State::missing;
  if (now == known.state) return;
  const std::string why = now == State::on ? "" : whyPimOff(reporting_.view(), intfId);
  if (now == State::off && why.empty()) return;  // it stands by, or is about to be on
  const size_t neighbors = known.neighbors.size();
  known = {now};
  const std::string theirs = neighbors == 1  ? "; its neighbor is gone with it"
                             : neighbors > 1 ? sentence("; its ", neighbors, " neighbors are gone with it")
                                             : "";
  tellState(intfId, known, why + theirs);
}

void LinkReporter::tellState(const Pax::IntfId &intfId, const Known &known, const std::string &why) {
  Event event{.kind = EventKind::interfaceUp, .severity = Severity::notice, .interface = intfId};
  event.cause = why;
  if (known.state == State::on) {
    event.newValue = Kiv::toText(pimStatus_->pimIntf(intfId)->address());
    event.text = sentence("PIM is on at ", intfId, " with address ", event.newValue);
  } else {
    event.kind = known.state == State::off ? EventKind::interfaceDown : EventKind::interfaceMissing;
    event.severity = Severity::warning;
    event.text = sentence("PIM is off at ", intfId, ": ", why);
  }
  reporting_.tell(std::move(event));
}

void LinkReporter::settleDr(const Pax::IntfId &intfId, Known &known, const PimIntf &intf) {
  const Pax::IpGenAddr before = std::exchange(known.dr, intf.dr());
  if (before == known.dr || before.isZero()) return;
  Event event{.kind = EventKind::drChanged, .severity = Severity::notice, .interface = intfId, .neighbor = known.dr};
  event.oldValue = Kiv::toText(before);
  event.newValue = Kiv::toText(known.dr);
  event.text = sentence("The designated router on ", intfId, " is ", known.dr, intf.isDr() ? ", this router" : "",
                        "; it was ", before);
  reporting_.tell(std::move(event));
}

void LinkReporter::settleNeighbors(const Pax::IntfId &intfId, Known &known, const PimIntf &intf) {
  KivPimIntf &reactor = *pimIntf_.at(intfId);
  for (const auto &[address, gone] : reactor.takeGone()) {
    if (known.neighbors.erase(address) == 0) continue;
    tellNeighbor(EventKind::neighborLeft, Severity::warning, intfId, address, "left", whyLeft(*gone));
  }
  for (const Pax::IpGenAddr &address : intf.neighbor().keys()) {
    const bool isNew = known.neighbors.insert(address).second, hasRestarted = reactor.takeRestarted(address);
    if (isNew) {
      tellNeighbor(EventKind::neighborCame, Severity::notice, intfId, address, "came", "");
    } else if (hasRestarted) {
      tellNeighbor(EventKind::neighborRestarted, Severity::notice, intfId, address, "restarted", "new Generation ID");
    }
  }
}

std::string LinkReporter::whyLeft(const PimNeighbor &neighbor) const {
  if (neighbor.saidGoodbye()) return "it said goodbye";
  return neighbor.expires() <= reporting_.now() ? "it was silent" : "another router took its place";
}

void LinkReporter::tellNeighbor(EventKind kind, Severity severity, const Pax::IntfId &intfId,
                                const Pax::IpGenAddr &neighbor, const char *verb, const std::string &cause) {
  Event event{.kind = kind, .severity = severity, .interface = intfId, .neighbor = neighbor};
  event.cause = cause;
  event.text = sentence("Neighbor ", neighbor, " on ", intfId, ' ', verb, cause.empty() ? "" : ": ", cause);
  reporting_.tell(std::move(event));
}

}  // namespace Routing::Pim::Bsr
