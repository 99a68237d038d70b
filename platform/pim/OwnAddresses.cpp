#include "platform/pim/OwnAddresses.h"

#include <algorithm>

#include "platform/kiv/ReactorOf.h"

namespace Routing::Pim::IO {

class OwnAddresses::DirReactor : public Kiv::ReactorOf<Ip::AllIntfStatusDir, OwnAddresses> {
  using ReactorOf::ReactorOf;
  void onIntfStatus(const Pax::IntfId &intfId) override { owner_.follow(intfId); }
};

class OwnAddresses::IntfReactor : public Kiv::ReactorOf<Ip::IntfStatus, OwnAddresses> {
  using ReactorOf::ReactorOf;
  void onAddress(const Pax::IpGenAddr &) override { ++owner_.version_; }
};

OwnAddresses::OwnAddresses(const Kiv::Ptr<const Ip::AllIntfStatusDir> &interfaces)
    : interfaces_(interfaces), dirReactor_(std::make_unique<DirReactor>(*this, interfaces)) {
  for (const auto &[intfId, intfStatus] : interfaces->intfStatus()) follow(intfId);
}

OwnAddresses::~OwnAddresses() = default;

bool OwnAddresses::contains(const Pax::IpGenAddr &address) {
  if (gathered_ != version_) gather();
  return std::binary_search(sorted_.begin(), sorted_.end(), address);
}

void OwnAddresses::follow(const Pax::IntfId &intfId) {
  ++version_;
  intfReactor_.erase(intfId);
  if (const auto intfStatus = interfaces_->intfStatus(intfId)) {
    intfReactor_.insert(intfId, std::make_unique<IntfReactor>(*this, intfStatus));
  }
}

void OwnAddresses::gather() {
  sorted_.clear();
  for (const auto &[intfId, intfStatus] : interfaces_->intfStatus()) {
    for (const auto &[address, info] : intfStatus->address()) sorted_.push_back(address);
  }
  std::sort(sorted_.begin(), sorted_.end());
  gathered_ = version_;
}

}  // namespace Routing::Pim::IO
