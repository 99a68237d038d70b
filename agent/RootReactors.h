/// The reactors of RootSm: whatever may affect a VRF has RootSm look at it again.
#pragma once

#include <map>
#include <memory>

#include "agent/RootSm.h"
#include "platform/kiv/ReactorOf.h"

namespace Routing::Pim::Bsr {

/// Part of RootSm, which has looked at everything once they are attached. They write nothing.
class RootReactors {
 public:
  RootReactors(RootSm &sm, const Mounts &mounts, const Kiv::Ptr<const McastCommon::HitlessVrfStatus> &hitless)
      : sm_(sm), mounts_(mounts), hitless_(sm, hitless) {}

 private:
  template <class Coll>
  struct KivVrfStatus : Kiv::ReactorOf<Coll, RootSm> {
    using Kiv::ReactorOf<Coll, RootSm>::ReactorOf;
    void onVrfStatus(const L3::VrfName &vrf) override { this->owner_.handleVrf(vrf); }
  };
  struct KivRpConfig : Kiv::ReactorOf<RpConfigColl, RootSm> {
    using ReactorOf::ReactorOf;
    void onVrfConfig(const L3::VrfName &vrf) override { owner_.handleVrf(vrf); }
  };
  struct KivIntfs : Kiv::ReactorOf<Interface::AllIntfStatusDir, RootSm> {
    using ReactorOf::ReactorOf;
    void onVrfIntfStatus(const L3::VrfName &vrf) override { owner_.handleVrfIntfStatus(vrf); }
  };
  struct KivGlobal : Kiv::ReactorOf<GlobalStatus, RootSm> {
    using ReactorOf::ReactorOf;
    void onEnabledVrf(const L3::VrfName &vrf) override { owner_.handleVrf(vrf); }
  };
  struct KivClearConfigColl : Kiv::ReactorOf<ClearConfigColl, RootSm> {
    using ReactorOf::ReactorOf;
    void onVrfClearConfig(const L3::VrfName &vrf) override { owner_.handleVrf(vrf); }
  };
  struct KivConfigColl : Kiv::ReactorOf<ConfigColl, RootSm> {
    using ReactorOf::ReactorOf;
    void onVrfConfig(const L3::VrfName &vrf) override { owner_.handleVrf(vrf); }
    void onIntfConfig(const Pax::IntfId &intfId) override { owner_.handleBsrIntfConfig(intfId); }
  };
  struct KivHitless : Kiv::ReactorOf<McastCommon::HitlessVrfStatus, RootSm> {
    using ReactorOf::ReactorOf;
    void onCompletedVrf(const L3::VrfName &) override { owner_.handleHitlessCompletedVrf(); }
  };

  struct KivVrf : Kiv::ReactorOf<Ip::VrfStatusLocal, RootSm> {
    KivVrf(RootSm &sm, const L3::VrfName &vrf, const Kiv::Ptr<const Ip::VrfStatusLocal> &status)
        : ReactorOf(sm, status), vrf(vrf) {}
    void onNamespaceExists() override { owner_.handleVrf(vrf); }
    const L3::VrfName vrf;
  };
  class KivVrfs : public Kiv::ReactorOf<Ip::AllVrfStatusLocal, RootSm> {
   public:
    KivVrfs(RootSm &sm, const Kiv::Ptr<const Ip::AllVrfStatusLocal> &status) : ReactorOf(sm, status) {
      for (const L3::VrfName &vrf : status->vrfStatus().keys()) follow(vrf);
    }
    void onVrfStatus(const L3::VrfName &vrf) override {
      follow(vrf);
      owner_.handleVrf(vrf);
    }

   private:
    void follow(const L3::VrfName &vrf) {
      vrf_.erase(vrf);
      if (const auto status = notifier()->vrfStatus(vrf)) vrf_[vrf] = std::make_unique<KivVrf>(owner_, vrf, status);
    }
    std::map<L3::VrfName, std::unique_ptr<KivVrf>> vrf_;
  };

  RootSm &sm_;
  const Mounts &mounts_;
  KivVrfs vrfs_{sm_, mounts_.allVrfStatusLocal};
  KivIntfs intfs_{sm_, mounts_.allIntfStatusDir};
  KivGlobal global_{sm_, mounts_.pimGlobalStatus};
  KivVrfStatus<Pim::StatusColl> pimStatus_{sm_, mounts_.pimStatusColl};
  KivVrfStatus<GroupStatusColl> groups_{sm_, mounts_.groupStatusColl}, bidirGroups_{sm_, mounts_.bidirGroupStatusColl};
  KivVrfStatus<Multicast::Rib::StatusColl> mrib_{sm_, mounts_.mribStatusColl};
  KivRpConfig rpConfig_{sm_, mounts_.rpConfigColl}, bidirRpConfig_{sm_, mounts_.bidirRpConfigColl};
  KivConfigColl config_{sm_, mounts_.configColl};
  KivClearConfigColl clearConfig_{sm_, mounts_.clearConfigColl};
  KivHitless hitless_;
};

}  // namespace Routing::Pim::Bsr
