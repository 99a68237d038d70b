#include "daemon/file/Difference.h"

namespace Routing::Pim::Bsr {

namespace {

// Counts what differs among named things and puts it in words.
class Difference {
 public:
  template <class Key, class Value>
  void compare(const char *one, const char *many, const std::map<Key, Value> &before, const std::map<Key, Value> &now) {
    size_t added = 0, removed = 0, changed = 0;
    for (const auto &[key, value] : now) {
      const auto was = before.find(key);
      ++(was == before.end() ? added : changed);
      if (was != before.end() && was->second == value) --changed;
    }
    for (const auto &[key, value] : before) removed += now.contains(key) ? 0 : 1;
    add(added, one, many, "added");
    add(removed, one, many, "removed");
    add(changed, one, many, "changed");
  }
  std::string text() const { return text_.empty() ? "nothing changed" : text_; }

 private:
  void add(size_t count, const char *one, const char *many, const char *verb) {
    if (count == 0) return;
    text_ += (text_.empty() ? "" : ", ") + std::to_string(count) + " " + (count == 1 ? one : many) + " " + verb;
  }

  std::string text_;
};

using At = std::pair<L3::VrfName, Pax::IntfId>;

template <class Candidacy>
std::map<At, Candidacy> candidaciesOf(const Configuration &configuration,
                                      std::map<Pax::IntfId, Candidacy> VrfSettings::*candidacies) {
  std::map<At, Candidacy> all;
  for (const auto &[vrf, settings] : configuration.vrfConfig) {
    for (const auto &[intfId, candidacy] : settings.*candidacies) all.emplace(At(vrf, intfId), candidacy);
  }
  return all;
}

// What is left beside the candidates: timers, limits, filters. Those of a VRF that comes or goes do so with it.
std::map<L3::VrfName, VrfSettings> settingsOf(const Configuration &configuration, const Configuration &other) {
  std::map<L3::VrfName, VrfSettings> all;
  for (const auto &[vrf, settings] : configuration.vrfConfig) {
    if (!other.vrfConfig.contains(vrf)) continue;
    VrfSettings &rest = all.emplace(vrf, settings).first->second;
    rest.bsrCandidateConfig.clear();
    rest.rpCandidateConfig.clear();
  }
  return all;
}

std::map<int, Endpoint> metricsPortOf(const Configuration &configuration) {
  const Endpoint &listen = configuration.metrics.listen;
  return listen.empty() ? std::map<int, Endpoint>() : std::map<int, Endpoint>{{0, listen}};
}

}  // namespace

std::string differenceOf(const Configuration &before, const Configuration &now) {
  Difference difference;
  const auto candidates = [&](const char *one, const char *many, auto candidacies) {
    difference.compare(one, many, candidaciesOf(before, candidacies), candidaciesOf(now, candidacies));
  };
  difference.compare("VRF", "VRFs", before.pim, now.pim);
  difference.compare("VRF's settings", "VRFs' settings", settingsOf(before, now), settingsOf(now, before));
  candidates("candidate BSR", "candidate BSRs", &VrfSettings::bsrCandidateConfig);
  candidates("candidate RP", "candidate RPs", &VrfSettings::rpCandidateConfig);
  difference.compare("interface with borders", "interfaces with borders", before.intfConfig, now.intfConfig);
  difference.compare("ACL", "ACLs", before.acl, now.acl);
  difference.compare("metrics port", "metrics ports", metricsPortOf(before), metricsPortOf(now));
  return difference.text();
}

}  // namespace Routing::Pim::Bsr
