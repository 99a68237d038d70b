/// Keeps the trie of the sources whose advertisements are accepted in step with Status.crpPermit, so that
/// one lookup answers for each advertisement.
#pragma once

#include "model/Status.h"
#include "platform/kiv/ReactorOf.h"
#include "platform/routing/TrieGen.h"

namespace Routing::Pim::Bsr {

/// Owned by CrpMessageSm, which owns the trie too. It writes nothing but the trie. Which sources are
/// permitted, and that all are where no filter is configured, is settled in the configuration.
class PimBsrCrpPermitTrieBuilderSm {
 public:
  /// Stores every permitted prefix.
  PimBsrCrpPermitTrieBuilderSm(const Kiv::Ptr<const Status> &bsrStatus, const Kiv::Ptr<TrieGen> &trie);

  /// Changes made so far; a prefix that was there at construction counts twice.
  uint32_t trieUpdates() const { return trieUpdates_; }

 private:
  class KivBsrStatus : public Kiv::ReactorOf<Status, PimBsrCrpPermitTrieBuilderSm> {
    using ReactorOf::ReactorOf;
    void onCrpPermit(const Pax::IpGenPrefix &prefix) override { owner_.handleCrpPermit(prefix); }
  };

  const std::string &vrfName() const { return bsrStatus_->name(); }
  /// All prefixes, at construction.
  void handleCrpPermit();
  /// One that has come or gone.
  void handleCrpPermit(const Pax::IpGenPrefix &prefix);
  void trieUpdatesInc(uint32_t by) { trieUpdates_ += by; }

  const Kiv::Ptr<const Status> bsrStatus_;
  const Kiv::Ptr<TrieGen> trie_;
  uint32_t trieUpdates_ = 0;
  KivBsrStatus kivBsrStatus_;
};

}  // namespace Routing::Pim::Bsr
