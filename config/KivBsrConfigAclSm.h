/// The reactor on what an ACL permits.
#pragma once

#include "config/BsrConfigAcl.h"
#include "platform/kiv/ReactorOf.h"

namespace Routing::Pim::Bsr {

class ConfigSm;

/// One per BsrConfigAcl, owned by ConfigSm. Tells the users of the ACL of each prefix that it starts or stops
/// permitting: borders first, then candidate BSRs, then candidate RPs. Writes nothing itself.
class KivBsrConfigAclSm : public Kiv::ReactorOf<BsrConfigAcl, ConfigSm> {
 public:
  using ReactorOf::ReactorOf;
  void onGrpPrefix(const Pax::IpGenPrefix &prefix) override { handlePrefix(prefix); }
  void onPrefix(const Pax::IpGenPrefix &prefix) override { handleUniPrefix(prefix); }

 private:
  void handlePrefix(const Pax::IpGenPrefix &prefix);
  void handleUniPrefix(const Pax::IpGenPrefix &prefix);
  const std::string &vrfName() const;
};

}  // namespace Routing::Pim::Bsr
