#include "view/EventLog.h"

#include <algorithm>
#include <charconv>
#include <stdexcept>

#include "platform/kiv/RangeError.h"
#include "view/Json.h"

namespace Routing::Pim::Bsr {

// A listener is held while it is told, since it may end itself.
class EventLog::Listeners {
 public:
  uint64_t add(Listener listener) {
    listener_.emplace(++lastId_, std::make_shared<const Listener>(std::move(listener)));
    return lastId_;
  }
  void remove(uint64_t id) { listener_.erase(id); }

  // Events that come while one is told wait for it.
  void tell(const Event &event) {
    waiting_.push_back(event);
    if (telling_) return;
    telling_ = true;
    for (; !waiting_.empty(); waiting_.pop_front()) tellAll(waiting_.front());
    telling_ = false;
  }

 private:
  void tellAll(const Event &event) const {
    for (auto next = listener_.begin(); next != listener_.end();) {
      const auto [id, listener] = *next;
      (*listener)(event);
      next = listener_.upper_bound(id);
    }
  }

  std::map<uint64_t, std::shared_ptr<const Listener>> listener_;
  uint64_t lastId_ = 0;
  std::deque<Event> waiting_;
  bool telling_ = false;
};

EventLog::Listening &EventLog::Listening::operator=(Listening &&other) noexcept {
  end();
  listeners_ = std::move(other.listeners_);
  id_ = other.id_;
  return *this;
}

void EventLog::Listening::end() {
  if (const auto listeners = listeners_.lock()) listeners->remove(id_);
  listeners_.reset();
}

EventLog::EventLog(std::function<double()> wallClock)
    : wallClock_(std::move(wallClock)), listeners_(std::make_shared<Listeners>()) {}

void EventLog::tell(Event event) {
  event.seq = ++lastSeq_;
  event.time = wallClock_();
  ++counts_[event.kind];
  events_.push_back(event);
  if (events_.size() > most) events_.pop_front();
  listeners_->tell(event);
}

EventLog::Listening EventLog::listen(Listener listener) { return {listeners_, listeners_->add(std::move(listener))}; }

bool EventFilter::passes(const Event &event) const {
  return event.seq > after && event.time >= since && (vrf.empty() || event.vrf.text() == vrf) &&
         (zone.isEmpty() || event.zone == zone) && event.severity <= severity && (!kind || event.kind == *kind);
}

EventFilter eventFilterFrom(const std::string &since, const std::string &vrf, const std::string &zone,
                            const std::string &severity, const std::string &kind) {
  EventFilter filter;
  const char *const end = since.data() + since.size();
  const auto [rest, error] = std::from_chars(since.data(), end, filter.after);
  if (!since.empty() && (error != std::errc() || rest != end)) {
    filter.after = 0;
    filter.since = timeFrom(since);
  }
  filter.vrf = vrf;
  try {
    if (!zone.empty()) filter.zone = Pax::IpGenPrefix::fromText(zone);
  } catch (const Kiv::RangeError &) {
    throw std::invalid_argument("'" + zone + "' is no group prefix, as in 239.0.0.0/8");
  }
  if (!severity.empty()) filter.severity = severityFrom(severity);
  if (!kind.empty()) filter.kind = eventKindFrom(kind);
  return filter;
}

Rows eventRows(const EventLog &log, const EventFilter &filter, size_t most) {
  Rows rows = Rows::array();
  for (const Event &event : log.events()) {
    if (rows.size() == most) break;
    if (filter.passes(event)) rows.push_back(rowOf(event));
  }
  return rows;
}

}  // namespace Routing::Pim::Bsr
