/// An interface that is a BSR border, by explicit ranges and by ACLs.
#pragma once

#include "config/ConfigSm.h"

namespace Routing::Pim::Bsr {

/// Puts the interface into `Status.bsBorder` for every prefix that one of its sources names, whether or not
/// the interface exists or has an address. One per interface with an IntfConfig, owned by ConfigSm, for as long as the
/// interface is configured in the VRF. Elements are shared with other interfaces, whose part it never touches.
class KivActiveConfig : public Kiv::ReactorOf<IntfConfig, ConfigSm> {
 public:
  KivActiveConfig(ConfigSm &configSm, const Pax::IntfId &intfId, const Kiv::Ptr<const IntfConfig> &config)
      : ReactorOf(configSm, config), intfId_(intfId) {}
  void onBsrBorderGrp(const Pax::IpGenPrefix &prefix) override { handleBsrBorderGrp(prefix); }
  void onBsrBorderAcl(const std::string &acl) override { handleBsrBorderAcl(acl); }

  void handleInitialized();
  /// The configuration or the interface has left the VRF: withdraws all that it held.
  void handleDel();
  /// An ACL that the interface uses starts or stops permitting the prefix.
  void doAclPrefixActivate(const std::string &acl, const Pax::IpGenPrefix &prefix);
  void doAclPrefixDeactivate(const std::string &acl, const Pax::IpGenPrefix &prefix);

 private:
  void handleBsrBorderGrp(const Pax::IpGenPrefix &prefix);
  void handleBsrBorderAcl(const std::string &acl);
  void doGroupAdd(const Pax::IpGenPrefix &prefix, const char *set = " BSR Border set");
  void doAclPrefixAdd(const Pax::IpGenPrefix &prefix) { doGroupAdd(prefix, " BSR border set"); }
  void doGroupRemove(const Pax::IpGenPrefix &prefix);
  void doAclAdd(const std::string &acl);
  void doAclRemove(const std::string &acl);
  const std::string &vrfName() const { return owner_.vrfName(); }

  const Pax::IntfId intfId_;
};

}  // namespace Routing::Pim::Bsr
