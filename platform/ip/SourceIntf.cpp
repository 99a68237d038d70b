#include "platform/ip/SourceIntf.h"

#include "platform/kiv/ReactorOf.h"

namespace Ip {

// Keeps one entry of the directory in step with the interface that has its name now, if any.
class SourceIntfSm::KivIntfStatus : public IntfStatus::Notifiee {
 public:
  explicit KivIntfStatus(const Kiv::Ptr<SourceIntf> &sourceIntf) : sourceIntf_(sourceIntf) {}
  void intfStatusIs(const Kiv::Ptr<const IntfStatus> &intfStatus) {
    notifierIs(intfStatus);
    onIpAddr();
  }
  void onIpAddr() override { sourceIntf_->ipAddrIs(notifier() ? notifier()->ipAddr() : Pax::IpGenAddr()); }

 private:
  const Kiv::Ptr<SourceIntf> sourceIntf_;
};

class SourceIntfSm::KivAllIntfStatusDir : public Kiv::ReactorOf<AllIntfStatusDir, SourceIntfSm> {
  using ReactorOf::ReactorOf;
  void onIntfStatus(const Pax::IntfId &intfId) override {
    const auto tracked = owner_.kivIntfStatus_.find(intfId);
    if (tracked == owner_.kivIntfStatus_.end()) return;
    tracked->second->intfStatusIs(notifier()->intfStatus(intfId));
  }
};

SourceIntfSm::SourceIntfSm(const Kiv::Ptr<SourceIntfDir> &sourceIntfDir,
                           const Kiv::Ptr<const AllIntfStatusDir> &allIntfStatusDir)
    : sourceIntfDir_(sourceIntfDir),
      allIntfStatusDir_(allIntfStatusDir),
      kivAllIntfStatusDir_(std::make_unique<KivAllIntfStatusDir>(*this, allIntfStatusDir)) {}

SourceIntfSm::~SourceIntfSm() = default;

Kiv::Ptr<const SourceIntf> SourceIntfSm::sourceIntfIs(const Pax::IntfId &intfId) {
  const Kiv::Ptr<SourceIntf> sourceIntf = sourceIntfDir_->sourceIntfIs(intfId);
  std::unique_ptr<KivIntfStatus> &tracked = kivIntfStatus_[intfId];
  if (!tracked) {
    tracked = std::make_unique<KivIntfStatus>(sourceIntf);
    tracked->intfStatusIs(allIntfStatusDir_->intfStatus(intfId));
  }
  return sourceIntf;
}

Pax::IpGenAddr SourceIntfSm::ipAddr(const Pax::IntfId &intfId) const {
  const Kiv::Ptr<IntfStatus> intfStatus = allIntfStatusDir_->intfStatus(intfId);
  return intfStatus ? intfStatus->ipAddr() : Pax::IpGenAddr();
}

}  // namespace Ip
