#include "config/ConfigSm.h"

#include <algorithm>

#include "config/KivAcl.h"
#include "config/KivActiveConfig.h"
#include "config/KivBsrCandidateConfig.h"
#include "config/KivRpCandidateConfig.h"
#include "model/VrfTrace.h"
#include "platform/pim/MessageInfo.h"
#include "platform/tracelet/Require.h"

namespace Routing::Pim::Bsr {

namespace {

Tracelet::Module trace("Pim::Bsr::ConfigSm");

template <class Key, class Reactor>
Reactor *find(const std::map<Key, std::unique_ptr<Reactor>> &reactors, const Key &key) {
  const auto found = reactors.find(key);
  return found == reactors.end() ? nullptr : found->second.get();
}

// Ends the reactor of what left the configuration; starts one on what came.
template <class Reactor, class Config>
void follow(ConfigSm &configSm, std::map<Pax::IntfId, std::unique_ptr<Reactor>> &reactors, const Pax::IntfId &intfId,
            const Kiv::Ptr<Config> &config) {
  if (Reactor *reactor = find(reactors, intfId)) {
    if (reactor->notifier() == config.get()) return;
    reactor->handleDel();
    reactors.erase(intfId);
  }
  if (!config) return;
  Reactor &reactor = *(reactors[intfId] = std::make_unique<Reactor>(configSm, intfId, config));
  reactor.handleInitialized();
}

}  // namespace

class ConfigSm::KivConfig : public Config::Notifiee {
 public:
  explicit KivConfig(ConfigSm &configSm) : configSm_(configSm) { notifierIs(configSm.config_); }
  void onHoldTime() override { configSm_.handleBsrHoldTime(); }
  void onSzTimeout() override { configSm_.handleSzTimeout(); }
  void onBsrCandidateConfig(const Pax::IntfId &intfId) override { configSm_.handleBsrCandidateConfig(intfId); }
  void onRpCandidateConfig(const Pax::IntfId &intfId) override { configSm_.handleRpCandidateConfig(intfId); }
  void onCrpFilterAcl(const std::string &acl) override { configSm_.handleFilterAcl(acl); }

 private:
  ConfigSm &configSm_;
};

class ConfigSm::KivVrfIntfConfig : public VrfIntfConfig::Notifiee {
 public:
  explicit KivVrfIntfConfig(ConfigSm &configSm) : configSm_(configSm) { notifierIs(configSm.vrfIntfConfig_); }
  void onIntfConfig(const Pax::IntfId &intfId) override { configSm_.handleIntfConfig(intfId); }

 private:
  ConfigSm &configSm_;
};

class ConfigSm::KivClearConfig : public ClearConfig::Notifiee {
 public:
  explicit KivClearConfig(ConfigSm &configSm) : configSm_(configSm) { notifierIs(configSm.clearConfig_); }
  void onCountersCount() override { configSm_.handleClearCounters(); }

 private:
  ConfigSm &configSm_;
};

class ConfigSm::KivIpAclConfig : public Acl::Input::Config::Notifiee {
 public:
  explicit KivIpAclConfig(ConfigSm &configSm) : configSm_(configSm) { notifierIs(configSm.ipAclConfig_); }
  void onAcl(const std::string &acl) override { configSm_.handleAcl(acl); }

