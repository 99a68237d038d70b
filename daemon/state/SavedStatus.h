/// The part of a VRF's status that is saved, as JSON, and the RP set that it published. What follows from the
/// configuration is not saved.
#pragma once

#include <nlohmann/json.hpp>
#include <vector>

#include "model/Status.h"

namespace Routing::Pim::Bsr {

/// Values that were copied from it, which a thread may have.
class CopiedStatus {
 public:
  CopiedStatus();
  void candidateIs(const Pax::IpGenPrefix &zone, const BsrCandidate &candidate);
  void bsrIs(const Pax::IpGenPrefix &zone, const ElectedBsrStatus &bsr);
  void learnedIn(const Pax::IpGenPrefix &zone);
  void learnedIs(const Pax::IpGenPrefix &zone, const Pax::IpGenPrefix &range, const RpCandidateSet &set);
  void publishedIs(const Pax::IpGenPrefix &range, const RpCandidateSet &set);

  /// What the file has of it; takes some ten times as long as copying.
  nlohmann::json json() const;

 private:
  struct Rp {
    Pax::IpGenAddr address;
    Mode mode;
    RpPriority priority;
    CrpHoldTime holdTime;
    RpHashMaskLen hashMaskLen;
    double setupTime;
    double expires;
  };
  struct Range {
    Pax::IpGenPrefix zone;  // empty for what is published
    Pax::IpGenPrefix range;
    std::vector<Rp> rps;
  };
  void rangeIs(const Pax::IpGenPrefix &zone, const Pax::IpGenPrefix &range, const RpCandidateSet &set);
  static nlohmann::json rpsJson(const std::vector<Rp> &rps);

  nlohmann::json elections_;
  std::vector<Range> ranges_;
};

/// Copies it a slice at a time, while the agent runs. Each range of groups is as of one instant, with what is learned
/// for it and what is published; so is each election. That is enough for a load: no range depends on another one, and
/// each RP is good until its own time ends.
class SavedVrf {
 public:
  /// `published` may be null.
  SavedVrf(const Kiv::Ptr<const Status> &status, const Kiv::Ptr<const RpCandidateStatus> &published);

  /// Takes about so many RPs and elections, but at least one range. True when nothing is left.
  bool take(size_t most);
  /// Takes the rest and gives all away.
  CopiedStatus copied();

 private:
  struct Part {
    enum Kind { candidate, bsr, learned, published };
    Kind kind;
    Pax::IpGenPrefix range;  // empty for the elections
    Pax::IpGenPrefix zone;   // empty for what is published
  };
  size_t take(const Part &part);

  const Kiv::Ptr<const Status> status_;
  const Kiv::Ptr<const RpCandidateStatus> published_;
  std::vector<Part> parts_;
  size_t next_ = 0;
  CopiedStatus copy_;
};

/// What values are checked against; `now` is a time of the boot clock, in seconds.
struct SavedRange {
  Pax::AddressFamily af;
  double now;
};
/// Throws a std::exception for anything out of range, when some of it may have been written.
void readStatus(const nlohmann::json &json, const SavedRange &range, Status &status, RpCandidateStatus &published);

/// The members of an object, by name; throws Kiv::RangeError for anything else.
const nlohmann::json::object_t &membersOf(const nlohmann::json &json);

}  // namespace Routing::Pim::Bsr
