#include "plan/RefusedParts.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace Planning {

namespace {

using namespace std::literals;

// The `level`th name of a path, from 0; empty if it is not that long.
std::string_view nameIn(std::string_view path, size_t level) {
  for (size_t i = 0; i <= level && !path.empty(); ++i) {
    path.remove_prefix(std::min(path.find('/'), path.size() - 1) + 1);
  }
  return path.substr(0, path.find('/'));
}

bool mayNameWhatIsThere(std::string_view path) {
  constexpr std::array others = {"events"sv, "expect"sv, "duration"sv, "seed"sv, "name"sv};
  constexpr std::array ofElements = {"file"sv,  "configuration"sv, "template"sv, "values"sv, "subnet"sv,
                                     "delay"sv, "jitter"sv,        "loss"sv,     "mtu"sv,    "cost"sv};
  const auto isIn = [](std::string_view name, const auto &names) {
    return std::find(names.begin(), names.end(), name) != names.end();
  };
  const bool isAddress = path.find("/addresses/") != path.npos;
  return !isAddress && !isIn(nameIn(path, 0), others) && !isIn(nameIn(path, 2), ofElements);
}

}  // namespace

RefusedParts::RefusedParts(const Routing::Pim::Bsr::Findings &findings) {
  for (const auto &error : findings.errors) {
    all_.insert(error.place);
    if (mayNameWhatIsThere(error.place)) names_.insert(error.place);
  }
}

bool RefusedParts::isIn(const std::set<std::string> &places, const std::string &path) {
  const std::string lead = path + "/";
  const auto below = places.lower_bound(lead);
  return places.contains(path) || (below != places.end() && below->starts_with(lead));
}

}  // namespace Planning
