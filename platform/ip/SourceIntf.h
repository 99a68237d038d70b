/// The source-interface tracker: the candidate address of the interfaces that somebody asked for.
#pragma once

#include <map>
#include <memory>

#include "platform/ip/IntfStatus.h"

namespace Ip {

/// The address of one interface; zero while the interface is not there or has none.
class SourceIntf : public Kiv::Entity {
 public:
  explicit SourceIntf(const Pax::IntfId &intfId) : intfId_(intfId) {}
  const Pax::IntfId &intfId() const { return intfId_; }

#define ATTRIBUTES(ATTRIBUTE) ATTRIBUTE(value, Pax::IpGenAddr, ipAddr, IpAddr, {})
  KIV_ENTITY(SourceIntf, ATTRIBUTES)
#undef ATTRIBUTES

 private:
  const Pax::IntfId intfId_;
};

/// The tracked interfaces of one VRF.
class SourceIntfDir : public Kiv::NamedEntity {
 public:
  using NamedEntity::NamedEntity;
#define ATTRIBUTES(ATTRIBUTE) ATTRIBUTE(map, Pax::IntfId, SourceIntf, sourceIntf, SourceIntf)
  KIV_ENTITY(SourceIntfDir, ATTRIBUTES)
#undef ATTRIBUTES
};

/// Keeps a directory true to the interface status of the VRF. One per running VRF. An interface that
/// vanishes reports address zero; the entry stays and takes the address of the one that comes under
/// the same name.
class SourceIntfSm {
 public:
  SourceIntfSm(const Kiv::Ptr<SourceIntfDir> &sourceIntfDir, const Kiv::Ptr<const AllIntfStatusDir> &allIntfStatusDir);
  ~SourceIntfSm();
  SourceIntfSm(const SourceIntfSm &) = delete;
  SourceIntfSm &operator=(const SourceIntfSm &) = delete;

  /// Tracks the interface from now on, whether it exists or not; the entry is up to date on return.
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
