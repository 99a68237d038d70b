#include "config/KivRpCandidateOptions.h"

#include "model/VrfTrace.h"

namespace Routing::Pim::Bsr {

namespace {
Tracelet::Module trace("Pim::Bsr::ConfigSm");
}

void KivRpCandidateConfig::KivGroupRangeOptions::handlePriority() {
  VRF_TRACE_ENTRY(trace);
  owner_.doGroupOptionsAdd(prefix_);
}

void KivRpCandidateConfig::KivAclOptions::handlePriority() {
  VRF_TRACE_ENTRY(trace);
  owner_.doAclOptionsAdd(acl_);
}

}  // namespace Routing::Pim::Bsr
