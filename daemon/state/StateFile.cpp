#include "daemon/state/StateFile.h"

#include <filesystem>
#include <fstream>
#include <limits>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <vector>

#include "daemon/state/SavedStatus.h"
#include "platform/kiv/ReactorOf.h"
#include "platform/linux/RegularFile.h"
#include "platform/system/AgentName.h"
#include "platform/tracelet/Tracelet.h"

namespace Routing::Pim::Bsr {

namespace {

Tracelet::Module trace("Pim::Bsr::StateFile");

namespace fs = std::filesystem;

constexpr double saveInterval = 5;
constexpr size_t slice = 10000;  // RPs, a millisecond

constexpr size_t longestFile = 64 << 20;
constexpr uint64_t format = 1;  // of the file; counts on when what it has means something else

}  // namespace

struct CopiedVrf {
  std::string networkNamespace, device;  // where it was learned
  CopiedStatus status;
};
using Copies = std::map<std::string, CopiedVrf>;  // by name

// The status of all VRFs, taken a slice at a time.
class StateFile::Copy {
 public:
  explicit Copy(const Contents &contents) : contents_(contents), vrfs_(contents.statusColl->vrfStatus().keys()) {}

  // True when nothing is left.
  bool take(size_t most) {
    if (!vrf_ && !next()) return true;
    if (!vrf_->take(most)) return false;
    CopiedVrf copy{"", "", vrf_->copied()};
    if (const auto where = contents_.vrfs->vrfStatus(vrfs_.back())) {
      copy.networkNamespace = where->namespaceName().text();
      copy.device = where->device();
    }
    copies_.emplace(vrfs_.back().text(), std::move(copy));
    vrf_.reset();
    vrfs_.pop_back();
    return vrfs_.empty();
  }
  // Takes the rest and gives all away.
  Copies copies() {
    while (!take(std::numeric_limits<size_t>::max())) {
    }
    return std::move(copies_);
  }

 private:
  // Opens the next VRF that is still there; false when there is none.
  bool next() {
    for (; !vrfs_.empty(); vrfs_.pop_back()) {
      const auto status = contents_.statusColl->vrfStatus(vrfs_.back());
      if (!status) continue;
      const auto *published = contents_.rpCandidateStatusColl->vrfStatus(vrfs_.back());
      vrf_.emplace(status, published ? *published : nullptr);
      return true;
    }
    return false;
  }

  const Contents &contents_;
  std::vector<L3::VrfName> vrfs_;  // to be taken, from the last one on
  std::optional<SavedVrf> vrf_;
  Copies copies_;
};

// What the background works on.
struct StateFile::Writing {
  const std::string path;
  nlohmann::json json;  // but for the VRFs
  Copies copies;
  size_t digest;  // of the text in the file
  std::string error;

  void write() {
    try {
      auto &vrfs = json["vrfStatus"] = nlohmann::json::object();
      for (const auto &[vrf, copy] : copies) {
        vrfs[vrf] = copy.status.json();
        vrfs[vrf].update({{"namespace", copy.networkNamespace}, {"device", copy.device}});
      }
      copies.clear();
      const std::string text = json.dump(0, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
      json = nullptr;
      if (text.size() > longestFile) {
        throw std::runtime_error("it would be longer than " + std::to_string(longestFile >> 20) + " MiB");
      }
      const size_t fresh = std::hash<std::string>()(text);
      if (fresh == digest) return;
      Linux::replaceRegularFile(path, text);
      digest = fresh;
    } catch (const std::exception &failure) {
      error = failure.what();
    }
  }
};

// Hears of changes, also of VRFs that come later.
class StateFile::KivStatusColl : public Kiv::ReactorOf<StatusColl, StateFile> {
 public:
  using ReactorOf::ReactorOf;
  void onVrfStatus(const L3::VrfName &vrf) override {
    vrf_.erase(vrf);
    if (const auto status = notifier()->vrfStatus(vrf)) vrf_[vrf] = std::make_unique<KivStatus>(owner_, status);
    owner_.handleChange();
  }

 private:
  // Messages that were accepted, and our own.
  struct KivCounters : Kiv::ReactorOf<PimBsrCounters, StateFile> {
    using ReactorOf::ReactorOf;
    void onRxSuccess() override { owner_.handleChange(); }
    void onTxSuccess() override { owner_.handleChange(); }
  };
  class KivStatus : public Kiv::ReactorOf<Status, StateFile> {
   public:
    KivStatus(StateFile &file, const Kiv::Ptr<const Status> &status)
        : ReactorOf(file, status), kivCounters_(file, status->counters()) {}
    void onCounters() override { kivCounters_.notifierIs(notifier()->counters()); }
    void onBootstrapRouter(const Pax::IpGenPrefix &) override { owner_.handleChange(); }
    void onCrpStatus(const Pax::IpGenPrefix &) override { owner_.handleChange(); }
    void onCbsr(const Pax::IpGenPrefix &) override { owner_.handleChange(); }

   private:
    KivCounters kivCounters_;
  };

