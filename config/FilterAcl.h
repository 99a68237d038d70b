/// The sources whose advertisements are accepted.
#pragma once

#include <string>

#include "config/PrefixRefCount.h"

namespace Routing::Pim::Bsr {

class ConfigSm;
class Status;

/// Part of ConfigSm, and the writer of `Status.crpPermit`: all addresses while no filter ACL is named, else what the
/// named ones permit. Each ACL that permits a prefix is a source of it; "no filter ACL is named" is one more.
class FilterAcl {
 public:
  explicit FilterAcl(ConfigSm &configSm) : configSm_(configSm) {}
  /// Applies what is configured at the start.
  void handleInitialized();
  /// The configuration starts or stops naming the ACL as a filter.
  void handleFilterAcl(const std::string &acl);
  /// A filter ACL starts or stops permitting the prefix.
  void doFilterAclPrefixActivate(const Pax::IpGenPrefix &prefix);
  void doFilterAclPrefixDeactivate(const Pax::IpGenPrefix &prefix);

 private:
  void doPermitAll(bool permitAll);
  void doFilterAclAdd(const std::string &acl);
  void doFilterAclRemove(const std::string &acl);
  Status &status() const;
  const std::string &vrfName() const;

  ConfigSm &configSm_;
  PrefixRefCount crpFilterAclPfxRefCount_;
  bool permitAll_ = false;  ///< whether all addresses are counted, since no filter ACL is named
};

}  // namespace Routing::Pim::Bsr
