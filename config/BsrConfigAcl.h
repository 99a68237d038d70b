/// What an ACL permits, and who uses it.
#pragma once

#include "platform/kiv/Attributes.h"
#include "platform/pax/IntfId.h"
#include "platform/pax/IpGenPrefix.h"

namespace Routing::Pim::Bsr {

/// One per ACL that the configuration names. It holds what the ACL's rules permit from before its
/// first user is registered, and goes with the last one. An ACL that does not exist permits nothing.
class BsrConfigAcl : public Kiv::NamedEntity {
 public:
  using NamedEntity::NamedEntity;
  bool isUsed() const {
    return !borderIntf().empty() || !cbsrIntf().empty() || !crpIntf().empty() || usedByCrpAdvAclFilter();
  }

#define ATTRIBUTES(ATTRIBUTE)                                                                   \
  /* the permitted prefixes of multicast groups; one that reaches beyond them stands for all */ \
  ATTRIBUTE(set, Pax::IpGenPrefix, grpPrefix, GrpPrefix)                                        \
  /* all permitted prefixes that are not of groups alone */                                     \
  ATTRIBUTE(set, Pax::IpGenPrefix, prefix, Prefix)                                              \
  /* the interfaces that use the ACL in each role */                                            \
  ATTRIBUTE(set, Pax::IntfId, borderIntf, BorderIntf)                                           \
  ATTRIBUTE(set, Pax::IntfId, cbsrIntf, CbsrIntf)                                               \
  ATTRIBUTE(set, Pax::IntfId, crpIntf, CrpIntf)                                                 \
  /* whether it filters advertisements of candidate RPs */                                      \
  ATTRIBUTE(value, bool, usedByCrpAdvAclFilter, UsedByCrpAdvAclFilter, false)
  KIV_ENTITY(BsrConfigAcl, ATTRIBUTES)
#undef ATTRIBUTES
};

}  // namespace Routing::Pim::Bsr
