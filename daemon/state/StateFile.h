/// The state file: what the agent has learned, kept through a restart or a crash of its process.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

#include "model/Status.h"
#include "platform/orb/TimerFor.h"
#include "platform/pim/PimSystem.h"

namespace Routing::Pim::Bsr {

/// Holds for each VRF the elected BSRs, the RPs learned and published, and the elections that this router won, in
/// the form in which `show state` shows them; the rest of the status follows from the configuration. Times are those
/// of the boot clock, so a file is good for one boot of the machine only, and for one network namespace: the
/// interfaces of another one have other neighbors.
///
/// It is written, under another name first, on save() and after changes, at most every five seconds. What is watched
/// are the messages and the coming and going of BSRs and zones; RPs that expire in between expire after a load, too.
/// The daemon owns it. Only load() writes to the status.
class StateFile {
 public:
  struct Identity {
    std::string path;
    Pax::AddressFamily af;
    std::string boot;  ///< as of thisBoot(); when empty, no file is of this boot
  };

  /// What is saved, and read back.
  struct Contents {
    Kiv::Ptr<StatusColl> statusColl;
    Kiv::Ptr<RpCandidateStatusColl> rpCandidateStatusColl;
  };

  StateFile(Identity identity, const Contents &contents, const Orb::Clock &clock,
            const Kiv::Ptr<Orb::TimerWheel> &wheel);
  ~StateFile();

  /// Writes what the file has into the status, before an agent runs on it. A file of which any part is
  /// not usable is ignored, with a trace.
  void load();
  /// Writes the file if it would change. The first of several failures is traced.
  void save();

  /// The boot of the machine and the network namespace of the process; empty if that cannot be read.
  static std::string thisBoot();

 private:
  class KivStatusColl;

  void handleChange();
  void read(const nlohmann::json &json, const Contents &contents) const;
  std::string text() const;
  std::string write(const std::string &text) const;

  const Identity identity_;
  const Contents contents_;
  const Orb::Clock &clock_;
  Orb::TimerFor<&StateFile::save> timer_;
  double savedAt_ = 0;
  std::string saved_;
  bool failed_ = false;
  std::unique_ptr<KivStatusColl> kivStatusColl_;
};

}  // namespace Routing::Pim::Bsr
