/// The identity of an interface: the name of its VRF and its own name there.
#pragma once

#include <compare>
#include <iosfwd>
#include <string>
#include <string_view>

#include "platform/kiv/Ptr.h"

namespace Pax {

/// Both names are needed, since "lo" and "eth0" exist in every network namespace. The kernel's interface index is
/// never the identity: an interface that is deleted and made anew under its name is the same one here. The
/// default is the empty id, which means no interface. Two ids are equal when their names are. Copies share one record,
/// so copying allocates nothing, and comparing looks at no name unless two records are most likely equal.
class IntfId {
 public:
  IntfId() = default;
  /// `vrf` is "default" or empty for the default VRF.
  IntfId(std::string_view vrf, std::string_view name);
  /// From "NAME" or "VRF/NAME"; an empty text gives the empty id. Throws Kiv::RangeError for anything else.
  static IntfId fromText(std::string_view text);

  bool isEmpty() const { return !record_; }
  /// "default" for the default VRF; empty for the empty id, as is name(). Both views last as long as some copy.
  std::string_view vrf() const;
  std::string_view name() const;

  bool operator==(const IntfId &other) const {
    return record_ == other.record_ || (hash_ == other.hash_ && record_ && other.record_ && isSameName(other));
  }
  std::strong_ordering operator<=>(const IntfId &other) const;

 private:
  friend struct std::hash<IntfId>;
  struct Record : Kiv::Counted {
    Record(std::string_view vrf, std::string_view name);
    const std::string vrf;
    const std::string name;
  };
  bool isSameName(const IntfId &other) const;
  Kiv::Ptr<const Record> record_;
  size_t hash_ = 0;  // of the names, which are elsewhere in memory
};

inline std::string_view IntfId::vrf() const { return record_ ? std::string_view(record_->vrf) : std::string_view(); }
inline std::string_view IntfId::name() const { return record_ ? std::string_view(record_->name) : std::string_view(); }

/// NAME in the default VRF, VRF/NAME in any other.
std::ostream &operator<<(std::ostream &out, const IntfId &intfId);

}  // namespace Pax

template <>
struct std::hash<Pax::IntfId> {
  size_t operator()(const Pax::IntfId &intfId) const { return intfId.hash_; }
};
