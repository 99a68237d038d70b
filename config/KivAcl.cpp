#include "config/KivAcl.h"

#include "model/VrfTrace.h"

namespace Routing::Pim::Bsr {

static Tracelet::Module trace("Pim::Bsr::ConfigSm");

void ConfigSm::KivAcl::handleCfg() {
  VRF_TRACE_ENTRY(trace);
  kivSubConfig_.notifierIs(notifier()->currCfg());
  handleRule();
}

void ConfigSm::KivAcl::handleRule() {
  VRF_TRACE_ENTRY(trace);
  const std::string &acl = notifier()->name();
  const Kiv::Ptr<BsrConfigAcl> bsrConfigAcl = owner_.bsrConfigAcl(acl);
  if (!bsrConfigAcl) return;
  VRF_TRACE(trace, 4, "Acl name found in BSR config " << acl);
  if (!owner_.ipAclConfig_->acl(acl)) return;
  VRF_TRACE(trace, 4, "Acl name found in ACL config");
  owner_.doResolve(*bsrConfigAcl);
  owner_.doHandOverCrps();
}

}  // namespace Routing::Pim::Bsr
