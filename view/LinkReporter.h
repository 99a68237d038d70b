/// Tells of the interfaces of a VRF that are configured for PIM, of their neighbors and DRs.
#pragma once

#include <memory>
#include <optional>
#include <set>

#include "platform/kiv/ReactorOf.h"
#include "platform/pim/PimStatus.h"
#include "view/Reporting.h"

namespace Routing::Pim::Bsr {

/// Owned by the VRF's reporter. It takes note of what changes and compares it, at the end of the turn, with what it
/// was. The interfaces and neighbors that are there when it is made are no news; what is not there is.
class LinkReporter {
 public:
  LinkReporter(Reporting &reporting, const Kiv::Ptr<const Pim::Status> &pimStatus,
               const Kiv::Ptr<const Ip::AllIntfStatusDir> &interfaces);
  ~LinkReporter();

  /// Other interfaces are configured.
  void handleConfig();
  /// Tells what has changed until now.
  void settle();

 private:
  class KivPimStatus;
  class KivInterfaces;
  class KivPimIntf;
  class KivNeighbor;

  enum class State : uint8_t { unknown, on, off, missing };

  /// A neighbor as it was told last.
  struct KnownNeighbor {
    std::optional<uint32_t> drPriority{};
    std::set<Pax::IpGenAddr> secondary{};
  };
  /// An interface as it was told last.
  struct Known {
    State state = State::unknown;
    Pax::IpGenAddr address{};  ///< of this router
    uint32_t mtu = 0;
    Pax::IpGenAddr dr{};
    std::map<Pax::IpGenAddr, KnownNeighbor> neighbors{};
  };

  void handlePimIntf(const Pax::IntfId &intfId);
  void changed(const Pax::IntfId &intfId);
  void settle(const Pax::IntfId &intfId);
  void settleState(const Pax::IntfId &intfId, Known &known);
  void settleValues(const Pax::IntfId &intfId, Known &known, const PimIntf &intf);
  void settleDr(const Pax::IntfId &intfId, Known &known, const PimIntf &intf);
  void settleNeighbors(const Pax::IntfId &intfId, Known &known, const PimIntf &intf);
  void settleGone(const Pax::IntfId &intfId, Known &known, const PimIntf &intf);
  static KnownNeighbor knownOf(const PimNeighbor &neighbor);
  void tellState(const Pax::IntfId &intfId, const Known &known, const std::string &why);
  Event eventOf(EventKind kind, const Pax::IntfId &intfId, const Pax::IpGenAddr &neighbor) const;
  void tellNeighbor(EventKind kind, Severity severity, const Pax::IntfId &intfId, const Pax::IpGenAddr &neighbor,
                    const char *verb, const std::string &cause);
  void tellChanged(const Pax::IntfId &intfId, const Pax::IpGenAddr &neighbor, const KnownNeighbor &before,
                   const KnownNeighbor &now);
  std::string whyLeft(const PimIntf &intf, const Pax::IpGenAddr &address, const PimNeighbor &neighbor) const;

  Reporting &reporting_;
  const Kiv::Ptr<const Pim::Status> pimStatus_;
  const Kiv::Ptr<const Ip::AllIntfStatusDir> interfaces_;
  std::map<Pax::IntfId, Known> known_;
  std::map<Pax::IntfId, std::unique_ptr<KivPimIntf>> pimIntf_;
  std::set<Pax::IntfId> changed_;
  std::unique_ptr<KivPimStatus> kivPimStatus_;
  std::unique_ptr<KivInterfaces> kivInterfaces_;
};

}  // namespace Routing::Pim::Bsr
