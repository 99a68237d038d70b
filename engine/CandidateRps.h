/// The candidate RPs of this router in one VRF, and their advertisers.
///
/// Each priority that a candidate RP has for any of its prefixes is advertised by a machine of its own
/// (RpCandidateSm), since an advertisement carries one priority.
#pragma once

#include <memory>

#include "engine/RpCandidateSm.h"

namespace Routing::Pim::Bsr {

/// Owned by the engine. It follows the candidate RPs of the status, and makes and ends advertisers; it
/// writes no status. An advertiser that ends because its priority or its RP has gone says goodbye; the
/// end of the engine, or of its address family, is silent.
class CandidateRps {
 public:
  using Advertisers = Kiv::Table<CrpOptions, std::unique_ptr<RpCandidateSm>>;

  /// `random` outlives it.
  CandidateRps(const PimBsrSm &sm, Orb::Random &random);
  ~CandidateRps();

  /// From now on there are advertisers: handleCrp() makes those of a candidate RP. The engine has its trie.
  void begin();
  /// All advertisers end; there are none until the next begin().
  void end();

  /// The candidate RP is there, as if new, or has gone.
  void handleCrp(const Pax::IpGenAddr &rpAddress);

  const Advertisers &rpCandidateSm() const { return rpCandidateSm_; }

 private:
  class KivCrp;

  const std::string &vrfName() const { return sm_.vrfName(); }
  void rpCandidateSmIs(const CrpOptions &options);
  void rpCandidateSmDel(const CrpOptions &options);

  const PimBsrSm &sm_;
  Orb::Random &random_;
  bool begun_ = false;
  std::unique_ptr<CrpAdvertisements> advertisements_;
  Advertisers rpCandidateSm_;
  Kiv::Table<Pax::IpGenAddr, std::unique_ptr<KivCrp>> crp_;
};

}  // namespace Routing::Pim::Bsr
