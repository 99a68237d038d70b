/// Tells of the BSR of each zone of a VRF: who it is, who it was, and why it is another.
#pragma once

#include <memory>
#include <set>

#include "platform/kiv/ReactorOf.h"
#include "view/Reporting.h"

namespace Routing::Pim::Bsr {

/// Owned by the VRF's reporter. It takes note of the zones that change and compares each, at the end of the turn, with
/// what it was. What is there when it is made is not news.
class BsrReporter {
 public:
  BsrReporter(Reporting &reporting, const Kiv::Ptr<const Status> &status);
  ~BsrReporter();

  void zoneForgotten(const Pax::IpGenPrefix &zone);
  /// Tells what has changed until now.
  void settle();
  /// The BSR of the zone until the change, if any, that is not told yet; zero for none.
  Pax::IpGenAddr lastTold(const Pax::IpGenPrefix &zone) const;

 private:
  class KivStatus;
  class KivBsr;
  class KivCandidate;

  /// A zone as it was told last.
  struct Known {
    Pax::IpGenAddr bsr;  ///< zero: none
    uint16_t priority = 0;
    bool isOurs = false;
    bool isSilent = false;  ///< it was heard too long ago, while this router is a candidate that may take over
    BsrCandidateState state = BsrCandidateState::unset;
  };

  void handleBootstrapRouter(const Pax::IpGenPrefix &zone);
  void handleCandidate(const Pax::IpGenPrefix &zone);
  void changed(const Pax::IpGenPrefix &zone);
  Known known(const Pax::IpGenPrefix &zone) const;
  void settle(const Pax::IpGenPrefix &zone);
  void tellCame(const Pax::IpGenPrefix &zone, const Known &now);
  void tellWent(const Pax::IpGenPrefix &zone, const Known &before);
  /// `consequence`, in words, is what comes next.
  void tellTimedOut(const Pax::IpGenPrefix &zone, const Known &before, uint32_t seconds, const char *consequence);
  void tellAnother(const Pax::IpGenPrefix &zone, const Known &before, const Known &now);
  void tellSame(const Pax::IpGenPrefix &zone, const Known &before, const Known &now);
  void tell(EventKind kind, Severity severity, const Pax::IpGenPrefix &zone, const Known &before, const Known &now,
            const std::string &cause, const std::string &text);

  Reporting &reporting_;
  const Kiv::Ptr<const Status> status_;
  const Pax::IpGenPrefix global_;
  std::map<Pax::IpGenPrefix, Known> known_;
  std::set<Pax::IpGenPrefix> zones_;  // scoped ones that were told of
  std::map<Pax::IpGenPrefix, std::unique_ptr<KivBsr>> bsr_;
  std::map<Pax::IpGenPrefix, std::unique_ptr<KivCandidate>> candidate_;
  std::set<Pax::IpGenPrefix> changed_;
  std::set<Pax::IpGenPrefix> timedOut_;  // of them, those whose BSR went when its time was over
  std::unique_ptr<KivStatus> kivStatus_;
};

}  // namespace Routing::Pim::Bsr
