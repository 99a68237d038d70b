/// How many configuration sources serve a prefix.
#pragma once

#include <map>

#include "platform/kiv/Table.h"
#include "platform/pax/IntfId.h"
#include "platform/pax/IpGenPrefix.h"
#include "platform/tracelet/Require.h"

namespace Routing::Pim::Bsr {

/// A source is an explicit range, or one ACL that permits the prefix. What the count stands for is
/// in status exactly while it is above zero; writing that is for whoever counts.
class PrefixRefCount {
 public:
  struct Added {
    bool isFirst;
    uint32_t count;  ///< from now on
  };
  struct Removed {
    bool isLast;
    uint32_t count;
  };

  const Kiv::Table<Pax::IpGenPrefix, uint32_t> &counter() const { return counter_; }
  /// 0 where there is no counter.
  uint32_t counter(const Pax::IpGenPrefix &prefix) const {
    const uint32_t *count = counter_.find(prefix);
    return count ? *count : 0;
  }
  bool empty() const { return counter_.empty(); }

  /// Counts a source, or with 0 makes sure of a counter.
  Added add(const Pax::IpGenPrefix &prefix, uint32_t by = 1) {
    const bool isFirst = counterIs(prefix, 0);
    return {isFirst, counterInc(prefix, by)};
  }
  /// Counts one source less; the last one takes the counter with it.
  Removed remove(const Pax::IpGenPrefix &prefix) {
    const uint32_t count = counterDec(prefix, 1);
    if (count == 0) counterDel(prefix);
    return {count == 0, count};
  }

  /// Creates the counter with `count` if it is missing. True if it was.
  bool counterIs(const Pax::IpGenPrefix &prefix, uint32_t count) {
    if (counter_.contains(prefix)) return false;
    counter_.insert(prefix, count);
    return true;
  }
  /// Both return the new count. There must be a counter, and no count passes below zero.
  uint32_t counterInc(const Pax::IpGenPrefix &prefix, uint32_t by) { return *counter_.find(prefix) += by; }
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

/// The counts of one role, by interface; an interface is in it while it has a counter. First and last
/// are those of the interface, whatever the prefix.
template <class RefCount>
class PrefixRefCounts {
 public:
  /// Null when the interface has none.
  const RefCount *find(const Pax::IntfId &intfId) const {
    const auto found = refCount_.find(intfId);
    return found == refCount_.end() ? nullptr : &found->second;
  }
  uint32_t counter(const Pax::IntfId &intfId, const Pax::IpGenPrefix &prefix) const {
    const RefCount *refCount = find(intfId);
    return refCount ? refCount->counter(prefix) : 0;
  }
  PrefixRefCount::Added add(const Pax::IntfId &intfId, const Pax::IpGenPrefix &prefix, uint32_t by = 1) {
    const auto [entry, isFirst] = refCount_.try_emplace(intfId);
    return {isFirst, entry->second.add(prefix, by).count};
  }
  /// A counter that stands at 0 goes, too; without a counter nothing happens.
  PrefixRefCount::Removed remove(const Pax::IntfId &intfId, const Pax::IpGenPrefix &prefix) {
    const auto found = refCount_.find(intfId);
    if (found == refCount_.end()) return {false, 0};
    RefCount &refCount = found->second;
    if (refCount.counter(prefix) > 0) {
      if (const uint32_t count = refCount.remove(prefix).count; count > 0) return {false, count};
    } else {
      refCount.counterDel(prefix);
    }
    const bool isLast = refCount.empty();
    if (isLast) refCount_.erase(found);
    return {isLast, 0};
  }

 private:
  std::map<Pax::IntfId, RefCount> refCount_;
};

}  // namespace Routing::Pim::Bsr
