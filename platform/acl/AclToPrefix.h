/// From the rules of an ACL to the prefixes that it permits.
#pragma once

#include <memory>
#include <vector>

#include "platform/acl/Acl.h"

namespace AclPrefix {

/// Takes the rules of one ACL in the order of their sequence numbers and says what they permit together. What an
/// earlier rule has decided is out of reach of the later ones; what no rule decides is denied. It works on sets
/// of address intervals, so adjacent permitted ranges become one prefix if they fill it, and a hole becomes the
/// prefixes around it.
class AclToPrefix {
 public:
  /// A family other than IPv4 and IPv6 is fatal.
  explicit AclToPrefix(Pax::AddressFamily af);
  ~AclToPrefix();

  /// A rule whose source is of the other family matches nothing.
  void handleRule(const Acl::IpRule &rule);
  /// The fewest prefixes that hold exactly the permitted addresses, in ascending order.
  std::vector<Pax::IpGenPrefix> PermittedPrefixes() const;

 private:
  class Intervals;
  std::unique_ptr<Intervals> intervals_;
};

/// The prefixes that the ACL's current rules permit; none for an ACL without rules.
std::vector<Pax::IpGenPrefix> permittedPrefixes(const Acl::AclConfig &acl, Pax::AddressFamily af);

}  // namespace AclPrefix
