/// What is told of an agent and its VRFs in numbers.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/orb/DurationCounts.h"
#include "view/Event.h"
#include "view/VrfView.h"

namespace Routing::Pim::Bsr {

/// The same number for the same RP set, in whatever order its RPs are added. RPs count with what maps groups to them:
/// range, address, mode, priority and hash mask length. Equal on every router and every build.
class RpSetDigest {
 public:
  void add(const Pax::IpGenPrefix &range, const Pax::IpGenAddr &address, const Pim::RpCandidate &rp);
  /// At most 53 bits, which a sample holds without loss. 0 for no RPs.
  uint64_t value() const { return sum_ >> 11; }

 private:
  uint64_t sum_ = 0;
};

/// Saves of the state file.
struct Saves {
  uint64_t succeeded = 0;
  uint64_t failed = 0;
  double duration = 0;  ///< of the last one, in seconds
};

/// Of the process; made for one answer.
struct AgentFigures {
  std::string agent;
  bool active = true;
  bool reloadFailed = false;
  Orb::DurationCounts turns;  ///< of the loop
  uint64_t droppedTraces = 0;
  Saves saves;
  std::map<EventKind, uint64_t> events;
};

/// Of one VRF; read a slice at a time, so that a large RP set does not hold the loop up.
class VrfFigures {
 public:
  struct Zone {
    Pax::IpGenAddr bsr;  ///< zero: none
    uint16_t priority = 0;
    bool elected = false;
    double upTime = 0;                                                          ///< of the BSR, in seconds
    std::optional<double> messageAge;                                           ///< of the BSR's last one, in seconds
    std::map<Mode::Number, uint64_t> rps{{Mode::sparse, 0}, {Mode::bidir, 0}};  ///< published
    RpSetDigest digest;                                                         ///< of these
  };
  struct Messages {
    const char *direction, *type, *result;
    std::string reason;  ///< may be empty
    uint64_t number;
  };

  explicit VrfFigures(const L3::VrfName &vrf) : vrf(vrf) {}

  /// Reads on in the VRF as it is now. True while there is more. A range that changes meanwhile counts as it was or as
  /// it is.
  bool readOn(const VrfView &view);

  L3::VrfName vrf;
  bool running = false;
  std::map<Pax::IpGenPrefix, Zone> zones;
  std::vector<std::pair<Pax::IntfId, size_t>> neighbors;
  std::vector<Messages> messages;
  Limits limits;
  PimBsrLimitCounters refusals;
  uint64_t refusedNeighbors = 0;
  uint64_t echoes = 0;

 private:
  void begin(const VrfView &view);
  void readAgentMessages(const PimBsrCounters &counters);
  void readPackets(const Flume::MessageCounters &counters);

  bool begun_ = false;
  Pax::IpGenPrefix last_;  // range that was read
};

}  // namespace Routing::Pim::Bsr
