/// Tells of the RPs of a VRF: which came, changed and went, and why.
#pragma once

#include <array>
#include <optional>
#include <vector>

#include "engine/ZoneWatcher.h"
#include "view/BsrReporter.h"
#include "view/Reporting.h"
#include "view/RpOptions.h"

namespace Routing::Pim::Bsr {

/// Owned by the VRF's reporter, and told by the engine, of changes only. A change that comes alone is told at once, as
/// a notice. Of many that come together, as when a large RP set is learned or expires, the first `loud` are notices, as
/// many as `single` are told one by one for those who look (info), and all are counted: a notice for each zone says
/// how many they were, told ones included, after `first` seconds, and then every `further` seconds until nothing
/// changes any more.
class RpReporter {
 public:
  static constexpr size_t loud = 20;
  static constexpr size_t single = 50;
  static constexpr double first = 2;
  static constexpr double further = 10;
  static constexpr size_t zonesMost = 8;  ///< summed up one by one

  /// `bsrs` tells of the same VRF, and outlives this.
  RpReporter(Reporting &reporting, const Kiv::Ptr<const Status> &status,
             const Kiv::Ptr<const RpCandidateStatus> &published, const BsrReporter &bsrs)
      : reporting_(reporting),
        status_(status),
        published_(published),
        bsrs_(bsrs),
        sumTimer_(reporting.wheel(), *this) {}

  using RpAt = ZoneWatcher::RpAt;
  void rpCame(const RpAt &at);
  void rpChanged(const RpAt &at, const Pim::RpCandidate &rp);
  void rpWent(const RpAt &at, const Pim::RpCandidate &rp, bool withSet);
  void innermostChanged(const Pax::IpGenPrefix &prefix, const Pax::IpGenPrefix &before, const Pax::IpGenPrefix &now);
  /// Tells the single changes until now.
  void settle();

 private:
  enum class Fate : uint8_t { added, changed, withdrawn, expired, dropped, hidden, shown, count };

  struct Change {
    Fate fate = Fate::added;
    Pax::IpGenPrefix zone;
    Pax::IpGenPrefix prefix;
    Pax::IpGenAddr rp;
    bool isLoud = false;
    bool isFirst = false;  ///< that the RP advertised to us
    Pax::IpGenAddr bsr{};  ///< of the zone, when it happened
    std::optional<RpOptions> before{};
    std::string cause{};
    bool isAt(const RpAt &at) const { return rp == at.address && prefix == at.prefix && zone == at.zone; }
  };
  using Counts = std::array<uint64_t, size_t(Fate::count)>;

  /// Counts the change. Null when it is not told by itself.
  Change *note(Fate fate, const RpAt &at);
  /// The RPs of the zone's set of the prefix are published no more, or now, because of `other`.
  void noteAll(Fate fate, const Pax::IpGenPrefix &zone, const Pax::IpGenPrefix &prefix, const Pax::IpGenPrefix &other);
  void handleSumTime();
  void sumUpIn(double seconds);
  void tell(const Change &change);
  void tellSum(const Pax::IpGenPrefix &zone, const Counts &counts, double seconds);
  static std::string inWords(const Change &change, const std::optional<RpOptions> &now);
  std::string causeOf(const Change &change) const;
  std::string whyWithdrawn(const Change &change) const;
  /// The innermost zone with a BSR that decides for the prefix instead; empty where there is none.
  Pax::IpGenPrefix innerZoneOf(const Change &change) const;
  std::string whyDropped(const Change &change) const;
  bool isOurs(const Pax::IpGenPrefix &zone) const;

  Reporting &reporting_;
  const Kiv::Ptr<const Status> status_;
  const Kiv::Ptr<const RpCandidateStatus> published_;
  const BsrReporter &bsrs_;
  Change last_;                                // the last one counted
  std::vector<Change> changes_;                // to be told by themselves
  size_t toldSingly_ = 0;                      // since nothing changed for long
  uint64_t notLoud_ = 0;                       // since the last sum
  std::map<Pax::IpGenPrefix, Counts> counts_;  // likewise
  double countedFrom_ = 0;
  std::map<std::pair<Pax::IpGenPrefix, Pax::IpGenAddr>, size_t> collected_;  // by zone and RP, its ranges
  Orb::TimerFor<&RpReporter::handleSumTime> sumTimer_;
};

}  // namespace Routing::Pim::Bsr
