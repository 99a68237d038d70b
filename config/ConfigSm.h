/// Translates a VRF's configuration into the status that the engine works from.
#pragma once

#include "model/Config.h"
#include "model/Status.h"

namespace Routing::Pim::Bsr {

/// One per running VRF. Publishes the two timeouts; both are evaluated at start.
class ConfigSm {
 public:
  ConfigSm(const Kiv::Ptr<const Config> &config, const Kiv::Ptr<const VrfIntfConfig> &vrfIntfConfig,
           const Kiv::Ptr<const ClearConfig> &clearConfig, const Kiv::Ptr<Status> &status);

  /// Publishes the hold time. The scoped-zone timeout is not recomputed: it keeps the value of the
  /// last change of its own configuration.
  void handleBsrHoldTime();
  /// Publishes the scoped-zone timeout, raised to ten hold times where it is lower (RFC 5059
  /// section 5: SZ_Timeout).
  void handleSzTimeout();

 private:
  class KivConfig : public Config::Notifiee {
   public:
    explicit KivConfig(ConfigSm &configSm) : configSm_(configSm) { notifierIs(configSm.config_); }
    void onHoldTime() override { configSm_.handleBsrHoldTime(); }
    void onSzTimeout() override { configSm_.handleSzTimeout(); }

   private:
    ConfigSm &configSm_;
  };

  const Kiv::Ptr<const Config> &config() const { return config_; }
  const Kiv::Ptr<const VrfIntfConfig> &vrfIntfConfig() const { return vrfIntfConfig_; }
  const Kiv::Ptr<const ClearConfig> &clearConfig() const { return clearConfig_; }
  const Kiv::Ptr<Status> &status() const { return status_; }
  const std::string &vrfName() const { return status_->name(); }
  void handleInitialized();

  const Kiv::Ptr<const Config> config_;
  const Kiv::Ptr<const VrfIntfConfig> vrfIntfConfig_;
  const Kiv::Ptr<const ClearConfig> clearConfig_;
  const Kiv::Ptr<Status> status_;
  KivConfig kivConfig_;
};

}  // namespace Routing::Pim::Bsr
