/// The state file: what the agent has learned, kept through a restart or a crash of its process.
#pragma once

#include <functional>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <string>

#include "model/Status.h"
#include "platform/ip/VrfStatus.h"
#include "platform/orb/Background.h"
#include "platform/orb/TimerFor.h"
#include "platform/pim/PimSystem.h"
#include "view/Figures.h"

namespace Routing::Pim::Bsr {

/// Holds for each VRF the elected BSRs, the RPs learned and published, and the elections that this router won, in
/// the form in which `show state` shows them; the rest of the status follows from the configuration. Times are those
/// of the boot clock, so a file is good for one boot of the machine only, and for one network namespace: the
/// interfaces of another one have other neighbors. For the same reason it names for each VRF the namespace and the vrf
/// device in which that was learned.
///
/// It is written, under another name first, on save() and after changes, at most every five seconds. What is watched
/// are the messages and the coming and going of BSRs and zones; RPs that expire in between expire after a load, too.
/// After changes it takes the status in slices, one in a turn of the loop (SavedVrf says what is then of one instant),
/// and makes and writes the text in the background. The daemon owns it. Only load() writes to the status.
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
    Kiv::Ptr<const Ip::AllVrfStatusLocal> vrfs = Kiv::make<Ip::AllVrfStatusLocal>();  ///< where they are; only read
  };

  /// Whether a VRF may be in the vrf device (empty: none) of the network namespace.
  using MayBeIn =
      std::function<bool(const L3::VrfName &vrf, const std::string &networkNamespace, const std::string &device)>;

  /// The background is its own, and outlives it.
  StateFile(Identity identity, const Contents &contents, const Orb::Clock &clock,
            const Kiv::Ptr<Orb::TimerWheel> &wheel, Orb::Background &background);
  ~StateFile();

  /// Is told when a save fails, with the reason, and when one succeeds again, with none.
  void watcherIs(std::function<void(const std::string &error)> watcher) { watcher_ = std::move(watcher); }

  /// Writes what the file has into the status, before an agent runs on it. A file of which any part is
  /// not usable is ignored, with a trace, and so is a VRF that was somewhere else. Returns why the file is; nothing
  /// where it is used or there is none.
  std::string load(const MayBeIn &mayBeIn);
  /// Writes the file if it would change, and returns when that is done. The first of several failures is traced.
  void save();

  const Saves &saves() const { return saves_; }

  /// The boot of the machine and the network namespace of the process; empty if that cannot be read.
  static std::string thisBoot();

 private:
  class KivStatusColl;
  class Copy;
  struct Writing;

  void handleChange();
  void handleSaveTime();
  void handleSliceTime();
  void handleWritten(const Writing &writing);
  void read(const nlohmann::json &json, const Contents &contents, const MayBeIn &mayBeIn) const;
  std::shared_ptr<Writing> writing(Copy &copy) const;

  const Identity identity_;
  const Contents contents_;
  const Orb::Clock &clock_;
  Orb::Background &background_;
  Orb::TimerFor<&StateFile::handleSaveTime> saveTimer_;
  Orb::TimerFor<&StateFile::handleSliceTime> sliceTimer_;
  std::unique_ptr<Copy> copy_;  // while slices are taken
  bool writing_ = false;        // in the background
  bool changed_ = false;        // since what is being saved was begun
  double savedAt_ = 0;          // when the last save began
  size_t saved_ = 0;            // digest of the text in the file
  bool failed_ = false;
  std::function<void(const std::string &error)> watcher_ = [](const std::string &) {};
  Saves saves_;
  std::unique_ptr<KivStatusColl> kivStatusColl_;
};

}  // namespace Routing::Pim::Bsr
