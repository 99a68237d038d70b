/// What an earlier run left in a VRF's status and the configuration no longer supports.
#pragma once

#include <set>
#include <string>
#include <utility>

#include "config/Offers.h"

namespace Routing::Pim::Bsr {

class ConfigSm;
class Status;

/// Used once by ConfigSm as it starts: the status of a VRF outlives the process, its configuration may have shrunk
/// meanwhile. Deletes what no offer supports, from the parts of `Status` that ConfigSm writes, and the elected BSR of a
/// zone that this router served and no longer does. Never creates or changes an element: bringing what stays up to
/// date is for the reactors, which come afterwards.
class StaleStatus {
 public:
  explicit StaleStatus(const ConfigSm &configSm) : configSm_(configSm) {}
  void remove();

 private:
  bool isFresh() const;
  void gather();
  void removeBorders();
  void removeCandidateBsrs();
  void removeCandidateBsr(const Pax::IpGenPrefix &zone);
  void removeZoneOwners();
  void removeCandidateRps();
  void removePermits();

  Status &status() const;
  const std::string &vrfName() const;

  template <class Key>
  using ByInterface = std::set<std::pair<Pax::IntfId, Key>>;

  const ConfigSm &configSm_;
  // What the configuration supports.
  ByInterface<Pax::IpGenPrefix> borders_;
  std::set<Pax::IpGenPrefix> zones_;
  ByInterface<Pax::IpGenPrefix> zoneGroups_;
  ByInterface<std::string> zoneAcls_;
  ByInterface<Pax::IpGenPrefix> rpPrefixes_;
  ByInterface<Pax::IpGenPrefix> rpPriorities_;
  std::set<Pax::IpGenPrefix> permits_;
};

}  // namespace Routing::Pim::Bsr
