/// Keeps a trie whose prefixes are exactly the zones that have an elected BSR, so that the longest
/// match of a group prefix is the innermost zone with a known BSR.
#pragma once

#include <memory>

#include "model/Status.h"
#include "platform/routing/TrieGen.h"

namespace Routing::Pim::Bsr {

class PimBsrTrieBuilderSm {
 public:
  /// Stores every zone that has a BSR already.
  PimBsrTrieBuilderSm(const Kiv::Ptr<const Status> &bsrStatus, const Kiv::Ptr<TrieGen> &trie);
  PimBsrTrieBuilderSm(const PimBsrTrieBuilderSm &) = delete;
  PimBsrTrieBuilderSm &operator=(const PimBsrTrieBuilderSm &) = delete;

  /// Insertions and removals so far; changes of a BSR's address do not count.
  uint32_t trieUpdates() const { return trieUpdates_; }

 private:
  /// Follows the elected BSR of one zone.
  class KivBsr : public ElectedBsrStatus::Notifiee {
   public:
    KivBsr(PimBsrTrieBuilderSm &builder, const Kiv::Ptr<const ElectedBsrStatus> &bsr) : builder_(builder) {
      notifierIs(bsr);
    }
    void onIpAddr() override { handleBsrIp(); }

   private:
    const std::string &vrfName() const { return builder_.vrfName(); }
    void handleBsrIp();
    PimBsrTrieBuilderSm &builder_;
  };
  class KivBsrStatus : public Status::Notifiee {
   public:
    explicit KivBsrStatus(PimBsrTrieBuilderSm &builder) : builder_(builder) { notifierIs(builder.bsrStatus_); }
    void onBootstrapRouter(const Pax::IpGenPrefix &zone) override;

   private:
    PimBsrTrieBuilderSm &builder_;
  };

  const std::string &vrfName() const { return bsrStatus_->name(); }
  void handleBsr();
  void handleBsr(const Pax::IpGenPrefix &zone);

  const Kiv::Ptr<const Status> bsrStatus_;
  const Kiv::Ptr<TrieGen> trie_;
  uint32_t trieUpdates_ = 0;
  Kiv::Table<Pax::IpGenPrefix, std::unique_ptr<KivBsr>> bsr_;
  KivBsrStatus kivBsrStatus_;
};

}  // namespace Routing::Pim::Bsr
