/// The source-interface tracker: the address that a candidate takes from an interface, for the interfaces that
/// somebody asked for.
#pragma once

#include <map>
#include <memory>

#include "platform/ip/IntfStatus.h"

namespace Ip {

/// The address of one interface, zero while the interface is not there or has none. Written by SourceIntfSm alone.
class SourceIntf : public Kiv::Entity {
  KIV_ENTITY_WITH(SourceIntf, value, Pax::IpGenAddr, ipAddr, IpAddr, {})
};

/// The tracked interfaces of one VRF, under the name of the VRF.
class SourceIntfDir : public Kiv::NamedEntity {
 public:
  using NamedEntity::NamedEntity;
  KIV_ENTITY_WITH(SourceIntfDir, map, Pax::IntfId, SourceIntf, sourceIntf, SourceIntf)
};

/// Keeps the directory in step with the interface status of the VRF. One per running VRF, owned by its machines;
/// the directory outlives it and keeps what it says last. When an interface vanishes its entry stays, with
/// address zero, and takes the address of the next interface of that name. Tracking never ends before the
/// tracker does.
class SourceIntfSm {
 public:
  SourceIntfSm(const Kiv::Ptr<SourceIntfDir> &sourceIntfDir, const Kiv::Ptr<const AllIntfStatusDir> &allIntfStatusDir);
  ~SourceIntfSm();

  /// Tracks the interface from now on, whether it exists or not. The entry is up to date on return.
  Kiv::Ptr<const SourceIntf> sourceIntfIs(const Pax::IntfId &intfId);
  /// The interface's address now, whether it is tracked or not; zero while it has none.
  Pax::IpGenAddr ipAddr(const Pax::IntfId &intfId) const;

 private:
  class KivIntfStatus;
  class KivAllIntfStatusDir;

  const Kiv::Ptr<SourceIntfDir> sourceIntfDir_;
  const Kiv::Ptr<const AllIntfStatusDir> allIntfStatusDir_;
  std::map<Pax::IntfId, std::unique_ptr<KivIntfStatus>> kivIntfStatus_;
  std::unique_ptr<KivAllIntfStatusDir> kivAllIntfStatusDir_;
};

}  // namespace Ip
