/// Keeps a trie whose prefixes are exactly the zones that have an elected BSR, so that the longest
/// match of a group prefix is the innermost zone with a known BSR.
#pragma once

#include <memory>

#include "model/Status.h"
#include "platform/kiv/ReactorOf.h"
#include "platform/routing/TrieGen.h"

namespace Routing::Pim::Bsr {

/// Owned by the engine, with the trie, whose only writer it is. Reads the elected BSRs of the status.
class PimBsrTrieBuilderSm {
 public:
  /// Stores every zone that has a BSR already.
  PimBsrTrieBuilderSm(const Kiv::Ptr<const Status> &bsrStatus, const Kiv::Ptr<TrieGen> &trie);

  /// Insertions and removals so far; changes of a BSR's address do not count.
  uint32_t trieUpdates() const { return trieUpdates_; }

 private:
  class KivBsr : public Kiv::ReactorOf<ElectedBsrStatus, PimBsrTrieBuilderSm> {
    using ReactorOf::ReactorOf;
    const std::string &vrfName() const { return owner_.vrfName(); }
    void onIpAddr() override { handleBsrIp(); }
    void handleBsrIp();
  };
  class KivBsrStatus : public Kiv::ReactorOf<Status, PimBsrTrieBuilderSm> {
    using ReactorOf::ReactorOf;
    void onBootstrapRouter(const Pax::IpGenPrefix &zone) override;
  };

  const std::string &vrfName() const { return bsrStatus_->name(); }
  void handleBsr();
  void handleBsr(const Pax::IpGenPrefix &zone);

  const Kiv::Ptr<const Status> bsrStatus_;
  const Kiv::Ptr<TrieGen> trie_;
  uint32_t trieUpdates_ = 0;
  Kiv::Table<Pax::IpGenPrefix, std::unique_ptr<KivBsr>> bsr_;
  KivBsrStatus kivBsrStatus_{*this, bsrStatus_};
};

}  // namespace Routing::Pim::Bsr
