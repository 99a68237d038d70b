#include "platform/acl/AclToPrefix.h"

#include <algorithm>
#include <boost/icl/closed_interval.hpp>
#include <boost/icl/interval_set.hpp>

#include "platform/tracelet/Require.h"

namespace AclPrefix {

namespace {

// An address as a number. `lap` is what overflows the 128 bits: ICL steps over the ends of its
// intervals, so the number after ffff:...:ffff and the one before :: must exist and keep their order.
struct Number {
  int8_t lap = 0;
  uint64_t high = 0;
  uint64_t low = 0;

  Number() = default;
  explicit Number(const Pax::IpGenAddr &address) : high(address.high()), low(address.low()) {}
  auto operator<=>(const Number &) const = default;
  Number &operator++() {
    if (++low == 0 && ++high == 0) ++lap;
    return *this;
  }
  Number &operator--() {
    if (low-- == 0 && high-- == 0) --lap;
    return *this;
  }
};

}  // namespace

}  // namespace AclPrefix

namespace boost::icl {
template <>
struct is_discrete<AclPrefix::Number> {
  using type = is_discrete;
  static constexpr bool value = true;
};
}  // namespace boost::icl

namespace AclPrefix {

namespace {

using Interval = boost::icl::closed_interval<Number>;
using IntervalSet = boost::icl::interval_set<Number, std::less, Interval>;

// The last address of the block of `length` that starts at `first`.
Number lastOf(Number first, unsigned hostBits) {
  const auto ones = [](unsigned count) { return count == 0 ? 0 : ~uint64_t{0} >> (64 - std::min(count, 64u)); };
  first.low |= ones(hostBits);
  first.high |= ones(hostBits > 64 ? hostBits - 64 : 0);
  return first;
}

}  // namespace

class AclToPrefix::Intervals {
 public:
  explicit Intervals(Pax::AddressFamily family) : af(family) {}

  Pax::IpGenAddr address(const Number &number) const {
    return af == Pax::AddressFamily::ipv4 ? Pax::IpGenAddr::v4(static_cast<uint32_t>(number.low))
                                          : Pax::IpGenAddr::v6(number.high, number.low);
  }
  // The largest prefix that starts at `first` and does not pass `last`.
  Pax::IpGenPrefix largest(const Number &first, const Number &last) const {
    const unsigned bits = Pax::addressBits(af);
    unsigned length = 0;
    while (Pax::IpGenPrefix(address(first), length).address() != address(first) || lastOf(first, bits - length) > last)
      ++length;
    return {address(first), static_cast<uint8_t>(length)};
  }

  const Pax::AddressFamily af;
  IntervalSet decided;
  IntervalSet permitted;
};

AclToPrefix::AclToPrefix(Pax::AddressFamily af) : intervals_(std::make_unique<Intervals>(af)) {
  REQUIRE_AS(Pax::addressBits(af) != 0, "0 && \"Unknown Address Family not supported\"");
}

AclToPrefix::~AclToPrefix() = default;

void AclToPrefix::handleRule(const Acl::IpRule &rule) {
  const Pax::IpGenPrefix &source = rule.filter.source;
  if (source.af() != intervals_->af) return;
  const Number first(source.address());
  const Interval matched(first, lastOf(first, Pax::addressBits(source.af()) - source.length()));
  if (rule.action == Acl::Action::permit) {
    IntervalSet undecided(matched);
    undecided -= intervals_->decided;
    intervals_->permitted += undecided;
  }
  intervals_->decided += matched;
}

std::vector<Pax::IpGenPrefix> AclToPrefix::PermittedPrefixes() const {
  std::vector<Pax::IpGenPrefix> prefixes;
  for (const Interval &interval : intervals_->permitted) {
    for (Number first = interval.lower(); first <= interval.upper();) {
      prefixes.push_back(intervals_->largest(first, interval.upper()));
      first = lastOf(first, Pax::addressBits(intervals_->af) - prefixes.back().length());
      ++first;
    }
  }
  return prefixes;
}

std::vector<Pax::IpGenPrefix> permittedPrefixes(const Acl::AclConfig &acl, Pax::AddressFamily af) {
  AclToPrefix converter(af);
  if (const Kiv::Ptr<Acl::AclSubConfig> rules = acl.currCfg()) {
    std::vector<uint32_t> sequence = rules->ruleBySequence().keys();
    std::sort(sequence.begin(), sequence.end());
    for (const uint32_t number : sequence) converter.handleRule(*rules->ruleBySequence(number));
  }
  return converter.PermittedPrefixes();
}

}  // namespace AclPrefix
