#include "platform/orb/Duration.h"

#include <array>
#include <cmath>
#include <cstdint>

namespace Orb {

namespace {

struct Unit {
  uint64_t seconds;
  char name;
};
constexpr std::array units{Unit{86400, 'd'}, Unit{3600, 'h'}, Unit{60, 'm'}, Unit{1, 's'}};

std::string twoDigits(uint64_t number) {
  std::string digits = std::to_string(number);
  if (number < 10) digits.insert(digits.begin(), '0');
  return digits;
}

}  // namespace

std::string durationText(double seconds) {
  if (!(seconds >= 0.001)) return "0s";
  if (seconds < 1) return std::to_string(static_cast<uint64_t>(seconds * 1000)) + "ms";
  if (seconds >= 1e15) return "ever";
  const auto whole = static_cast<uint64_t>(seconds);
  for (size_t i = 0; i + 1 < units.size(); ++i) {
    if (whole < units[i].seconds) continue;
    const uint64_t rest = whole % units[i].seconds / units[i + 1].seconds;
    return std::to_string(whole / units[i].seconds) + units[i].name + twoDigits(rest) + units[i + 1].name;
  }
  return std::to_string(whole) + 's';
}

}  // namespace Orb
