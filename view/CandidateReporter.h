/// Tells which of a VRF's candidates are in force, and why others are not.
#pragma once

#include <memory>

#include "platform/kiv/ReactorOf.h"
#include "view/Reporting.h"

namespace Routing::Pim::Bsr {

/// Owned by the VRF's reporter. It compares what "show candidate-bsr" and "show candidate-rp" say with what they said
/// before, a moment after something has changed, since a configuration comes in many steps. Zones of one interface with
/// the same reason are one event.
class CandidateReporter {
 public:
  static constexpr double delay = 1;  ///< seconds

  CandidateReporter(Reporting &reporting, const Kiv::Ptr<const Status> &status);
  ~CandidateReporter();

  /// Something is configured otherwise, perhaps.
  void handleConfig() { changed(); }

 private:
  class KivStatus;
  class KivCandidate;

  struct Candidate {
    std::string role;  ///< "BSR" or "RP"
    std::string interface;
    std::string zone;  ///< empty for an RP
    auto operator<=>(const Candidate &) const = default;
  };
  struct Force {
    bool isIn = false;
    std::string reason;
    auto operator<=>(const Force &) const = default;
  };
  using Forces = std::map<Candidate, Force>;

  void handleCandidate(const Pax::IpGenPrefix &zone);
  void changed();
  void compare();
  Forces forces() const;
  void tell(const Candidate &first, const Force &force, size_t others, bool isNew);

  Reporting &reporting_;
  const Kiv::Ptr<const Status> status_;
  Forces known_;
  std::map<Pax::IpGenPrefix, std::unique_ptr<KivCandidate>> candidate_;
  Orb::TimerFor<&CandidateReporter::compare> timer_;
  std::unique_ptr<KivStatus> kivStatus_;
};

}  // namespace Routing::Pim::Bsr
