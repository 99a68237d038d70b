/// The part of a Table that knows neither keys nor values, compiled once for all tables.
///
/// It keeps the order of the elements, the buckets of the hash index and the walks under way. The
/// Table that derives from it owns the elements, finds them by key and calls every function here.
#pragma once

#include <cstddef>
#include <vector>

namespace Kiv {

class TableOrder {
 public:
  TableOrder(const TableOrder &) = delete;
  TableOrder &operator=(const TableOrder &) = delete;

  size_t size() const { return size_; }
  bool empty() const { return size_ == 0; }

 protected:
  struct Link {
    Link *previous = nullptr;
    Link *next = nullptr;
    Link *chain = nullptr;  // the next one of the same bucket
  };

  /// How far one walk has come. The table knows it, so that removing an element moves it on. Walks nest.
  struct Walk {
    Link *at;
    bool moved;
    Walk *outer;
  };

  TableOrder() = default;

  /// Puts the link at the end of the order. A walk that stood on a removed last element goes on there.
  void append(Link &link);
  /// Takes the link out of the order and moves on the walks that stand on it.
  void remove(Link &link);

  /// Up to this size there are no buckets: comparing a few keys is faster than hashing one.
  static constexpr size_t smallSize = 6;
  bool needsMoreBuckets() const { return size_ > smallSize && size_ > buckets_.size(); }
  /// Empty buckets for the elements present, a power of two of them. The table enchains all anew.
  void moreBuckets();
  static void enchain(Link *&bucket, Link &link);
  static void unchain(Link *&bucket, Link &link);

  Link *first_ = nullptr;
  mutable Link *expected_ = nullptr;  // what a reader that goes through the elements in order asks for next
  mutable Walk *walks_ = nullptr;     // the innermost
  mutable std::vector<Link *> buckets_;

 private:
  Link *last_ = nullptr;
  size_t size_ = 0;
};

}  // namespace Kiv
