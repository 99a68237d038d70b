/// Who elects a BSR together.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

#include "platform/pax/IpGenPrefix.h"

namespace Planning {

/// A zone in a VRF. The VRF "default" is before others.
struct Domain {
  std::string vrf;
  Pax::IpGenPrefix zone;
  bool isInDefaultVrf() const { return vrf == "default"; }
  bool operator==(const Domain &) const = default;
  bool operator<(const Domain &other) const;
};

/// "224.0.0.0/4 in VRF blue". VRFs are told where there are others than "default".
std::string toText(const Domain &domain, bool tellsVrf);

/// {"vrf", "zone"}
nlohmann::ordered_json toJson(const Domain &domain);
/// Of an object with these members. Throws nlohmann::json::exception, or Kiv::RangeError where the zone is none.
Domain domainFrom(const nlohmann::ordered_json &json);

}  // namespace Planning
