#include "view/LinkReporter.h"

#include <utility>

#include "view/Reasons.h"

namespace Routing::Pim::Bsr {

class LinkReporter::KivNeighbor : public Kiv::ReactorOf<PimNeighbor, KivPimIntf> {
 public:
  KivNeighbor(KivPimIntf &owner, const Pax::IpGenAddr &address, const Kiv::Ptr<const PimNeighbor> &neighbor)
      : ReactorOf(owner, neighbor), address_(address) {}
  void onGenerationId() override;
  void onHasGenerationId() override { onGenerationId(); }
  void onDrPriority() override;
  void onHasDrPriority() override { onDrPriority(); }
  void onSecondary(const Pax::IpGenAddr &) override { onDrPriority(); }

  bool hasRestarted = false;
  bool hasChanged = false;

 private:
  const Pax::IpGenAddr address_;
};

// Neighbors that are gone stay until they are told of. All that are there when it is made are touched.
class LinkReporter::KivPimIntf : public Kiv::ReactorOf<PimIntf, LinkReporter> {
 public:
  KivPimIntf(LinkReporter &owner, const Pax::IntfId &intfId, const Kiv::Ptr<const PimIntf> &intf)
      : ReactorOf(owner, intf), intfId_(intfId) {
    for (const Pax::IpGenAddr &address : intf->neighbor().keys()) neighborIs(address);
  }
  void onAddress() override { owner_.changed(intfId_); }
  void onMtu() override { owner_.changed(intfId_); }
  void onDr() override { owner_.changed(intfId_); }
  void onNeighbor(const Pax::IpGenAddr &address) override {
    if (notifier()->neighbor(address)) {
      neighborIs(address);
    } else if (const auto gone = neighbor_.extract(address)) {
      gone_[address] = Kiv::Ptr<const PimNeighbor>(gone.mapped()->notifier());
    }
    owner_.changed(intfId_);
  }
  void touched(const Pax::IpGenAddr &address) {
    touched_.insert(address);
    owner_.changed(intfId_);
  }

  // Of this interface since it was asked last.
  std::map<Pax::IpGenAddr, Kiv::Ptr<const PimNeighbor>> takeGone() { return std::exchange(gone_, {}); }
  std::set<Pax::IpGenAddr> takeTouched() { return std::exchange(touched_, {}); }
  bool takeNew() { return std::exchange(isNew_, false); }
  bool takeRestarted(const Pax::IpGenAddr &address) {
    return std::exchange(neighbor_.at(address)->hasRestarted, false);
  }
  bool takeChanged(const Pax::IpGenAddr &address) { return std::exchange(neighbor_.at(address)->hasChanged, false); }

 private:
  void neighborIs(const Pax::IpGenAddr &address) {
    neighbor_[address] = std::make_unique<KivNeighbor>(*this, address, notifier()->neighbor(address));
    touched_.insert(address);
  }

