/// The rows of a noun for those who follow it.
#pragma once

#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/orb/TimerFor.h"
#include "view/Json.h"

namespace Routing::Pim::Bsr {

/// Appends the next rows when it is called. True while there may be more.
using RowSource = std::function<bool(Rows &rows)>;

/// A row as it was read.
struct FeedRow {
  std::string key;   ///< tells it from the others
  std::string text;  ///< as JSON
  size_t digest;     ///< of what does not change by itself
};
/// All rows of a noun, in its order; never changed once it is made.
using FeedTable = std::vector<std::shared_ptr<const FeedRow>>;

struct FeedChange {
  enum class Kind { added, changed, removed };
  Kind kind;
  std::shared_ptr<const FeedRow> row;  ///< as it is now; one that was removed, as it was last
};

/// Reads the rows of one noun when it is told that something changed, and tells its followers what did. However often
/// it is told so, it reads a tenth of a second later at the earliest, a slice a turn of the loop, and for a fifth of
/// the time at most. While nothing changes it does nothing. Whoever follows it shares it.
class Feed {
 public:
  class Follower {
   public:
    virtual ~Follower() = default;
    /// All rows: at first, and after so many changes at once that they say it shorter.
    virtual void tableIs(const std::shared_ptr<const FeedTable> &table) = 0;
    /// What changed since, in order; applied to the table before, it makes the one that the feed now has.
    virtual void changesAre(const std::vector<FeedChange> &changes) = 0;
  };

  /// More changes at once than these, or more bytes of their rows, are told as a table.
  static constexpr size_t mostChanges = 1000, mostBytes = 256 << 10;
  /// Seconds from the first change to the reading that shows it.
  static constexpr double delay = 0.1;

  /// `begin` starts to read the rows; when it or what it returns throws a std::exception, there are no further ones.
  /// `key` names the columns that tell rows apart. The waker outlives the feed.
  Feed(const Orb::Waker &waker, const Kiv::Ptr<Orb::TimerWheel> &wheel, std::span<const char *const> key,
       std::function<RowSource()> begin)
      : waker_(waker), key_(key), begin_(std::move(begin)), timer_(wheel, *this), wheel_(wheel) {}

  /// The follower is told the table soon; it ends following before it is destroyed, and not while it is told.
  void follow(Follower &follower);
  void unfollow(Follower &follower);

  /// Something may have changed.
  void changed();

 private:
  struct Known {
    std::shared_ptr<FeedTable> table = std::make_shared<FeedTable>();
    std::unordered_map<std::string_view, size_t> at{};  ///< place in the table, by key
  };
  struct Following {
    Follower *follower;
    bool hasTable;
  };

  void readFrom(double time);
  void goOn();
  void begin();
  void nextRows();
  void take(const Rows &row);
  void readDone();
  bool isMuch() const;
  void tell();

  const Orb::Waker &waker_;
  const std::span<const char *const> key_;
  const std::function<RowSource()> begin_;
  Orb::TimerFor<&Feed::goOn> timer_;
  const Kiv::Ptr<Orb::TimerWheel> wheel_;
  std::vector<Following> followers_;
  Known known_;

  RowSource source_;  // while it reads
  bool again_ = false;
  double begun_ = 0;
  double restsUntil_ = 0;
  Rows rows_;  // of which the first are taken
  size_t next_ = 0;
  bool more_ = false;
  Known reading_;
  std::vector<bool> seen_;  // of the rows that are known
  std::vector<FeedChange> changes_;
};

}  // namespace Routing::Pim::Bsr
