/// Keeps the trie of permitted advertisers in step with Status.crpPermit.
#pragma once

#include "model/Status.h"
#include "platform/routing/TrieGen.h"

namespace Routing::Pim::Bsr {

class PimBsrCrpPermitTrieBuilderSm {
 public:
  /// Stores every permitted prefix.
  PimBsrCrpPermitTrieBuilderSm(const Kiv::Ptr<const Status> &bsrStatus, const Kiv::Ptr<TrieGen> &trie);
  PimBsrCrpPermitTrieBuilderSm(const PimBsrCrpPermitTrieBuilderSm &) = delete;
  PimBsrCrpPermitTrieBuilderSm &operator=(const PimBsrCrpPermitTrieBuilderSm &) = delete;

  /// Changes made so far; a prefix that was there at construction counts twice.
  uint32_t trieUpdates() const { return trieUpdates_; }

 private:
  class KivBsrStatus : public Status::Notifiee {
   public:
    explicit KivBsrStatus(PimBsrCrpPermitTrieBuilderSm &sm) : sm_(sm) { notifierIs(sm.bsrStatus_); }
    void onCrpPermit(const Pax::IpGenPrefix &prefix) override { sm_.handleCrpPermit(prefix); }

   private:
    PimBsrCrpPermitTrieBuilderSm &sm_;
  };

  const std::string &vrfName() const { return bsrStatus_->name(); }
  void handleCrpPermit();
  void handleCrpPermit(const Pax::IpGenPrefix &prefix);
  void trieUpdatesInc(uint32_t by) { trieUpdates_ += by; }

  const Kiv::Ptr<const Status> bsrStatus_;
  const Kiv::Ptr<TrieGen> trie_;
  uint32_t trieUpdates_ = 0;
  KivBsrStatus kivBsrStatus_;
};

}  // namespace Routing::Pim::Bsr
