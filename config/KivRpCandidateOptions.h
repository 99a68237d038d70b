/// The reactors on the priorities of a candidate RP: of its ranges, and of what its ACLs permit.
#pragma once

#include <string>

#include "config/KivRpCandidateConfig.h"

namespace Routing::Pim::Bsr {

/// One per range that has options, of the candidate's reactor, which decides what a priority comes to.
class KivRpCandidateConfig::KivGroupRangeOptions
    : public Kiv::ReactorOf<RpCandidateGroupEntryOptions, KivRpCandidateConfig> {
 public:
  KivGroupRangeOptions(KivRpCandidateConfig &candidate, const Pax::IpGenPrefix &prefix,
                       const Kiv::Ptr<const RpCandidateGroupEntryOptions> &options)
      : ReactorOf(candidate, options), prefix_(prefix) {}
  void onPriority() override { handlePriority(); }
  void handlePriority();

 private:
  const std::string &vrfName() const { return owner_.vrfName(); }
  const Pax::IpGenPrefix prefix_;
};

/// The same for an ACL.
class KivRpCandidateConfig::KivAclOptions : public Kiv::ReactorOf<RpCandidateAclEntryOptions, KivRpCandidateConfig> {
 public:
  KivAclOptions(KivRpCandidateConfig &candidate, const std::string &acl,
                const Kiv::Ptr<const RpCandidateAclEntryOptions> &options)
      : ReactorOf(candidate, options), acl_(acl) {}
  void onPriority() override { handlePriority(); }
  void handlePriority();

 private:
  const std::string &vrfName() const { return owner_.vrfName(); }
  const std::string acl_;
};

}  // namespace Routing::Pim::Bsr
