/// Value types that check their range when they are constructed, so that an entity can hold no bad value and
/// no reader checks again. Each type is named by a rule: its bounds and the text of its error.
#pragma once

#include <compare>
#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>

#include "platform/kiv/RangeError.h"

namespace Pax {

/// An integer within a range. `Rule` has Rep (the type it is stored in), least, most, initial (what
/// the default constructor gives) and text, the message of the Kiv::RangeError. Numbers convert implicitly.
template <class Rule>
class Ranged {
 public:
  constexpr Ranged() = default;
  constexpr Ranged(uint64_t value) : number_(static_cast<typename Rule::Rep>(value)) {
    if (value < Rule::least || value > Rule::most) throw Kiv::RangeError(Rule::text);
  }
  constexpr typename Rule::Rep number() const { return number_; }
  constexpr auto operator<=>(const Ranged &) const = default;
  friend std::ostream &operator<<(std::ostream &out, const Ranged &value) { return out << uint64_t{value.number_}; }

 private:
  typename Rule::Rep number_ = Rule::initial;
};

/// A text of limited size. `Rule` has most, in bytes, and text, the message of the Kiv::RangeError. Its
/// characters are not checked. Texts convert implicitly.
template <class Rule>
class BoundedText {
 public:
  BoundedText() = default;
  BoundedText(std::string_view text) : text_(text) {
    if (text_.size() > Rule::most) throw Kiv::RangeError(Rule::text);
  }
  BoundedText(const char *text) : BoundedText(std::string_view(text)) {}
  BoundedText(const std::string &text) : BoundedText(std::string_view(text)) {}
  static BoundedText fromText(std::string_view text) { return BoundedText(text); }
  const std::string &text() const { return text_; }
  bool empty() const { return text_.empty(); }
  auto operator<=>(const BoundedText &) const = default;
  friend std::ostream &operator<<(std::ostream &out, const BoundedText &value) { return out << value.text_; }

 private:
  std::string text_;
};

struct NamespaceNameRule {
  static constexpr size_t most = 150;
  static constexpr const char *text = "NamespaceName::bytes > 150 not allowed";
};
/// The name of the network namespace of a VRF.
using NamespaceName = BoundedText<NamespaceNameRule>;

}  // namespace Pax

namespace L3 {

struct VrfNameRule {
  static constexpr size_t maxLength = 100;
  static constexpr size_t most = maxLength;
  static constexpr const char *text = "VrfName::bytes > VrfName::maxLength not allowed";
};
/// The name of a VRF, as the configuration gives it.
using VrfName = Pax::BoundedText<VrfNameRule>;

/// The name of the VRF of the namespace that the agent starts in.
inline constexpr const char *defaultVrf = "default";

}  // namespace L3

template <class Rule>
struct std::hash<Pax::BoundedText<Rule>> {
  size_t operator()(const Pax::BoundedText<Rule> &value) const { return std::hash<std::string>()(value.text()); }
};
