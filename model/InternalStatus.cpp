#include "model/InternalStatus.h"

#include <charconv>
#include <ostream>
#include <sstream>

#include "platform/tracelet/Require.h"

namespace Routing::Pim::Bsr {

namespace {

// The string form of both values: Value('<type>', ** {'<first>': %s, '<second>': %s}).
struct Form {
  const char *type;
  const char *first;
  const char *second;

  template <class First, class Second>
  std::string write(const First &firstValue, const Second &secondValue) const {
    std::ostringstream text;
    text << "Value('" << type << "', ** {'" << first << "': " << firstValue << ", '" << second << "': " << secondValue
         << "})";
    return text.str();
  }

  // The two values' texts; throws Kiv::RangeError when the form does not fit.
  std::pair<std::string, std::string> read(const std::string &text) const {
    const std::string head = std::string("Value('") + type + "', ** {'" + first + "': ";
    const std::string middle = std::string(", '") + second + "': ";
    const std::string tail = "})";
    const size_t split = text.find(middle);
    if (!text.starts_with(head) || !text.ends_with(tail) || split == std::string::npos || split < head.size() ||
        split + middle.size() + tail.size() > text.size()) {
      throw Kiv::RangeError(std::string("not a ") + type + ": " + text);
    }
    const size_t second = split + middle.size();
    return {text.substr(head.size(), split - head.size()), text.substr(second, text.size() - tail.size() - second)};
  }
};

constexpr Form weightForm{"Routing::Pim::Bsr::PimBsrWeight", "priority", "ipAddr"};
constexpr Form optionsForm{"Routing::Pim::Bsr::CrpOptions", "rpAddress", "priority"};

uint16_t number(const std::string &text, uint16_t most) {
  uint16_t result = 0;
  const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), result);
  if (error != std::errc() || stop != text.data() + text.size() || result > most) {
    throw Kiv::RangeError("not a priority: " + text);
  }
  return result;
}

Pax::IpGenAddr address(const std::string &text) {
  return text == "unset" ? Pax::IpGenAddr() : Pax::IpGenAddr::fromText(text);
}

}  // namespace

PimBsrWeight::PimBsrWeight(const std::string &text) {
  const auto [first, second] = weightForm.read(text);
  priority = static_cast<uint8_t>(number(first, 255));
  ipAddr = address(second);
}

std::string PimBsrWeight::toString() const { return weightForm.write(unsigned{priority}, ipAddr); }

bool PimBsrWeight::operator<(const PimBsrWeight &weight) const {
  if (priority != weight.priority) return priority < weight.priority;
  REQUIRE_AS(ipAddr.af() == weight.ipAddr.af(), "ipAddr() .af() == weight.ipAddr().af()");
  return ipAddr < weight.ipAddr;
}

CrpOptions::CrpOptions(const std::string &text) {
  const auto [first, second] = optionsForm.read(text);
  rpAddress = address(first);
  priority = number(second, rpPriorityUnset);
}

std::string CrpOptions::toString() const { return optionsForm.write(rpAddress, priority); }

std::string CrpOptions::pretty() const {
  std::ostringstream text;
  text << rpAddress << " priority " << priority;
  return text.str();
}

size_t CrpOptions::hash() const { return std::hash<Pax::IpGenAddr>()(rpAddress) * 31 + priority; }

std::ostream &operator<<(std::ostream &out, const CrpOptions &options) { return out << options.pretty(); }

}  // namespace Routing::Pim::Bsr