  const Pax::IntfId intfId_;
  std::map<Pax::IpGenAddr, std::unique_ptr<KivNeighbor>> neighbor_;
  std::map<Pax::IpGenAddr, Kiv::Ptr<const PimNeighbor>> gone_;
  std::set<Pax::IpGenAddr> touched_;  // those that came, restarted or changed
  bool isNew_ = true;
};

void LinkReporter::KivNeighbor::onGenerationId() {
  hasRestarted = true;
  owner_.touched(address_);
}

void LinkReporter::KivNeighbor::onDrPriority() {
  hasChanged = true;
  owner_.touched(address_);
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
    Known &known = known_[intfId] = {State::on, intf->address(), intf->mtu(), intf->dr()};
    for (const auto &[address, neighbor] : intf->neighbor()) known.neighbors[address] = knownOf(*neighbor);
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
    if (!known_.try_emplace(intfId).second) continue;
    handlePimIntf(intfId);
    changed(intfId);
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
  settleValues(intfId, known->second, *intf);
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

void LinkReporter::settleValues(const Pax::IntfId &intfId, Known &known, const PimIntf &intf) {
  const auto settle = [&](const char *name, auto &value, const auto &now) {
    const auto before = std::exchange(value, now);
    if (before == now || before == std::decay_t<decltype(now)>()) return;
    Event event{.kind = EventKind::interfaceChanged, .severity = Severity::notice, .interface = intfId};
    event.oldValue = sentence(name, ' ', before);
    event.newValue = sentence(name, ' ', now);
    event.text = sentence("PIM at ", intfId, " has ", event.newValue, ", where it had ", event.oldValue);
    reporting_.tell(std::move(event));
  };
  settle("address", known.address, intf.address());
  settle("MTU", known.mtu, intf.mtu());
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

LinkReporter::KnownNeighbor LinkReporter::knownOf(const PimNeighbor &neighbor) {
  KnownNeighbor known;
  if (neighbor.hasDrPriority()) known.drPriority = neighbor.drPriority();
  for (const Pax::IpGenAddr &secondary : neighbor.secondary().keys()) known.secondary.insert(secondary);
  return known;
}

void LinkReporter::settleNeighbors(const Pax::IntfId &intfId, Known &known, const PimIntf &intf) {
  settleGone(intfId, known, intf);
  KivPimIntf &reactor = *pimIntf_.at(intfId);
  for (const Pax::IpGenAddr &address : reactor.takeTouched()) {
    const auto neighbor = intf.neighbor(address);
    if (!neighbor) continue;  // it came and went
    const auto [place, isNew] = known.neighbors.try_emplace(address);
    const bool hasRestarted = reactor.takeRestarted(address), hasChanged = reactor.takeChanged(address);
    if (isNew) {
      tellNeighbor(EventKind::neighborCame, Severity::notice, intfId, address, "came", "");
    } else if (hasRestarted) {
      tellNeighbor(EventKind::neighborRestarted, Severity::notice, intfId, address, "restarted", "new Generation ID");
    }
    if (!isNew && !hasChanged) continue;
    const KnownNeighbor before = std::exchange(place->second, knownOf(*neighbor));
    if (!isNew) tellChanged(intfId, address, before, place->second);
  }
}

void LinkReporter::settleGone(const Pax::IntfId &intfId, Known &known, const PimIntf &intf) {
  const auto left = [&](const Pax::IpGenAddr &address, const std::string &why) {
    tellNeighbor(EventKind::neighborLeft, Severity::warning, intfId, address, "left", why);
  };
  KivPimIntf &reactor = *pimIntf_.at(intfId);
  for (const auto &[address, gone] : reactor.takeGone()) {
    if (known.neighbors.erase(address) > 0) left(address, whyLeft(intf, address, *gone));
  }
  if (!reactor.takeNew()) return;
  for (auto each = known.neighbors.begin(); each != known.neighbors.end();) {
    const auto neighbor = each++;
    if (intf.neighbor(neighbor->first)) continue;
    left(neighbor->first, "PIM was off there for a moment");
    known.neighbors.erase(neighbor);
  }
}

// Who has our address, or had to make room, is forgotten.
std::string LinkReporter::whyLeft(const PimIntf &intf, const Pax::IpGenAddr &address,
                                  const PimNeighbor &neighbor) const {
  if (neighbor.saidGoodbye()) return "it said goodbye";
  if (neighbor.expires() <= reporting_.now()) return "it was silent";
  if (address == intf.address()) return "its address is now this router's";
  return sentence("the limit of ", intf.neighborsMost(), " neighbors is reached, and it made room for another");
}

Event LinkReporter::eventOf(EventKind kind, const Pax::IntfId &intfId, const Pax::IpGenAddr &neighbor) const {
  Event event{.kind = kind, .interface = intfId, .neighbor = neighbor};
  event.text = sentence("Neighbor ", neighbor, " on ", intfId, ' ');
  return event;
}

void LinkReporter::tellNeighbor(EventKind kind, Severity severity, const Pax::IntfId &intfId,
                                const Pax::IpGenAddr &neighbor, const char *verb, const std::string &cause) {
  Event event = eventOf(kind, intfId, neighbor);
  event.severity = severity;
  event.cause = cause;
  event.text += sentence(verb, cause.empty() ? "" : ": ", cause);
  reporting_.tell(std::move(event));
}

void LinkReporter::tellChanged(const Pax::IntfId &intfId, const Pax::IpGenAddr &neighbor, const KnownNeighbor &before,
                               const KnownNeighbor &now) {
  const auto tell = [&](const std::string &from, const std::string &to) {
    Event event = eventOf(EventKind::neighborChanged, intfId, neighbor);
    event.severity = Severity::info;
    event.oldValue = from;
    event.newValue = to;
    event.text += "has " + to + ", where it had " + from;
    reporting_.tell(std::move(event));
  };
  const auto priority = [](const KnownNeighbor &known) {
    return known.drPriority ? sentence("DR priority ", *known.drPriority) : std::string("no DR priority");
  };
  const auto addresses = [](const KnownNeighbor &known) {
    constexpr size_t named = 4;
    if (known.secondary.empty()) return std::string("no other address");
    std::string text;
    size_t told = 0;
    for (auto each = known.secondary.begin(); each != known.secondary.end() && told < named; ++each, ++told) {
      text += sentence(told == 0 ? "the other addresses " : ", ", *each);
    }
    return told == known.secondary.size() ? text : text + sentence(" and ", known.secondary.size() - told, " more");
  };
  if (before.drPriority != now.drPriority) tell(priority(before), priority(now));
  if (before.secondary != now.secondary) tell(addresses(before), addresses(now));
}

}  // namespace Routing::Pim::Bsr
