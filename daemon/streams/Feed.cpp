#include "daemon/streams/Feed.h"

#include <algorithm>

#include "daemon/control/Streams.h"

namespace Routing::Pim::Bsr {

void Feed::follow(Follower &follower) {
  followers_.push_back({&follower, false});
  if (!source_) readFrom(restsUntil_);
}

void Feed::unfollow(Follower &follower) {
  std::erase_if(followers_, [&](const Following &following) { return following.follower == &follower; });
}

void Feed::changed() {
  if (source_) {
    again_ = true;
  } else if (!timer_.armed()) {
    readFrom(std::max(wheel_->now() + delay, restsUntil_));
  }
}

void Feed::readFrom(double time) { timer_.timeMinIs(std::max(time, wheel_->now())); }

void Feed::goOn() {
  if (!source_) begin();
  while (next_ < rows_.size() || more_) {
    if (next_ == rows_.size()) nextRows();
    while (next_ < rows_.size()) {
      take(rows_[next_++]);
      if (waker_.turnIsLong()) return readFrom(wheel_->now());
    }
  }
  readDone();
}

void Feed::begin() {
  begun_ = wheel_->now();
  reading_ = {};
  seen_.assign(known_.table->size(), false);
  rows_ = Rows::array();
  next_ = 0;
  more_ = true;
  again_ = false;
  try {
    source_ = begin_();
  } catch (const std::exception &) {
    source_ = [](Rows &) { return false; };
  }
}

void Feed::nextRows() {
  rows_ = Rows::array();
  next_ = 0;
  try {
    more_ = source_(rows_);
  } catch (const std::exception &) {
    more_ = false;
  }
}

void Feed::take(const Rows &row) {
  const auto digest = std::hash<std::string>()(Control::rowText(Control::lastingOf(row)));
  const auto taken = std::make_shared<const FeedRow>(FeedRow{Control::keyOf(key_, row), Control::rowText(row), digest});
  if (!reading_.at.emplace(taken->key, reading_.table->size()).second) return;
  reading_.table->push_back(taken);
  const auto known = known_.at.find(taken->key);
  if (known == known_.at.end()) {
    changes_.push_back({FeedChange::Kind::added, taken});
  } else {
    seen_[known->second] = true;
    if ((*known_.table)[known->second]->digest != digest) changes_.push_back({FeedChange::Kind::changed, taken});
  }
}

void Feed::readDone() {
  std::vector<FeedChange> removed;
  for (size_t i = 0; i < seen_.size(); ++i) {
    if (!seen_[i]) removed.push_back({FeedChange::Kind::removed, (*known_.table)[i]});
  }
  changes_.insert(changes_.begin(), removed.begin(), removed.end());
  source_ = nullptr;
  rows_ = {};
  known_ = std::move(reading_);
  restsUntil_ = wheel_->now() + 4 * (wheel_->now() - begun_);
  tell();
  changes_.clear();
  if (again_) changed();
}

bool Feed::isMuch() const {
  size_t bytes = 0;
  for (const FeedChange &change : changes_) bytes += change.row->text.size();
  return changes_.size() > mostChanges || bytes > mostBytes;
}

void Feed::tell() {
  const bool asTable = isMuch();
  for (Following &following : followers_) {
    if (asTable || !following.hasTable) {
      following.hasTable = true;
      following.follower->tableIs(known_.table);
    } else if (!changes_.empty()) {
      following.follower->changesAre(changes_);
    }
  }
}

}  // namespace Routing::Pim::Bsr
