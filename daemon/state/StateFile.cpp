#include "daemon/state/StateFile.h"

#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>

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

constexpr size_t longestFile = 64 << 20;
constexpr uint64_t format = 1;  // of the file; counts on when what it has means something else

}  // namespace

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
                     const Kiv::Ptr<Orb::TimerWheel> &wheel)
    : identity_(std::move(identity)),
      contents_(contents),
      clock_(clock),
      timer_(wheel, *this),
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
  if (!timer_.armed()) timer_.timeMinIs(std::max(clock_.now(), savedAt_ + saveInterval));
}

void StateFile::load() {
  std::error_code error;
  if (!fs::exists(fs::symlink_status(identity_.path, error))) {
    TRACELET(trace, 3, "There is no saved state in " << identity_.path);
    return;
  }
  try {
    const std::string text = Linux::readRegularFile(identity_.path, longestFile);
    if (text.find('\0') != text.npos) throw Kiv::RangeError("it has a NUL byte");  // the end, to the parser
    const auto json = nlohmann::json::parse(text);
    if (json.at("format") != format) throw Kiv::RangeError("it is of another format");
    if (json.at("agent") != agentName(identity_.af)) throw Kiv::RangeError("another agent wrote it");
    if (identity_.boot.empty() || json.at("boot") != identity_.boot) throw Kiv::RangeError("it is from another boot");
    // Into a copy first: a file is taken whole or not at all.
    read(json, {Kiv::make<StatusColl>(), Kiv::make<RpCandidateStatusColl>()});
    read(json, contents_);
    TRACELET(trace, 3, "State read from " << identity_.path);
  } catch (const std::exception &error) {
    TRACELET(trace, 1, "The state in " << identity_.path << " is ignored: " << error.what());
  }
}

void StateFile::read(const nlohmann::json &json, const Contents &contents) const {
  for (const auto &[vrf, saved] : membersOf(json.at("vrfStatus"))) {
    const auto published = Kiv::make<RpCandidateStatus>(vrf);
    readStatus(saved, {identity_.af, clock_.now()}, *contents.statusColl->vrfStatusIs(vrf), *published);
    contents.rpCandidateStatusColl->vrfStatusIs(vrf, published);
  }
}

std::string StateFile::text() const {
  auto vrfs = nlohmann::json::object();
  const RpCandidateStatus none("");
  for (const auto &[vrf, status] : contents_.statusColl->vrfStatus()) {
    const auto *published = contents_.rpCandidateStatusColl->vrfStatus(vrf);
    vrfs[vrf.text()] = savedJson(*status, published ? **published : none);
  }
  const nlohmann::json json{
      {"format", format}, {"agent", agentName(identity_.af)}, {"boot", identity_.boot}, {"vrfStatus", std::move(vrfs)}};
  return json.dump(1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}

void StateFile::save() {
  timer_.timeMinIs(Orb::never);
  savedAt_ = clock_.now();
  std::string now = text();
  if (now == saved_) return;
  const std::string error = write(now);
  if (error.empty()) {
    saved_ = std::move(now);
  } else if (!failed_) {
    TRACELET(trace, 1, "The state cannot be saved in " << identity_.path << ": " << error);
  }
  failed_ = !error.empty();
}

// What went wrong; empty when nothing did.
std::string StateFile::write(const std::string &text) const {
  if (text.size() > longestFile) return "it would be longer than " + std::to_string(longestFile >> 20) + " MiB";
  try {
    Linux::replaceRegularFile(identity_.path, text);
    return {};
  } catch (const std::runtime_error &error) {
    return error.what();
  }
}

}  // namespace Routing::Pim::Bsr
