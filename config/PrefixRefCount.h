/// How many configuration sources serve a prefix.
#pragma once

#include <map>

#include "platform/kiv/Table.h"
#include "platform/pax/IntfId.h"
#include "platform/pax/IpGenPrefix.h"

namespace Routing::Pim::Bsr {

/// A source is an explicit range, or one ACL that permits the prefix. What the count stands for is
/// in status exactly while it is above zero; the callers write that.
class PrefixRefCount {
 public:
  struct Change {
    bool cameOrWent;  ///< there was no counter when a source was added, or is none any more after one was removed
    uint32_t count;   ///< from now on
  };

  const Kiv::Table<Pax::IpGenPrefix, uint32_t> &counter() const { return counter_; }
  /// 0 where there is no counter.
  uint32_t counter(const Pax::IpGenPrefix &prefix) const {
    const uint32_t *count = counter_.find(prefix);
    return count ? *count : 0;
  }
  /// Counts one more source; with 0 only creates the counter if it is missing.
  Change add(const Pax::IpGenPrefix &prefix, uint32_t by = 1) {
    if (uint32_t *count = counter_.find(prefix)) return {false, *count += by};
    return {true, counter_.insert(prefix, by)};
  }
  /// Counts one source less, and deletes the counter at 0. Harmless without a counter.
  Change remove(const Pax::IpGenPrefix &prefix) {
    uint32_t *count = counter_.find(prefix);
    if (count && *count > 1) return {false, --*count};
    counter_.erase(prefix);
    return {true, 0};
  }

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
  PrefixRefCount::Change add(const Pax::IntfId &intfId, const Pax::IpGenPrefix &prefix, uint32_t by = 1) {
    const auto [entry, isFirst] = refCount_.try_emplace(intfId);
    return {isFirst, entry->second.add(prefix, by).count};
  }
  PrefixRefCount::Change remove(const Pax::IntfId &intfId, const Pax::IpGenPrefix &prefix) {
    const auto found = refCount_.find(intfId);
    if (found == refCount_.end()) return {false, 0};
    const uint32_t count = found->second.remove(prefix).count;
    const bool isLast = found->second.counter().empty();
    if (isLast) refCount_.erase(found);
    return {isLast, count};
  }

 private:
  std::map<Pax::IntfId, RefCount> refCount_;
};

}  // namespace Routing::Pim::Bsr
