/// A set of prefixes of one family with longest-match lookup.
///
/// A multi-bit trie: each node looks at 6 bits of the address and keeps two 64-bit maps, one of
/// the prefixes that end inside it and one of its children, which stand in one array. A lookup is
/// one AND a node and one count of leading zeros at its end. Nodes that would only lead on are left
/// out, so it is a few nodes long for IPv6 too.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/kiv/Entity.h"
#include "platform/pax/IpGenPrefix.h"

namespace Routing {

class TrieGen : public Kiv::NamedEntity {
 public:
  class Notifiee : public Kiv::NotifieeOf<TrieGen> {
   public:
    /// The prefix was stored, removed, or what stands behind it changed.
    virtual void onRoute(const Pax::IpGenPrefix &) {}
  };

  /// Names serve traces; several tries may share one.
  TrieGen(std::string name, Pax::AddressFamily family);
  ~TrieGen() override;

  Pax::AddressFamily af() const { return family_; }
  size_t size() const { return size_; }
  /// Grows with every insertion and removal: what a reader derived from the trie holds while it stays.
  uint64_t version() const { return version_; }

  /// Stores the prefix. Storing one that is there, is empty or of the other family does nothing.
  void routeIs(const Pax::IpGenPrefix &prefix, bool = true);
  /// Removes the prefix. Removing one that is not there does nothing.
  void routeDel(const Pax::IpGenPrefix &prefix);
  /// Tells the readers that what stands behind a stored prefix changed.
  void changedRouteIs(const Pax::IpGenPrefix &prefix);

  bool route(const Pax::IpGenPrefix &prefix) const;
  /// The longest stored prefix that covers `prefix` (itself included), or the empty prefix.
  Pax::IpGenPrefix longestMatch(const Pax::IpGenPrefix &prefix) const;
  /// The longest stored prefix that covers `prefix` and is shorter, or the empty prefix.
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
