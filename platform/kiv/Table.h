/// The keyed collection behind every collection attribute.
///
/// A hash index over elements that are linked in order of insertion, so a walk is deterministic and
/// needs no sorting. Finding, inserting and erasing are O(1). Elements may be inserted and erased
/// during a walk: the walk visits what is appended behind it, never visits an erased element, and
/// survives the erasure of the element it stands on (that key and value are gone then: copy what is
/// needed afterwards). The table must outlive its walks.
#pragma once

#include <utility>
#include <vector>

#include "platform/kiv/TableOrder.h"

namespace Kiv {

/// Belongs to one entity or machine and owns its elements. Key needs `==` and std::hash. A table
/// tells nobody of its changes; the entity around it does. It is neither copied nor moved.
template <class Key, class Value>
class Table : public TableOrder {
  struct Node : Link {
    Node(const Key &key, Value value) : key(key), value(std::move(value)) {}
    const Key key;
    Value value;
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

    ElementType operator*() const {
      Node &node = *static_cast<Node *>(walk_.at);
      return {node.key, node.value};
    }
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
  ~Table() {
    while (first_) erase(keyOf(*first_));
  }

  bool contains(const Key &key) const { return lookUp(key) != nullptr; }

  /// The value of `key`, or null.
  Value *find(const Key &key) {
    Node *node = lookUp(key);
    return node ? &node->value : nullptr;
  }
  const Value *find(const Key &key) const { return const_cast<Table *>(this)->find(key); }

  /// Adds an element at the end. The key must not be there yet.
  Value &insert(const Key &key, Value value) {
    Node *node = new Node(key, std::move(value));
    append(*node);
    if (needsMoreBuckets()) {
      moreBuckets();
      for (Link *link = first_; link; link = link->next) enchain(bucket(keyOf(*link)), *link);
    } else if (!buckets_.empty()) {
      enchain(bucket(key), *node);
    }
    return node->value;
  }

  /// Takes the element out and returns its value; a default value if there was none. Whatever the
  /// destruction of the value sets off finds the table consistent.
  Value erase(const Key &key) {
    Node *node = lookUp(key);
    if (!node) return Value{};
    if (!buckets_.empty()) unchain(bucket(key), *node);
    remove(*node);
    Value value = std::move(node->value);
    delete node;
    return value;
  }

  std::vector<Key> keys() const {
    std::vector<Key> result;
    result.reserve(size());
    for (const Link *link = first_; link; link = link->next) result.push_back(keyOf(*link));
    return result;
  }

  Iterator<Element> begin() { return Iterator<Element>(*this); }
  Iterator<ConstElement> begin() const { return Iterator<ConstElement>(*this); }
  std::nullptr_t end() const { return nullptr; }

 private:
  static const Key &keyOf(const Link &link) { return static_cast<const Node &>(link).key; }
  Link *&bucket(const Key &key) const { return buckets_[std::hash<Key>()(key) & (buckets_.size() - 1)]; }

  // Fetches what the next look-up will read, while the caller works on this element.
  static void prefetch(const Node &node) {
    __builtin_prefetch(node.next);
    if constexpr (requires { node.value.get(); }) __builtin_prefetch(node.value.get(), 1);
  }

  Node *lookUp(const Key &key) const {
    // Whoever refreshes a whole collection asks for its elements in their order.
    Link *link = expected_;
    if (!link || !(keyOf(*link) == key)) {
      if (buckets_.empty()) {
        for (link = first_; link && !(keyOf(*link) == key);) link = link->next;
      } else {
        for (link = bucket(key); link && !(keyOf(*link) == key);) link = link->chain;
      }
    }
    expected_ = link ? link->next : nullptr;
    if (expected_) prefetch(*static_cast<Node *>(expected_));
    return static_cast<Node *>(link);
  }
};

}  // namespace Kiv
