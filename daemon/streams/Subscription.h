/// What one subscriber is sent.
#pragma once

#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "daemon/control/Reply.h"
#include "daemon/streams/Feed.h"
#include "view/EventLog.h"

namespace Routing::Pim::Bsr {

/// A reply without end: lines of what it follows, numbered, and a heartbeat each 15 seconds. Lines wait while the
/// subscriber does not take them; when more than a mebibyte does, they are dropped, the subscriber is told so, and
/// nothing follows. A table is not counted: it is made as it is taken. The reply owns it.
class Subscription {
 public:
  static constexpr size_t mostWaiting = 1 << 20;  ///< bytes

  /// `greeting` is the first line.
  Subscription(const Kiv::Ptr<Orb::TimerWheel> &wheel, std::string greeting);
  ~Subscription();

  /// Sends the rows of the noun and each change of them.
  void follow(std::string noun, std::span<const char *const> key, std::shared_ptr<Feed> feed);
  /// Sends the events that pass: those that are kept, and each new one.
  void follow(EventLog &log, const EventFilter &filter);

  /// Sends the next piece: at once, or when there is one.
  void next(const Control::Send &send);

 private:
  class Following;
  // A line that waits: a number comes before its text, or it is a table, or a heartbeat.
  struct Item {
    const void *of = nullptr;  ///< the following, whose later table replaces it
    std::string text;
    std::shared_ptr<const FeedTable> table{};
    bool isHeartbeat = false;
  };

  void tableOf(const Following &following, const std::shared_ptr<const FeedTable> &table);
  void changesOf(const Following &following, const std::vector<FeedChange> &changes);
  void push(Item item);
  void cutOff();
  void beat();
  /// Sends a piece if somebody waits for it.
  void flush();
  std::string nextPiece();
  /// Appends rows of the table; true when that was all.
  bool appendTable(const Item &item, std::string &piece);

  const Kiv::Ptr<Orb::TimerWheel> wheel_;
  Orb::TimerFor<&Subscription::beat> heartbeat_;
  std::vector<std::unique_ptr<Following>> following_;
  EventLog::Listening events_;
  std::string begun_;        // what goes out before anything else
  std::deque<Item> items_;   // the rest
  size_t waiting_ = 0;       // bytes of their texts
  size_t row_ = 0;           // of the table in front, the next one
  bool tableBegun_ = false;  // part of it is sent
  uint64_t number_ = 0;      // of the last line that was sent
  bool ended_ = false;
  Control::Send send_;  // waits for a piece
};

}  // namespace Routing::Pim::Bsr
