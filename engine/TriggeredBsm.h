/// The messages that a new or restarted neighbor is sent (RFC 5059 section 3.5).
///
/// The DR of the link sends the last messages of every zone, and so does the router that is the DR
/// without the neighbors that are new: a DR that has just restarted has nothing to send. A router
/// that has stopped being the DR does so once more. Whoever has come or restarted within the last 15
/// seconds is new.
#pragma once

#include "engine/PimBsrSm.h"
#include "platform/kiv/ReactorOf.h"
#include "platform/pim/PimStatus.h"

namespace Routing::Pim::Bsr {

/// Follows one PIM interface; owned by the engine, which sends what is due.
class PimBsrSm::KivPimIntf : public Kiv::ReactorOf<PimIntf, PimBsrSm> {
 public:
  KivPimIntf(PimBsrSm &sm, const Pax::IntfId &intfId, const Kiv::Ptr<const PimIntf> &pimIntf);
  void onIsDr() override { handleDrChange(); }
  void onTriggeredHelloSent() override { handleTriggeredHelloSent(); }

 private:
  const std::string &vrfName() const { return owner_.vrfName(); }
  void handleDrChange();
  void handleTriggeredHelloSent();
  void doSendNoFwdBsm();
  double newSince() const;
  bool isNewcomer() const;
  bool isDrWithoutTheNew() const;

  const Pax::IntfId intfId_;
  bool isDr_;
  bool wasDr_ = false;  // until the next triggered Hello
};

}  // namespace Routing::Pim::Bsr
