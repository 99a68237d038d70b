#include "config/ConfigSm.h"

#include <algorithm>

#include "config/KivAcl.h"
#include "config/KivActiveConfig.h"
#include "config/KivBsrCandidateConfig.h"
#include "config/KivBsrConfigAclSm.h"
#include "config/KivRpCandidateConfig.h"
#include "config/StaleStatus.h"
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

// What ConfigSm itself follows.
class ConfigSm::Reactors {
 public:
  explicit Reactors(ConfigSm &configSm) : configSm_(configSm) {}

 private:
  struct KivConfig : Kiv::ReactorOf<Config, ConfigSm> {
    using ReactorOf::ReactorOf;
    void onHoldTime() override { owner_.handleBsrHoldTime(); }
    void onSzTimeout() override { owner_.handleSzTimeout(); }
    void onMixedFragments() override { owner_.handleMixedFragments(); }
    void onLimits() override { owner_.handleLimits(); }
    void onBsrCandidateConfig(const Pax::IntfId &intfId) override { owner_.handleBsrCandidateConfig(intfId); }
    void onRpCandidateConfig(const Pax::IntfId &intfId) override { owner_.handleRpCandidateConfig(intfId); }
    void onCrpFilterAcl(const std::string &acl) override { owner_.filterAcl_.handleFilterAcl(acl); }
  };
  struct KivVrfIntfConfig : Kiv::ReactorOf<VrfIntfConfig, ConfigSm> {
    using ReactorOf::ReactorOf;
    void onIntfConfig(const Pax::IntfId &intfId) override { owner_.handleIntfConfig(intfId); }
  };
  struct KivClearConfig : Kiv::ReactorOf<ClearConfig, ConfigSm> {
    using ReactorOf::ReactorOf;
    void onCountersCount() override { owner_.handleClearCounters(); }
  };
  struct KivIpAclConfig : Kiv::ReactorOf<Acl::Input::Config, ConfigSm> {
    using ReactorOf::ReactorOf;
    void onAcl(const std::string &acl) override { owner_.handleAcl(acl); }
  };

  ConfigSm &configSm_;
  KivConfig kivConfig_{configSm_, configSm_.config_};
  KivVrfIntfConfig kivVrfIntfConfig_{configSm_, configSm_.vrfIntfConfig_};
  KivClearConfig kivClearConfig_{configSm_, configSm_.clearConfig_};
  KivIpAclConfig kivIpAclConfig_{configSm_, configSm_.ipAclConfig_};
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
  REQUIRE_AS(vrfIntfConfig_, "vrfIntfConfig()");
  REQUIRE(status());
  REQUIRE_AS(clearConfig_, "clearConfig()");
  REQUIRE(sourceIntfSm());
  REQUIRE_AS(ipAclConfig_, "ipAclConfig()");
  REQUIRE_AS(status_->af() != Pax::AddressFamily::unknown, "0 && \"Unknown Address Family not supported\"");
  globalOrNonScopedZone_ = Pax::allGroups(status_->af());
  zeroPfx_ = Pax::allAddresses(status_->af());
  reactors_ = std::make_unique<Reactors>(*this);
  for (const std::string &acl : ipAclConfig_->acl().keys()) handleAcl(acl);
  doBuildBsrConfigAcl();
  doRemoveExtraStatusEntries();
  filterAcl_.handleInitialized();

