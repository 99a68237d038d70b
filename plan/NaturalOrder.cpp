#include "plan/NaturalOrder.h"

#include <algorithm>

namespace Planning {

namespace {

bool isDigit(char c) { return c >= '0' && c <= '9'; }

// Takes the number at the beginning away, without zeros in front.
std::string_view takeNumber(std::string_view &text) {
  const size_t length = std::min(text.find_first_not_of("0123456789"), text.size());
  std::string_view number = text.substr(0, length);
  text.remove_prefix(length);
  number.remove_prefix(std::min(number.find_first_not_of('0'), number.size()));
  return number;
}

}  // namespace

bool NaturalOrder::operator()(std::string_view a, std::string_view b) const {
  const std::string_view wholeA = a, wholeB = b;
  while (!a.empty() && !b.empty()) {
    if (isDigit(a.front()) && isDigit(b.front())) {
      const std::string_view numberA = takeNumber(a), numberB = takeNumber(b);
      if (numberA.size() != numberB.size()) return numberA.size() < numberB.size();
      if (numberA != numberB) return numberA < numberB;
    } else if (a.front() != b.front()) {
      return a.front() < b.front();
    } else {
      a.remove_prefix(1);
      b.remove_prefix(1);
    }
  }
  if (a.empty() != b.empty()) return a.empty();
  return wholeA < wholeB;  // they differ in zeros only
}

}  // namespace Planning
