#include "agent/MountPaths.h"

#include <sstream>

namespace Routing::Pim::Bsr {

std::string MountPaths::root(std::string_view table) const {
  return std::string(table) + (af_ == Pax::AddressFamily::ipv6 ? "6" : "");
}

std::string MountPaths::unicast(std::string_view table, const L3::VrfName &vrf) const {
  const std::string status = root(table);
  return vrf.text() == L3::defaultVrf ? status + "/status" : status + "/vrf/status/" + vrf.text();
}

std::string MountPaths::stage(std::string_view what, std::string_view kind) const {
  return std::string(what) + "/" + std::string(kind) + "/" + agent_;
}

std::string MountPaths::modeName(Mode mode) {
  std::ostringstream name;
  name << mode;
  return name.str();
}

}  // namespace Routing::Pim::Bsr
