/// Identity of an interface.
#pragma once

#include <compare>
#include <iosfwd>
#include <string>
#include <string_view>

#include "platform/kiv/Ptr.h"

namespace Pax {

/// An interface is known by its network namespace (named by the VRF that it makes up) and its name
/// there, since "lo" and "eth0" exist in every namespace, and names change hands while the kernel's
/// index says nothing to anybody. The default is the empty id: no interface. Copies share one
/// record, so copying allocates nothing.
class IntfId {
 public:
  IntfId() = default;
  /// `vrf` is "default" or empty for the default VRF.
  IntfId(std::string_view vrf, std::string_view name);
  /// From "NAME" or "VRF/NAME"; the empty text is the empty id. Throws Kiv::RangeError.
  static IntfId fromText(std::string_view text);

  bool isEmpty() const { return !record_; }
  std::string_view vrf() const;  ///< "default" for the default VRF; empty for the empty id
  std::string_view name() const;

  bool operator==(const IntfId &other) const;
  std::strong_ordering operator<=>(const IntfId &other) const;

 private:
  struct Record : Kiv::Counted {
    Record(std::string_view vrf, std::string_view name) : vrf(vrf), name(name) {}
    const std::string vrf;
    const std::string name;
  };
  Kiv::Ptr<const Record> record_;
};

/// NAME in the default VRF, VRF/NAME elsewhere.
std::ostream &operator<<(std::ostream &out, const IntfId &intfId);

}  // namespace Pax

template <>
struct std::hash<Pax::IntfId> {
  size_t operator()(const Pax::IntfId &intfId) const {
    return std::hash<std::string_view>()(intfId.name()) * 31 + std::hash<std::string_view>()(intfId.vrf());
  }
};
