/// The element of a candidate RP in `Status.crp`: its address, its prefixes and their priorities.
#pragma once

#include <string>

#include "config/ConfigSm.h"

namespace Routing::Pim::Bsr {

/// Part of KivRpCandidateConfig; nobody else changes the element. An address serves one interface: the element under
/// the claimed address is this interface's own only while it carries its name. This class never looks at the
/// interface's address: its owner decides when to claim one.
class RpCandidateElement {
 public:
  RpCandidateElement(ConfigSm &configSm, const Kiv::Ptr<const RpCandidateConfig> &config)
      : configSm_(configSm), config_(config) {}

  /// Whether another interface's element is stored under the address.
  bool isTaken(const Pax::IpGenAddr &address) const;
  /// Zero while no address is claimed.
  const Pax::IpGenAddr &address() const { return address_; }
  void addressIs(const Pax::IpGenAddr &address) { address_ = address; }

  /// This interface's element, empty while there is none.
  Kiv::Ptr<RpCandidate> crp() const;
  /// Creates it, with interval and mode. An address must be claimed, and no element be there yet.
  void create();
  /// Counts one source of the prefix less. Without a source the prefix goes, and without a prefix the element.
  void sourceDel(const Pax::IpGenPrefix &prefix);
  void deleteIfIdle();
  /// Brings the prefix's priority in status to what its sources say, or deletes it where none has one.
  void settle(const Pax::IpGenPrefix &prefix);
  /// The same after a source of the priority has gone; `because` is for the trace where another one remains.
  void prioritySourceDel(const Pax::IpGenPrefix &prefix, const char *because);

 private:
  Status &status() const { return *configSm_.status(); }
  const std::string &vrfName() const { return configSm_.vrfName(); }

  ConfigSm &configSm_;
  const Kiv::Ptr<const RpCandidateConfig> config_;
  Pax::IpGenAddr address_;
};

}  // namespace Routing::Pim::Bsr
