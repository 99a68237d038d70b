/// A set of prefixes of one family with longest-match lookup.
///
/// A multi-bit trie: each node looks at 6 bits of the address and has two 64-bit maps, one of the prefixes that
/// end in it and one of its children, which are in one array. A lookup costs one AND per node and one count of
/// leading zeros at its end. Nodes that would only lead on to a single child are left out, so a lookup visits
/// only a few nodes for IPv6 too.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/kiv/Entity.h"
#include "platform/pax/IpGenPrefix.h"

namespace Routing {

/// It holds prefixes only. Whoever stores them knows what stands behind each, and says with changedRouteIs() when
/// that changes. Looking up writes nothing and notifies nobody.
class TrieGen : public Kiv::NamedEntity {
 public:
  class Notifiee : public Kiv::NotifieeOf<TrieGen> {
   public:
    /// The prefix was stored or removed, or what stands behind it changed.
    virtual void onRoute(const Pax::IpGenPrefix &) {}
  };

  /// The name is for traces; several tries may share one.
  TrieGen(std::string name, Pax::AddressFamily family);
  ~TrieGen() override;

  Pax::AddressFamily af() const { return family_; }
  size_t size() const { return size_; }
  /// Grows with every insertion and removal. What a reader derived from the trie holds as long as it is the same.
  uint64_t version() const { return version_; }

  /// Stores the prefix. Does nothing if it is there already, is empty or is of the other family.
  void routeIs(const Pax::IpGenPrefix &prefix, bool = true);
  /// Removes the prefix. Does nothing if it is not there.
  void routeDel(const Pax::IpGenPrefix &prefix);
  /// Tells the reactors that what stands behind a stored prefix has changed.
  void changedRouteIs(const Pax::IpGenPrefix &prefix);

  /// Whether exactly this prefix is stored.
  bool route(const Pax::IpGenPrefix &prefix) const;
  /// The longest stored prefix that covers `prefix`, which may be `prefix` itself; the empty prefix if none does.
  Pax::IpGenPrefix longestMatch(const Pax::IpGenPrefix &prefix) const;
  /// The longest stored prefix that covers `prefix` and is shorter; the empty prefix if none does.
  Pax::IpGenPrefix findParent(const Pax::IpGenPrefix &prefix) const;
  /// Every stored prefix, sorted.
  std::vector<Pax::IpGenPrefix> routes() const;

  const char *fwkType() const override { return "TrieGen"; }
  void describe(Kiv::Visitor &visitor) const override;
  bool attributeIs(std::string_view, const Kiv::Value &) override { return false; }

 private:
  struct Node;
  /// Length of the longest stored prefix of at most `most` bits that covers the address, or -1.
  int matchLength(const Pax::IpGenAddr &address, unsigned most) const;

  const Pax::AddressFamily family_;
  std::unique_ptr<Node> root_;
  size_t size_ = 0;
  uint64_t version_ = 0;
};

}  // namespace Routing
