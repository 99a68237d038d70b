/// The state file: what the agent has learned, kept through a restart or a crash of its process.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "model/Status.h"
#include "platform/orb/TimerWheel.h"
#include "platform/pim/PimSystem.h"

namespace Routing::Pim::Bsr {

/// Holds of each VRF the elected BSRs, the RPs learned and published, and its own elections, in the form of
/// the generic view of the store; the rest of the status follows from the configuration. Its times are
/// of the boot clock, so it counts for one boot of the machine only, and for agents in one network
/// namespace: another one's interfaces have other neighbours.
///
/// It is written, under another name first, on save() and after changes, at most every five seconds.
/// Changes come with messages or with a BSR's end and are noticed by these; RPs that expire in between
/// expire after a load, too.
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
  StateFile(const StateFile &) = delete;
  StateFile &operator=(const StateFile &) = delete;

  /// Writes what the file has into the status, before an agent runs on it. A file that cannot be used
  /// as a whole is ignored, with a trace.
  void load();
  /// Writes the file if it would change. The first of several failures is traced.
  void save();

  /// The boot of the machine and the network namespace of the process; empty if that cannot be read.
  static std::string thisBoot();

 private:
  class KivStatusColl;
  class SaveTimer : public Orb::Timer {
   public:
    SaveTimer(StateFile &file, const Kiv::Ptr<Orb::TimerWheel> &wheel) : Timer(wheel), file_(file) {}
    void onTime() override { file_.save(); }

   private:
    StateFile &file_;
  };

  void handleChange();
  void read(const nlohmann::json &json, const Contents &contents) const;
  std::string text() const;
  std::string write(const std::string &text) const;

  const Identity identity_;
  const Contents contents_;
  const Orb::Clock &clock_;
  SaveTimer timer_;
  double savedAt_ = 0;
  std::string saved_;
  bool failed_ = false;
  std::unique_ptr<KivStatusColl> kivStatusColl_;
};

}  // namespace Routing::Pim::Bsr
