/// The reactors behind a BsrConfigAcl: one on the rules that make it, one on what it permits.
#pragma once

#include <memory>

#include "config/ConfigSm.h"

namespace Routing::Pim::Bsr {

/// Follows the rules of one ACL of the ACL configuration, in whichever set of rules is in force.
class ConfigSm::KivAcl : public Acl::AclConfig::Notifiee {
 public:
  KivAcl(ConfigSm &configSm, const Kiv::Ptr<const Acl::AclConfig> &acl);
  void onCurrCfg() override { handleCfg(); }

  /// Brings the ACL's BsrConfigAcl, if it has one, to what the rules permit.
  void handleRule();

 private:
  class KivSubConfig : public Acl::AclSubConfig::Notifiee {
   public:
    explicit KivSubConfig(KivAcl &acl) : acl_(acl) {}
    void onRuleBySequence(const uint32_t &) override { acl_.handleRule(); }

   private:
    KivAcl &acl_;
  };

  void handleCfg();
  const std::string &vrfName() const { return configSm_.vrfName(); }

  ConfigSm &configSm_;
  KivSubConfig kivSubConfig_;
};

/// Tells the users of an ACL of each prefix that it starts or stops to permit.
class KivBsrConfigAclSm : public BsrConfigAcl::Notifiee {
 public:
  KivBsrConfigAclSm(ConfigSm &configSm, const Kiv::Ptr<const BsrConfigAcl> &bsrConfigAcl) : configSm_(configSm) {
    notifierIs(bsrConfigAcl);
  }
  void onGrpPrefix(const Pax::IpGenPrefix &prefix) override { handlePrefix(prefix); }
  void onPrefix(const Pax::IpGenPrefix &prefix) override { handleUniPrefix(prefix); }

 private:
  void handlePrefix(const Pax::IpGenPrefix &prefix);
  void handleUniPrefix(const Pax::IpGenPrefix &prefix);
  const std::string &vrfName() const { return configSm_.vrfName(); }

  ConfigSm &configSm_;
};

}  // namespace Routing::Pim::Bsr
