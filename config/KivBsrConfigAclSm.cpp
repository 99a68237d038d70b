#include "config/KivBsrConfigAclSm.h"

#include "config/ConfigSm.h"
#include "config/KivActiveConfig.h"
#include "config/KivBsrCandidateConfig.h"
#include "config/KivRpCandidateConfig.h"
#include "model/VrfTrace.h"

namespace Routing::Pim::Bsr {

static Tracelet::Module trace("Pim::Bsr::ConfigSm");

const std::string &KivBsrConfigAclSm::vrfName() const { return owner_.vrfName(); }

void KivBsrConfigAclSm::handlePrefix(const Pax::IpGenPrefix &prefix) {
  VRF_TRACE_ENTRY(trace);
  const Kiv::Ptr<const BsrConfigAcl> acl(notifier());
  const bool permitted = acl->grpPrefix(prefix);
  VRF_TRACE(trace, 4,
            (permitted ? "Group added to BsrConfigAcl Map " : "Group deleted from the BsrConfigAcl Map ") << prefix);
  const auto tell = [&](auto *user) {
    if (!user) return;
    if (permitted) {
      user->doAclPrefixActivate(acl->name(), prefix);
    } else {
      user->doAclPrefixDeactivate(acl->name(), prefix);
    }
  };
  for (const Pax::IntfId &intfId : acl->borderIntf().keys()) tell(owner_.activeConfig(intfId));
  for (const Pax::IntfId &intfId : acl->cbsrIntf().keys()) tell(owner_.bsrCandidateConfig(intfId));
  for (const Pax::IntfId &intfId : acl->crpIntf().keys()) tell(owner_.rpCandidateConfig(intfId));
}

void KivBsrConfigAclSm::handleUniPrefix(const Pax::IpGenPrefix &prefix) {
  VRF_TRACE_ENTRY(trace);
  const bool permitted = notifier()->prefix(prefix);
  VRF_TRACE(
      trace, 4,
      (permitted ? "Unicast prefix added to BsrConfigAcl Map " : "Unicast prefix deleted from the BsrConfigAcl Map ")
          << prefix);
  if (!notifier()->usedByCrpAdvAclFilter()) return;
  if (permitted) {
    owner_.doFilterAclPrefixActivate(prefix);
  } else {
    owner_.doFilterAclPrefixDeactivate(prefix);
  }
}

}  // namespace Routing::Pim::Bsr
