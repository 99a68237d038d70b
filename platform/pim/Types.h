/// Value types of PIM that configuration, status and messages share.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <string_view>

#include "platform/pax/Ranged.h"

namespace Routing::Pim {

struct RpHashMaskLenRule {
  using Rep = uint8_t;
  static constexpr uint64_t least = 0, most = 128;
  static constexpr Rep initial = 0;
  static constexpr const char *text = "RpHashMaskLen::value < 0 or > 128 not allowed";
};
/// Bits of a group address that enter the hash (RFC 7761 section 4.7.2).
using RpHashMaskLen = Pax::Ranged<RpHashMaskLenRule>;

struct CrpAdvIntervalRule {
  using Rep = uint16_t;
  static constexpr uint64_t least = 1, most = 21845;
  static constexpr Rep initial = 60;
  static constexpr const char *text = "CrpAdvInterval::value < 1 or > 21845 not allowed";
};
/// Seconds between two advertisements of a candidate RP.
using CrpAdvInterval = Pax::Ranged<CrpAdvIntervalRule>;

/// Priority of a candidate RP: 0 to 255, the lowest value is preferred; 256 means unset.
using RpPriority = uint16_t;
inline constexpr RpPriority rpPriorityUnset = 256;

/// How long an RP is kept without being heard of again, in seconds. 0 withdraws it at once.
using CrpHoldTime = uint16_t;

/// The PIM mode of an RP, written "sparsemode" or "bidir".
class Mode {
 public:
  enum Number : uint8_t { sparse = 1, bidir = 2 };
  constexpr Mode(Number number = sparse) : number_(number) {}
  /// From its name. Throws Kiv::RangeError for any other text.
  static Mode fromText(std::string_view text);
  constexpr operator Number() const { return number_; }
  constexpr bool operator==(const Mode &) const = default;
  constexpr bool operator==(Number number) const { return number_ == number; }

 private:
  Number number_;
};
std::ostream &operator<<(std::ostream &out, Mode mode);

}  // namespace Routing::Pim
