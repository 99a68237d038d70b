/// What a candidate's machine does when its configuration changes, or when it wins or loses the election.
#pragma once

#include "engine/BsrCandidateSm.h"
#include "platform/kiv/ReactorOf.h"

namespace Routing::Pim::Bsr {

/// Owned by the machine, whose state it changes in the machine's place; it has none of its own.
class BsrCandidateSm::KivCandidate : public Kiv::ReactorOf<BsrCandidate, BsrCandidateSm> {
 public:
  using ReactorOf::ReactorOf;
  void onAddress() override { handleIpChange(); }
  void onPriority() override { handlePriority(); }
  void onHashMaskLen() override { handleHashMaskLen(); }
  void onBsPeriod() override { handleBsPeriod(); }
  void onElected() override { handleElected(); }

 private:
  const std::string &vrfName() const { return owner_.vrfName(); }
  void handleIpChange();
  void handlePriority();
  void handleHashMaskLen();
  void handleBsPeriod();
  void handleElected();
  bool staysElected() const;
  void publish();
};

}  // namespace Routing::Pim::Bsr
