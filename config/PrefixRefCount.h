/// How many configuration sources serve a prefix.
#pragma once

#include <map>

#include "platform/kiv/Table.h"
#include "platform/pax/IntfId.h"
#include "platform/pax/IpGenPrefix.h"
#include "platform/tracelet/Require.h"

namespace Routing::Pim::Bsr {

/// A source is an explicit range, or one ACL that permits the prefix. What the count stands for is
/// in status exactly while it is above zero.
class PrefixRefCount {
 public:
  const Kiv::Table<Pax::IpGenPrefix, uint32_t> &counter() const { return counter_; }
  /// 0 where there is no counter.
  uint32_t counter(const Pax::IpGenPrefix &prefix) const {
    const uint32_t *count = counter_.find(prefix);
    return count ? *count : 0;
  }
  bool empty() const { return counter_.empty(); }

  /// Creates the counter with `count` if it is missing. True if it was.
  bool counterIs(const Pax::IpGenPrefix &prefix, uint32_t count) {
    if (counter_.contains(prefix)) return false;
    counter_.insert(prefix, count);
    return true;
  }
  /// Both return the new count. There must be a counter, and no count passes below zero.
  uint32_t counterInc(const Pax::IpGenPrefix &prefix, uint32_t by) {
    uint32_t *count = counter_.find(prefix);
    REQUIRE(count);
    return *count += by;
  }
  uint32_t counterDec(const Pax::IpGenPrefix &prefix, uint32_t by) {
    uint32_t *count = counter_.find(prefix);
    REQUIRE(count && *count >= by);
    return *count -= by;
  }
  void counterDel(const Pax::IpGenPrefix &prefix) { counter_.erase(prefix); }

 private:
  Kiv::Table<Pax::IpGenPrefix, uint32_t> counter_;
};

/// One of each per interface that serves prefixes in the role.
class BsrBorderPrefixRefCount : public PrefixRefCount {};
class BsrCandidatePrefixRefCount : public PrefixRefCount {};
class RpCandidatePrefixRefCount : public PrefixRefCount {};

/// The counts of one role, by interface; an interface is in it while it has a counter.
template <class RefCount>
class PrefixRefCounts {
 public:
  const std::map<Pax::IntfId, RefCount> &all() const { return refCount_; }
  /// Null when the interface has none.
  RefCount *find(const Pax::IntfId &intfId) {
    const auto found = refCount_.find(intfId);
    return found == refCount_.end() ? nullptr : &found->second;
  }
  uint32_t counter(const Pax::IntfId &intfId, const Pax::IpGenPrefix &prefix) const {
    const auto found = refCount_.find(intfId);
    return found == refCount_.end() ? 0 : found->second.counter(prefix);
  }
  /// Makes sure of a counter, created at 0. True if the interface had none of any prefix.
  bool counterIs(const Pax::IntfId &intfId, const Pax::IpGenPrefix &prefix) {
    const auto [entry, created] = refCount_.try_emplace(intfId);
    entry->second.counterIs(prefix, 0);
    return created;
  }
  uint32_t counterInc(const Pax::IntfId &intfId, const Pax::IpGenPrefix &prefix) {
    return refCount_.at(intfId).counterInc(prefix, 1);
  }
  uint32_t counterDec(const Pax::IntfId &intfId, const Pax::IpGenPrefix &prefix) {
    return refCount_.at(intfId).counterDec(prefix, 1);
  }
  /// True if it was the interface's last.
  bool counterDel(const Pax::IntfId &intfId, const Pax::IpGenPrefix &prefix) {
    RefCount *refCount = find(intfId);
    if (!refCount) return false;
    refCount->counterDel(prefix);
    return refCount->empty() && refCount_.erase(intfId) > 0;
  }

 private:
  std::map<Pax::IntfId, RefCount> refCount_;
};

}  // namespace Routing::Pim::Bsr
