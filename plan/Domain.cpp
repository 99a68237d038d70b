#include "plan/Domain.h"

#include <nlohmann/json.hpp>
#include <tuple>

#include "platform/kiv/Value.h"

namespace Planning {

bool Domain::operator<(const Domain &other) const {
  const auto key = [](const Domain &domain) { return std::tie(domain.vrf, domain.zone); };
  if (isInDefaultVrf() != other.isInDefaultVrf()) return isInDefaultVrf();
  return key(*this) < key(other);
}

std::string toText(const Domain &domain, bool tellsVrf) {
  std::string text = Kiv::toText(domain.zone);
  if (tellsVrf) text.append(" in VRF ").append(domain.vrf);
  return text;
}

nlohmann::ordered_json toJson(const Domain &domain) {
  return {{"vrf", domain.vrf}, {"zone", Kiv::toText(domain.zone)}};
}

Domain domainFrom(const nlohmann::ordered_json &json) {
  return {json.at("vrf"), Pax::IpGenPrefix::fromText(json.at("zone").get<std::string>())};
}

}  // namespace Planning
