/// The engine's own reactors: they watch what it works from and call its handlers. Those of single
/// interfaces, BSRs and zones come and go with what they follow.
#pragma once

#include "engine/CandidateRps.h"
#include "engine/PimBsrSm.h"
#include "model/InternalStatus.h"
#include "model/Status.h"
#include "platform/kiv/ReactorOf.h"
#include "platform/pim/PimStatus.h"
#include "platform/routing/TrieGen.h"

namespace Routing::Pim::Bsr {

class PimBsrSm::KivBsrStatus : public Kiv::ReactorOf<Bsr::Status, PimBsrSm> {
  using ReactorOf::ReactorOf;
  void onAf() override { owner_.handleAf(); }
  // For the machines, of which there may be many: each zone that comes is told to everyone who watches the status.
  void onBsTimeout() override { owner_.handleBsTimeout(); }
  void onSzTimeout() override { owner_.handleSzTimeout(); }
  void onCbsr(const Pax::IpGenPrefix &zone) override { owner_.handleBsrCandidate(zone); }
  void onCrp(const Pax::IpGenAddr &rpAddress) override { owner_.candidateRps_->handleCrp(rpAddress); }
  void onBootstrapRouter(const Pax::IpGenPrefix &zone) override { owner_.handleBootstrapRouter(zone); }
  void onCrpStatus(const Pax::IpGenPrefix &zone) override { owner_.handleCrpStatus(zone); }
};

class PimBsrSm::KivBsmStatus : public Kiv::ReactorOf<PimBsmStatus, PimBsrSm> {
  using ReactorOf::ReactorOf;
  void onRxBsm() override { owner_.handleBsm(); }
};

class PimBsrSm::KivCrpMsgStatus : public Kiv::ReactorOf<PimCrpMsgStatus, PimBsrSm> {
  using ReactorOf::ReactorOf;
  void onReadCount() override { owner_.handleCrpMsg(); }
};

class PimBsrSm::KivPimStatus : public Kiv::ReactorOf<Pim::Status, PimBsrSm> {
  using ReactorOf::ReactorOf;
  void onPimIntf(const Pax::IntfId &intfId) override { owner_.handlePimIntf(intfId); }
};

class PimBsrSm::KivBsrTrie : public Kiv::ReactorOf<TrieGen, PimBsrSm> {
  using ReactorOf::ReactorOf;
  void onRoute(const Pax::IpGenPrefix &zone) override { owner_.handleBsrTrie(zone); }
};

/// Follows the elected BSR of one zone: a changed hash mask length of our own election goes to
/// every RP that we collected.
class PimBsrSm::KivBsr : public Kiv::ReactorOf<ElectedBsrStatus, PimBsrSm> {
  using ReactorOf::ReactorOf;
  const std::string &vrfName() const { return owner_.vrfName(); }
  void onHashMaskLen() override { handleHashMaskLen(); }
  void handleHashMaskLen();
};

}  // namespace Routing::Pim::Bsr