  std::map<L3::VrfName, std::unique_ptr<KivStatus>> vrf_;
};

StateFile::StateFile(Identity identity, const Contents &contents, const Orb::Clock &clock,
                     const Kiv::Ptr<Orb::TimerWheel> &wheel, Orb::Background &background)
    : identity_(std::move(identity)),
      contents_(contents),
      clock_(clock),
      background_(background),
      saveTimer_(wheel, *this),
      sliceTimer_(wheel, *this),
      kivStatusColl_(std::make_unique<KivStatusColl>(*this, contents.statusColl)) {
  contents.statusColl->replay(*kivStatusColl_);
}

StateFile::~StateFile() = default;

std::string StateFile::thisBoot() {
  std::string boot;
  std::getline(std::ifstream("/proc/sys/kernel/random/boot_id"), boot);
  std::error_code error;
  const auto network = fs::read_symlink("/proc/self/ns/net", error);
  return boot.empty() || error ? "" : boot + " " + network.string();
}

void StateFile::handleChange() {
  changed_ = true;
  if (copy_ || writing_ || saveTimer_.armed()) return;
  saveTimer_.timeMinIs(std::max(clock_.now(), savedAt_ + saveInterval));
}

std::string StateFile::load(const MayBeIn &mayBeIn) {
  std::error_code error;
  if (!fs::exists(fs::symlink_status(identity_.path, error))) {
    TRACELET(trace, 3, "There is no saved state in " << identity_.path);
    return {};
  }
  try {
    const std::string text = Linux::readRegularFile(identity_.path, longestFile);
    if (text.find('\0') != text.npos) throw Kiv::RangeError("it has a NUL byte");  // the end, to the parser
    const auto json = nlohmann::json::parse(text);
    if (json.at("format") != format) throw Kiv::RangeError("it is of another format");
    if (json.at("agent") != agentName(identity_.af)) throw Kiv::RangeError("another agent wrote it");
    if (identity_.boot.empty() || json.at("boot") != identity_.boot) throw Kiv::RangeError("it is from another boot");
    // Into a copy first: a file is taken whole or not at all.
    read(json, {Kiv::make<StatusColl>(), Kiv::make<RpCandidateStatusColl>()}, mayBeIn);
    read(json, contents_, mayBeIn);
    TRACELET(trace, 3, "State read from " << identity_.path);
  } catch (const std::exception &error) {
    TRACELET(trace, 1, "The state in " << identity_.path << " is ignored: " << error.what());
    return error.what();
  }
  return {};
}

void StateFile::read(const nlohmann::json &json, const Contents &contents, const MayBeIn &mayBeIn) const {
  for (const auto &[vrf, saved] : membersOf(json.at("vrfStatus"))) {
    const bool isPlaced = saved.is_object() && saved.contains("namespace");  // since there are vrf devices
    if (isPlaced && !mayBeIn(vrf, saved.at("namespace").get<std::string>(), saved.at("device").get<std::string>())) {
      TRACELET(trace, 3, "What VRF " << vrf << " had learned was learned elsewhere, and is ignored");
      continue;
    }
    const auto published = Kiv::make<RpCandidateStatus>(vrf);
    readStatus(saved, {identity_.af, clock_.now()}, *contents.statusColl->vrfStatusIs(vrf), *published);
    contents.rpCandidateStatusColl->vrfStatusIs(vrf, published);
  }
}

std::shared_ptr<StateFile::Writing> StateFile::writing(Copy &copy) const {
  nlohmann::json json{{"format", format}, {"agent", agentName(identity_.af)}, {"boot", identity_.boot}};
  return std::make_shared<Writing>(Writing{identity_.path, std::move(json), copy.copies(), saved_, {}});
}

void StateFile::save() {
  background_.finish();
  saveTimer_.timeMinIs(Orb::never);
  sliceTimer_.timeMinIs(Orb::never);
  savedAt_ = clock_.now();
  copy_.reset();
  changed_ = false;
  Copy copy(contents_);
  const auto whole = writing(copy);
  whole->write();
  handleWritten(*whole);
}

void StateFile::handleSaveTime() {
  savedAt_ = clock_.now();
  changed_ = false;
  copy_ = std::make_unique<Copy>(contents_);
  handleSliceTime();
}

void StateFile::handleSliceTime() {
  if (!copy_->take(slice)) return sliceTimer_.timeMinIs(clock_.now());
  const auto whole = writing(*copy_);
  copy_.reset();
  writing_ = true;
  background_.start([whole] { whole->write(); }, [this, whole] { handleWritten(*whole); });
}

void StateFile::handleWritten(const Writing &writing) {
  writing_ = false;
  saved_ = writing.digest;
  saves_.duration = clock_.now() - savedAt_;
  ++(writing.error.empty() ? saves_.succeeded : saves_.failed);
  if (!writing.error.empty() && !failed_) {
    TRACELET(trace, 1, "The state cannot be saved in " << identity_.path << ": " << writing.error);
  }
  const bool before = std::exchange(failed_, !writing.error.empty());
  if (failed_ != before) watcher_(writing.error);
  if (changed_) handleChange();
}

}  // namespace Routing::Pim::Bsr
