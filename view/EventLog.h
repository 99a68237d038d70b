/// The last events of a process, and those who listen to new ones.
#pragma once

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>

#include "view/Event.h"

namespace Routing::Pim::Bsr {

/// Keeps the last 1,000 and counts all by kind. The daemon owns one; a simulated router has one of its own.
class EventLog {
  class Listeners;

 public:
  static constexpr size_t most = 1000;

  /// Listens until it is destroyed, which may be from within its function.
  class Listening {
   public:
    Listening() = default;
    Listening(Listening &&other) noexcept : listeners_(std::move(other.listeners_)), id_(other.id_) {}
    Listening &operator=(Listening &&other) noexcept;
    ~Listening() { end(); }

   private:
    friend class EventLog;
    Listening(std::weak_ptr<Listeners> listeners, uint64_t id) : listeners_(std::move(listeners)), id_(id) {}
    void end();

    std::weak_ptr<Listeners> listeners_;
    uint64_t id_ = 0;
  };

  /// The clock gives seconds since 1970.
  explicit EventLog(std::function<double()> wallClock);

  /// Gives the event its number and time, keeps it, and tells every listener before it returns. What a listener tells
  /// in turn comes after it, for all of them.
  void tell(Event event);

  /// Oldest first.
  const std::deque<Event> &events() const { return events_; }
  /// 0 before the first.
  uint64_t lastSeq() const { return lastSeq_; }
  /// Since the start; kinds of which there was none are not in it.
  const std::map<EventKind, uint64_t> &counts() const { return counts_; }

  using Listener = std::function<void(const Event &event)>;
  [[nodiscard]] Listening listen(Listener listener);

 private:
  const std::function<double()> wallClock_;
  std::deque<Event> events_;
  uint64_t lastSeq_ = 0;
  std::map<EventKind, uint64_t> counts_;
  const std::shared_ptr<Listeners> listeners_;
};

/// Which events are asked for.
struct EventFilter {
  uint64_t after = 0;                   ///< number of the last one that is not
  double since = 0;                     ///< seconds since 1970
  std::string vrf{};                    ///< empty: any
  Pax::IpGenPrefix zone{};              ///< empty: any
  Severity severity = Severity::debug;  ///< the least
  std::optional<EventKind> kind = std::nullopt;

  bool passes(const Event &event) const;
};
/// From texts, of which the empty ones ask for nothing; `since` is a number or a time. Throws std::invalid_argument.
EventFilter eventFilterFrom(const std::string &since, const std::string &vrf, const std::string &zone,
                            const std::string &severity, const std::string &kind);

/// The rows of "show events", oldest first, no more than `most`.
nlohmann::ordered_json eventRows(const EventLog &log, const EventFilter &filter, size_t most = EventLog::most);

}  // namespace Routing::Pim::Bsr
