/// The element of a candidate RP in `Status.crp`: the claim to the address that is its key, and what sources make of
/// it.
#pragma once

#include <functional>
#include <string>

#include "config/ConfigSm.h"

namespace Routing::Pim::Bsr {

/// Part of KivRpCandidateConfig, which alone changes the element, through this class or in it. An address serves one
/// interface: an element stands under the address that was claimed, and it is this interface's only as long as it
/// names it as its own. It never looks at the interface's address: when to claim is for the owner to say.
class RpCandidateElement {
 public:
  RpCandidateElement(ConfigSm &configSm, const Kiv::Ptr<const RpCandidateConfig> &config)
      : configSm_(configSm), config_(config) {}

  /// Whether another interface's element stands under the address.
  bool isTaken(const Pax::IpGenAddr &address) const;
  /// Zero while no address is claimed.
  const Pax::IpGenAddr &address() const { return address_; }
  void addressIs(const Pax::IpGenAddr &address) { address_ = address; }

  /// This interface's element, empty while there is none.
  Kiv::Ptr<RpCandidate> crp() const;
  /// Creates it with what is configured for all of it. There is an address, and no element yet.
  void create();
  /// Counts a source of the prefix less. The last one takes the prefix with it, and the last prefix the element.
  void sourceDel(const Pax::IpGenPrefix &prefix);
  void deleteIfIdle();
  /// Brings the prefix's priority to what its sources say: that of the one that stands, or none.
  void settle(const Pax::IpGenPrefix &prefix);
  /// The same after a source of the priority went; `because` says why there still is one.
  void prioritySourceDel(const Pax::IpGenPrefix &prefix, const char *because);

 private:
  Status &status() const { return *configSm_.status(); }
  const std::string &vrfName() const { return configSm_.vrfName(); }

  ConfigSm &configSm_;
  const Kiv::Ptr<const RpCandidateConfig> config_;
  Pax::IpGenAddr address_;
};

}  // namespace Routing::Pim::Bsr
