/// Values as rows show them.
#pragma once

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>
#include <set>
#include <vector>

#include "platform/kiv/Table.h"
#include "platform/kiv/Value.h"
#include "platform/pax/IpGenAddr.h"

namespace Routing::Pim::Bsr {

using Rows = nlohmann::ordered_json;

/// Numbers and booleans as they are, anything else as its text.
template <class Type>
nlohmann::ordered_json toJson(const Type &value) {
  return std::visit([](const auto &general) { return nlohmann::ordered_json(general); }, Kiv::toValue(value));
}
/// Null for an address that is not set.
inline nlohmann::ordered_json toJson(const Pax::IpGenAddr &address) {
  if (address.isZero()) return nullptr;
  return Kiv::toText(address);
}

/// The elements in their order.
template <class Type>
nlohmann::ordered_json toJson(const std::set<Type> &values) {
  Rows json = Rows::array();
  for (const Type &value : values) json.push_back(toJson(value));
  return json;
}

/// Seconds to the millisecond; null for a time that is not set or never comes.
inline nlohmann::ordered_json secondsBetween(double from, double to) {
  if (from == 0 || to == 0 || !std::isfinite(to - from)) return nullptr;
  return std::round(std::max(0.0, to - from) * 1000) / 1000;
}

template <class Key, class Value>
std::vector<Key> sortedKeys(const Kiv::Table<Key, Value> &table) {
  std::vector<Key> keys = table.keys();
  std::sort(keys.begin(), keys.end());
  return keys;
}

}  // namespace Routing::Pim::Bsr
