#include "daemon/streams/Subscription.h"

#include <algorithm>
#include <array>

#include "daemon/control/Streams.h"

namespace Routing::Pim::Bsr {

namespace {

std::string rowLine(const std::string &noun, const char *change, const std::string &row) {
  return R"("noun":")" + noun + R"(","change":")" + change + R"(","row":)" + row + "}\n";
}

// A table's line up to its rows.
std::string tableBegin(const std::string &noun, std::span<const char *const> key) {
  Rows columns = Rows::array();
  for (const char *column : key) columns.push_back(column);
  return R"("noun":")" + noun + R"(","key":)" + Control::rowText(columns) + R"(,"snapshot":[)";
}

const char *wordOf(FeedChange::Kind kind) {
  constexpr std::array words{"added", "changed", "removed"};
  return words[static_cast<size_t>(kind)];
}

}  // namespace

// One noun of a subscription.
class Subscription::Following : public Feed::Follower {
 public:
  Following(Subscription &owner, std::string name, std::span<const char *const> columns, std::shared_ptr<Feed> feed)
      : noun(std::move(name)), key(columns), owner_(owner), feed_(std::move(feed)) {
    feed_->follow(*this);
  }
  ~Following() override { feed_->unfollow(*this); }

  void tableIs(const std::shared_ptr<const FeedTable> &table) override { owner_.tableOf(*this, table); }
  void changesAre(const std::vector<FeedChange> &changes) override { owner_.changesOf(*this, changes); }

  const std::string noun;
  const std::span<const char *const> key;

 private:
  Subscription &owner_;
  const std::shared_ptr<Feed> feed_;
};

Subscription::Subscription(const Kiv::Ptr<Orb::TimerWheel> &wheel, std::string greeting)
    : wheel_(wheel), heartbeat_(wheel, *this), begun_(std::move(greeting) + '\n') {
  heartbeat_.timeMinIs(wheel_->now() + Control::heartbeatInterval);
}

Subscription::~Subscription() = default;

void Subscription::follow(std::string noun, std::span<const char *const> key, std::shared_ptr<Feed> feed) {
  following_.push_back(std::make_unique<Following>(*this, std::move(noun), key, std::move(feed)));
}

void Subscription::follow(EventLog &log, const EventFilter &filter) {
  static constexpr std::array key{"seq"};
  const std::string noun(Control::eventsNoun);
  const auto kept = std::make_shared<FeedTable>();
  for (const Rows &row : eventRows(log, filter)) {
    kept->push_back(std::make_shared<const FeedRow>(FeedRow{Control::keyOf(key, row), Control::rowText(row), 0}));
  }
  push({nullptr, tableBegin(noun, key), kept});
  events_ = log.listen([this, noun, filter](const Event &event) {
    if (!filter.passes(event)) return;
    push({nullptr, rowLine(noun, "added", Control::rowText(rowOf(event)))});
    flush();
  });
}

void Subscription::next(const Control::Send &send) {
  std::string piece = nextPiece();
  if (piece.empty() && !ended_) {
    send_ = send;
  } else {
    send(std::move(piece));
  }
}

void Subscription::tableOf(const Following &following, const std::shared_ptr<const FeedTable> &table) {
  // What waits of an earlier table and its changes is no longer wanted.
  for (auto item = items_.begin() + (tableBegun_ ? 1 : 0); item != items_.end();) {
    if (item->of != &following) {
      ++item;
      continue;
    }
    waiting_ -= item->text.size();
    item = items_.erase(item);
  }
  push({&following, tableBegin(following.noun, following.key), table});
  flush();
}

void Subscription::changesOf(const Following &following, const std::vector<FeedChange> &changes) {
  for (const FeedChange &change : changes) {
    push({&following, rowLine(following.noun, wordOf(change.kind), change.row->text)});
  }
  flush();
}

void Subscription::push(Item item) {
  if (ended_) return;
  waiting_ += item.text.size();
  items_.push_back(std::move(item));
  if (waiting_ > mostWaiting) cutOff();
}

// The line of a table that has begun is completed by the error, so that it is one object still. The newline of the
// last line is its reader's.
void Subscription::cutOff() {
  const std::string error =
      Control::errorLine("this subscriber reads too slowly: more than 1 MiB waited, the subscription has ended");
  begun_ = tableBegun_ ? "]," + error.substr(1) : error;
  items_.clear();
  waiting_ = 0;
  heartbeat_.timeMinIs(Orb::never);
  ended_ = true;
}

void Subscription::beat() {
  heartbeat_.timeMinIs(wheel_->now() + Control::heartbeatInterval);
  if (!items_.empty()) return;
  items_.push_back({nullptr, "", nullptr, true});
  flush();
}

void Subscription::flush() {
  if (!send_) return;
  std::string piece = nextPiece();
  if (!piece.empty()) std::exchange(send_, nullptr)(std::move(piece));
}

std::string Subscription::nextPiece() {
  constexpr size_t enough = 64 << 10;
  std::string piece = std::exchange(begun_, {});
  while (!items_.empty() && piece.size() < enough) {
    const Item &item = items_.front();
    if (item.isHeartbeat) {
      piece.append(R"({"heartbeat":)").append(std::to_string(number_)).append("}\n");
    } else if (!tableBegun_) {
      piece.append(R"({"seq":)").append(std::to_string(++number_)).append(",").append(item.text);
    }
    tableBegun_ = item.table && !appendTable(item, piece);
    if (tableBegun_) break;
    waiting_ -= item.text.size();
    items_.pop_front();
  }
  return piece;
}

bool Subscription::appendTable(const Item &item, std::string &piece) {
  constexpr size_t enough = 64 << 10;
  for (; row_ < item.table->size(); ++row_) {
    if (piece.size() >= enough) return false;
    piece.append(row_ == 0 ? "" : ",").append((*item.table)[row_]->text);
  }
  piece.append("]}\n");
  row_ = 0;
  return true;
}

}  // namespace Routing::Pim::Bsr
