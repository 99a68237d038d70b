/// The keyed collection behind every collection attribute.
///
/// A hash index over nodes that are linked in order of insertion, so that a walk is
/// deterministic and costs no sorting. Finding, inserting and erasing are O(1). Elements may be
/// inserted and erased while the table is walked: a walk visits what is appended behind it, never
/// visits an erased element, and survives the erasure of the element it stands on (whose key and
/// value are gone then: copy what is needed afterwards). The table must outlive its walks.
#pragma once

#include <cstddef>
#include <functional>
#include <utility>
#include <vector>

namespace Kiv {

template <class Key, class Value>
class Table {
  struct Node {
    const Key key;
    Value value;
    Node *previous = nullptr;
    Node *next = nullptr;
    Node *chain = nullptr;  // next node of the same bucket
  };

  /// The place of one walk, known to the table so that an erasure moves it on. Walks nest.
  struct Walk {
    Node *at;
    bool moved;
    Walk *outer;
  };

  template <class ElementType>
  class Iterator {
   public:
    // g++ 12 does not see that the destructor takes the address out of the table again.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdangling-pointer"
#endif
    explicit Iterator(const Table &table) : table_(table), walk_{table.first_, false, table.walks_} {
      table_.walks_ = &walk_;
    }
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic pop
#endif
    ~Iterator() { table_.walks_ = walk_.outer; }
    Iterator(const Iterator &) = delete;
    Iterator &operator=(const Iterator &) = delete;

    ElementType operator*() const { return {walk_.at->key, walk_.at->value}; }
    Iterator &operator++() {
      if (!std::exchange(walk_.moved, false)) walk_.at = walk_.at->next;
      return *this;
    }
    bool operator!=(std::nullptr_t) const { return walk_.at != nullptr; }

   private:
    const Table &table_;
    Walk walk_;
  };

 public:
  struct Element {
    const Key &key;
    Value &value;
  };
  struct ConstElement {
    const Key &key;
    const Value &value;
  };

  Table() = default;
  Table(const Table &) = delete;
  Table &operator=(const Table &) = delete;
  ~Table() {
    while (first_) erase(first_->key);
  }

  size_t size() const { return size_; }
  bool empty() const { return size_ == 0; }
  bool contains(const Key &key) const { return lookUp(key) != nullptr; }

  /// The value of `key`, or null.
  Value *find(const Key &key) {
    Node *node = lookUp(key);
    return node ? &node->value : nullptr;
  }
  const Value *find(const Key &key) const { return const_cast<Table *>(this)->find(key); }

  /// Adds an element at the end. The key must not be there yet.
  Value &insert(const Key &key, Value value) {
    Node *node = new Node{key, std::move(value), last_};
    (last_ ? last_->next : first_) = node;
    last_ = node;
    for (Walk *walk = walks_; walk; walk = walk->outer) {
      if (walk->moved && !walk->at) walk->at = node;  // it stood on the last element, which was erased
    }
    if (++size_ > buckets_.size() && size_ > smallSize) {
      rehash();
    } else if (!buckets_.empty()) {
      enchain(node);
    }
    return node->value;
  }

  /// Takes the element out and returns its value; a default value if it was not there. Whatever
  /// the value's destruction sets off finds the table consistent.
  Value erase(const Key &key) {
    Node *node = lookUp(key);
    if (!node) return Value{};
    if (!buckets_.empty()) {
      Node **link = &bucket(node->key);
      while (*link != node) link = &(*link)->chain;
      *link = node->chain;
    }
    for (Walk *walk = walks_; walk; walk = walk->outer) {
      if (walk->at != node) continue;
      walk->at = node->next;
      walk->moved = true;
    }
    if (expected_ == node) expected_ = nullptr;
    (node->previous ? node->previous->next : first_) = node->next;
    (node->next ? node->next->previous : last_) = node->previous;
    --size_;
    Value value = std::move(node->value);
    delete node;
    return value;
  }

  std::vector<Key> keys() const {
    std::vector<Key> result;
    result.reserve(size_);
    for (const Node *node = first_; node; node = node->next) result.push_back(node->key);
    return result;
  }

  Iterator<Element> begin() { return Iterator<Element>(*this); }
  Iterator<ConstElement> begin() const { return Iterator<ConstElement>(*this); }
  std::nullptr_t end() const { return nullptr; }

 private:
  static constexpr size_t smallSize = 6;  // up to here a walk finds a key sooner than a hash

  Node *&bucket(const Key &key) const { return buckets_[std::hash<Key>()(key) & (buckets_.size() - 1)]; }

  Node *lookUp(const Key &key) const {
    // Whoever refreshes a whole collection asks for its elements in their order.
    Node *node = expected_;
    if (!node || !(node->key == key)) {
      if (buckets_.empty()) {
        for (node = first_; node && !(node->key == key);) node = node->next;
      } else {
        for (node = bucket(key); node && !(node->key == key);) node = node->chain;
      }
    }
    expected_ = node ? node->next : nullptr;
    return node;
  }

  void enchain(Node *node) {
    Node *&head = bucket(node->key);
    node->chain = head;
    head = node;
  }

  void rehash() {
    size_t count = 2 * smallSize;
    while (count < 2 * size_) count *= 2;
    count = std::size_t{1} << (64 - __builtin_clzll(count - 1));
    buckets_.assign(count, nullptr);
    for (Node *node = first_; node; node = node->next) enchain(node);
  }

  Node *first_ = nullptr;
  Node *last_ = nullptr;
  mutable Node *expected_ = nullptr;
  mutable Walk *walks_ = nullptr;
  size_t size_ = 0;
  mutable std::vector<Node *> buckets_;
};

}  // namespace Kiv
