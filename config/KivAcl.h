/// The reactor on the rules of an ACL.
#pragma once

#include "config/ConfigSm.h"

namespace Routing::Pim::Bsr {

/// One per ACL of the ACL configuration, owned by ConfigSm. Follows the set of rules in force and its rules, and
/// updates the ACL's BsrConfigAcl to what they permit.
class ConfigSm::KivAcl : public Kiv::ReactorOf<Acl::AclConfig, ConfigSm> {
 public:
  KivAcl(ConfigSm &configSm, const Kiv::Ptr<const Acl::AclConfig> &acl)
      : ReactorOf(configSm, acl), kivSubConfig_(*this, acl->currCfg()) {}
  void onCurrCfg() override { handleCfg(); }

  /// Does nothing for an ACL that the configuration does not name.
  void handleRule();

 private:
  class KivSubConfig : public Kiv::ReactorOf<Acl::AclSubConfig, KivAcl> {
   public:
    using ReactorOf::ReactorOf;
    void onRuleBySequence(const uint32_t &) override { owner_.handleRule(); }
  };

  void handleCfg();
  const std::string &vrfName() const { return owner_.vrfName(); }

  KivSubConfig kivSubConfig_;
};

}  // namespace Routing::Pim::Bsr