 private:
  ConfigSm &configSm_;
};

ConfigSm::ConfigSm(const Kiv::Ptr<const Config> &config, const Kiv::Ptr<const VrfIntfConfig> &vrfIntfConfig,
                   const Kiv::Ptr<const ClearConfig> &clearConfig, const Kiv::Ptr<Status> &status,
                   const Kiv::Ptr<Flume::MessageCounters> &pimCounters, Ip::SourceIntfSm *sourceIntfSm,
                   const Kiv::Ptr<const Acl::Input::Config> &ipAclConfig)
    : config_(config),
      vrfIntfConfig_(vrfIntfConfig),
      clearConfig_(clearConfig),
      status_(status),
      pimCounters_(pimCounters),
      sourceIntfSm_(sourceIntfSm),
      ipAclConfig_(ipAclConfig) {
  handleInitialized();
}

ConfigSm::~ConfigSm() = default;

void ConfigSm::handleInitialized() {
  VRF_TRACE_ENTRY(trace);
  REQUIRE(config());
  REQUIRE(vrfIntfConfig());
  REQUIRE(status());
  REQUIRE(clearConfig());
  REQUIRE(sourceIntfSm());
  REQUIRE(ipAclConfig());
  REQUIRE_AS(status_->af() != Pax::AddressFamily::unknown, "0 && \"Unknown Address Family not supported\"");
  globalOrNonScopedZone_ = Pax::allGroups(status_->af());
  zeroPfx_ = Pax::allAddresses(status_->af());
  kivIpAclConfig_ = std::make_unique<KivIpAclConfig>(*this);
  for (const std::string &acl : ipAclConfig_->acl().keys()) handleAcl(acl);
  doBuildBsrConfigAcl();
  doRemoveExtraStatusEntries();
  if (config_->crpFilterAcl().empty()) doPermitAll(true);
  for (const std::string &acl : config_->crpFilterAcl().keys()) doFilterAclAdd(acl);

  kivConfig_ = std::make_unique<KivConfig>(*this);
  kivVrfIntfConfig_ = std::make_unique<KivVrfIntfConfig>(*this);
  kivClearConfig_ = std::make_unique<KivClearConfig>(*this);
  handleBsrHoldTime();
  handleSzTimeout();
  for (const Pax::IntfId &intfId : vrfIntfConfig_->intfConfig().keys()) handleIntfConfig(intfId);
  for (const Pax::IntfId &intfId : config_->bsrCandidateConfig().keys()) handleBsrCandidateConfig(intfId);
  for (const Pax::IntfId &intfId : config_->rpCandidateConfig().keys()) handleRpCandidateConfig(intfId);
}

void ConfigSm::handleBsrHoldTime() {
  VRF_TRACE_ENTRY(trace);
  status_->bsTimeoutIs(config_->holdTime());
  VRF_TRACE(trace, 4, "BSR Hold Time is " << config_->holdTime());
}

void ConfigSm::handleSzTimeout() {
  VRF_TRACE_ENTRY(trace);
  const uint64_t least = std::min<uint64_t>(uint64_t{config_->holdTime()} * 10, UINT32_MAX);
  const uint32_t configured = config_->szTimeout();
  if (least <= configured) {
    status_->szTimeoutIs(configured);
    VRF_TRACE(trace, 4, "Scoped Zone timeout is " << configured << " secs");
  } else {
    status_->szTimeoutIs(static_cast<uint32_t>(least));
    VRF_TRACE(trace, 4,
              "Scoped Zone timeout " << configured << " secs too low. Setting it to " << least << " secs in status");
  }
}

void ConfigSm::handleClearCounters() {
  VRF_TRACE_ENTRY(trace);
  if (pimCounters_) IO::messageCountersClear(*pimCounters_);
  if (const auto &counters = status_->counters()) counters->clear();
}

void ConfigSm::handleBsrCandidateConfig(const Pax::IntfId &intfId) {
  VRF_TRACE_ENTRY(trace);
  follow(*this, bsrCandidateConfig_, intfId, config_->bsrCandidateConfig(intfId));
}

void ConfigSm::handleRpCandidateConfig(const Pax::IntfId &intfId) {
  VRF_TRACE_ENTRY(trace);
  follow(*this, rpCandidateConfig_, intfId, config_->rpCandidateConfig(intfId));
  doHandOverCrps();
}

void ConfigSm::handleIntfConfig(const Pax::IntfId &intfId) {
  VRF_TRACE_ENTRY(trace);
  const Kiv::Ptr<const IntfConfig> *config = vrfIntfConfig_->intfConfig(intfId);
  follow(*this, activeConfig_, intfId, config ? *config : Kiv::Ptr<const IntfConfig>());
}

KivActiveConfig *ConfigSm::activeConfig(const Pax::IntfId &intfId) const { return find(activeConfig_, intfId); }
KivBsrCandidateConfig *ConfigSm::bsrCandidateConfig(const Pax::IntfId &intfId) const {
  return find(bsrCandidateConfig_, intfId);
}
KivRpCandidateConfig *ConfigSm::rpCandidateConfig(const Pax::IntfId &intfId) const {
  return find(rpCandidateConfig_, intfId);
}

void ConfigSm::handleCbsrDel(const Pax::IpGenPrefix &zone) {
  VRF_TRACE_ENTRY_WITH(trace, " ( " << zone << " )");
  for (const auto &[intfId, reactor] : bsrCandidateConfig_) reactor->handleZoneFree(zone);
}

void ConfigSm::handleCrpAdd(const Pax::IpGenAddr &address) {
  VRF_TRACE_ENTRY_WITH(trace, " ( " << address << " )");
  for (const auto &[intfId, reactor] : rpCandidateConfig_) reactor->handleAddressTaken(address);
}

void ConfigSm::handleCrpDel(const Pax::IpGenAddr &address) {
  VRF_TRACE_ENTRY_WITH(trace, " ( " << address << " )");
  freedCrps_.push_back(address);
}

void ConfigSm::doHandOverCrps() {
  for (const Pax::IpGenAddr &address : std::exchange(freedCrps_, {})) {
    for (const auto &[intfId, reactor] : rpCandidateConfig_) reactor->handleAddressFree(address);
  }
}

}  // namespace Routing::Pim::Bsr