  handleBsrHoldTime();
  handleSzTimeout();
  handleMixedFragments();
  handleLimits();
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

void ConfigSm::handleMixedFragments() { status_->mixedFragmentsIs(config_->mixedFragments()); }
void ConfigSm::handleLimits() { status_->limitsIs(config_->limits()); }

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

void ConfigSm::handleAcl(const std::string &acl) {
  VRF_TRACE_ENTRY(trace);
  acl_.erase(acl);
  if (const Kiv::Ptr<Acl::AclConfig> config = ipAclConfig_->acl(acl)) {
    (acl_[acl] = std::make_unique<KivAcl>(*this, config))->handleRule();
  } else if (const Kiv::Ptr<BsrConfigAcl> named = bsrConfigAcl(acl)) {
    doResolve(*named);
    doHandOverCrps();
    if (named->usedByCrpAdvAclFilter()) VRF_TRACE(trace, 1, "Filter ACL " << acl << " is gone and permits no source");
  }
}

// The difference in the permitted prefixes, those that come first.
void ConfigSm::doResolve(BsrConfigAcl &bsrConfigAcl) const {
  const std::string &acl = bsrConfigAcl.name();
  const auto [groups, unicast] = permits()(acl).value_or(PermittedPrefixes());
  for (const Pax::IpGenPrefix &prefix : groups) {
    if (bsrConfigAcl.grpPrefix(prefix)) continue;
    VRF_TRACE(trace, 4, "Permit Rule Added to ACL " << acl << ": Adding " << prefix << " to bsrConfigAcl");
    bsrConfigAcl.grpPrefixIs(prefix);
  }
  for (const Pax::IpGenPrefix &prefix : unicast) {
    if (bsrConfigAcl.prefix(prefix)) continue;
    VRF_TRACE(trace, 4, "Adding prefix " << prefix << " to bsrConfigAcl unicast set");
    bsrConfigAcl.prefixIs(prefix);
  }
  std::vector<Pax::IpGenPrefix> groupsGone, unicastGone;
  for (const auto &[prefix, in] : bsrConfigAcl.grpPrefix()) {
    if (groups.contains(prefix)) continue;
    VRF_TRACE(trace, 4, "Adding group " << prefix << " to group list to be deleted.");
    groupsGone.push_back(prefix);
  }
  for (const auto &[prefix, in] : bsrConfigAcl.prefix()) {
    if (unicast.contains(prefix)) continue;
    VRF_TRACE(trace, 4, "Adding prefix " << prefix << " to prefix list to be deleted.");
    unicastGone.push_back(prefix);
  }
  for (const Pax::IpGenPrefix &prefix : groupsGone) {
    VRF_TRACE(trace, 4, "Deleting group " << prefix << " from acl " << acl);
    bsrConfigAcl.grpPrefixDel(prefix);
  }
  for (const Pax::IpGenPrefix &prefix : unicastGone) bsrConfigAcl.prefixDel(prefix);
}

Kiv::Ptr<BsrConfigAcl> ConfigSm::bsrConfigAcl(const std::string &acl) const {
  const auto found = bsrConfigAcl_.find(acl);
  return found == bsrConfigAcl_.end() ? nullptr : found->second;
}

std::vector<Pax::IpGenPrefix> ConfigSm::groupsOf(const std::string &acl) const {
  const Kiv::Ptr<BsrConfigAcl> present = bsrConfigAcl(acl);
  return present ? present->grpPrefix().keys() : std::vector<Pax::IpGenPrefix>();
}

bool ConfigSm::permitsGroup(const std::string &acl, const Pax::IpGenPrefix &prefix) const {
  const Kiv::Ptr<BsrConfigAcl> present = bsrConfigAcl(acl);
  return present && present->grpPrefix(prefix);
}

Kiv::Ptr<BsrConfigAcl> ConfigSm::bsrConfigAclIs(const std::string &acl) {
  if (Kiv::Ptr<BsrConfigAcl> present = bsrConfigAcl(acl)) return present;
  const Kiv::Ptr<BsrConfigAcl> created = doCreateBsrConfigAcl(acl);
  VRF_TRACE(trace, 4, "Created BsrConfigAcl object for acl " << acl);
  return created;
}

Kiv::Ptr<BsrConfigAcl> ConfigSm::doCreateBsrConfigAcl(const std::string &acl) {
  const auto created = Kiv::make<BsrConfigAcl>(acl);
  bsrConfigAcl_[acl] = created;
  bsrConfigAclSm_[acl] = std::make_unique<KivBsrConfigAclSm>(*this, created);
  doResolve(*created);
  return created;
}

void ConfigSm::bsrConfigAclRelease(const std::string &acl) {
  const Kiv::Ptr<BsrConfigAcl> present = bsrConfigAcl(acl);
  if (!present || present->isUsed()) return;
  bsrConfigAclSm_.erase(acl);
  bsrConfigAcl_.erase(acl);
  VRF_TRACE(trace, 4, "Deleted BsrConfigAcl object for acl " << acl);
}

void ConfigSm::doBuildBsrConfigAcl() {
  VRF_TRACE_ENTRY(trace);
  for (const Source &source : sources()) {
    if (!source.isAcl() || bsrConfigAcl(source.acl)) continue;
    doCreateBsrConfigAcl(source.acl);
    VRF_TRACE(trace, 4, "Created bsrConfigAcl object for acl " << source.acl);
  }
}

void ConfigSm::doRemoveExtraStatusEntries() const {
  VRF_TRACE_ENTRY(trace);
  removeStaleStatus(*this);
}

Permits ConfigSm::permits() const {
  return [this](const std::string &acl) { return permittedBy(*ipAclConfig_, acl, status_->af()); };
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
