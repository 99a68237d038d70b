#include "daemon/ServiceStatus.h"

#include <algorithm>
#include <vector>

#include "view/Json.h"
#include "view/Sentence.h"

namespace Routing::Pim::Bsr {

namespace {

constexpr size_t most = 8;

// Those that have a BSR, and those that could: the global one and where this router is a candidate.
std::vector<Pax::IpGenPrefix> zonesOf(const Status &status) {
  std::vector<Pax::IpGenPrefix> zones{Pax::allGroups(status.af())};
  for (const auto &[zone, bsr] : status.bootstrapRouter()) zones.push_back(zone);
  for (const auto &[zone, candidate] : status.cbsr()) zones.push_back(zone);
  std::sort(zones.begin(), zones.end());
  zones.erase(std::unique(zones.begin(), zones.end()), zones.end());
  return zones;
}

std::string wordsOf(const Status &status, const Pax::IpGenPrefix &zone) {
  const auto bsr = status.bootstrapRouter(zone);
  if (!bsr) return sentence(zone, " has no BSR");
  const auto candidate = status.cbsr(zone);
  return sentence("BSR of ", zone, " is ", candidate && candidate->elected() ? "this router, " : "", bsr->ipAddr());
}

}  // namespace

std::string serviceStatus(const SystemState &system, const std::map<L3::VrfName, std::string> &awaited) {
  if (system.redundancyStatus->standby()) return "Standby, which sends nothing";
  if (awaited.empty()) return "No VRF is configured";
  std::string text;
  size_t parts = 0;
  const auto add = [&](const std::string &lead, const std::string &part) {
    if (++parts > most) return;
    text.append(text.empty() ? "" : "; ").append(lead).append(part);
  };
  for (const auto &[vrf, reason] : awaited) {
    const auto status = system.statusColl->vrfStatus(vrf);
    const std::string lead = awaited.size() == 1 && vrf.text() == L3::defaultVrf ? "" : "VRF " + vrf.text() + ": ";
    if (!status || !reason.empty()) {
      add(lead, std::string("waits for ").append(reason.empty() ? "its start" : reason));
    } else if (parts >= most) {
      parts += std::max<size_t>(status->bootstrapRouter().size(), 1);  // there may be very many
    } else {
      for (const Pax::IpGenPrefix &zone : zonesOf(*status)) add(lead, wordsOf(*status, zone));
    }
  }
  if (parts > most) text.append("; and ").append(std::to_string(parts - most)).append(" more");
  return text;
}

}  // namespace Routing::Pim::Bsr
