#include "daemon/file/AclRules.h"

#include <algorithm>

namespace Routing::Pim::Bsr {

AclRules rulesOf(const Acl::AclConfig &acl) {
  AclRules rules;
  if (!acl.currCfg()) return rules;
  auto sequence = acl.currCfg()->ruleBySequence().keys();
  std::sort(sequence.begin(), sequence.end());
  for (const uint32_t number : sequence) rules.push_back(*acl.currCfg()->ruleBySequence(number));
  return rules;
}

AclRules rulesOfWhatStays(const PermittedPrefixes &now, const PermittedPrefixes &next) {
  AclRules rules;
  for (const auto part : {&PermittedPrefixes::groups, &PermittedPrefixes::unicast}) {
    for (const Pax::IpGenPrefix &prefix : now.*part) {
      if ((next.*part).contains(prefix)) rules.push_back({Acl::Action::permit, {prefix}});
    }
  }
  return rules;
}

}  // namespace Routing::Pim::Bsr
