/// In which order ACLs change their rules in one reload.
#pragma once

#include <string>
#include <vector>

#include "daemon/Zones.h"

namespace Routing::Pim::Bsr {

/// Which interface offers each zone of a VRF, and which names each ACL for its zones.
struct OfferedZones {
  std::map<Pax::IpGenPrefix, Pax::IntfId> zone;
  std::map<std::string, Pax::IntfId> acl;
};
OfferedZones offeredZones(const Configuration &configuration, const L3::VrfName &vrf);

/// Whether somebody other than the interface offers it.
template <class Key>
bool byAnother(const std::map<Key, Pax::IntfId> &offers, const Key &key, const Pax::IntfId &intfId) {
  const auto found = offers.find(key);
  return found != offers.end() && found->second != intfId;
}

/// The ACLs in both whose rules differ. A prefix that moves from one ACL to another is permitted by
/// the new one first, so that it is never away; but where the two are zones of two interfaces, it is
/// given up first, so that it is never offered twice. Where both cannot be had, any order.
std::vector<std::string> changedAcls(const Configuration &before, const Configuration &wanted);

}  // namespace Routing::Pim::Bsr
