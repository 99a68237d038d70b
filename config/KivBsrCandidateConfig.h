/// An interface that is a candidate BSR, for explicit zones and for the zones that ACLs permit.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "config/ConfigSm.h"

namespace Routing::Pim::Bsr {

/// Publishes a `Status.cbsr` element for every zone that an initialized entry of the interface
/// offers, while the interface has an address. Of several entries that offer a zone, one stands
/// with its values: the last ACL by name, or the explicit zone where there is no ACL.
///
/// One zone is served by one interface. While a reload moves a zone, an addition takes the element
/// over; everything else changes it only while it belongs to this interface.
///
/// One per candidate interface, owned by ConfigSm, for as long as the interface is configured. It also writes
/// `Status.zoneGroup` and `zoneAcl`, and never what the engine writes into an element.
class KivBsrCandidateConfig : public Kiv::ReactorOf<BsrCandidateConfig, ConfigSm> {
 public:
  KivBsrCandidateConfig(ConfigSm &configSm, const Pax::IntfId &intfId,
                        const Kiv::Ptr<const BsrCandidateConfig> &config);
  ~KivBsrCandidateConfig() override;
  void onGroup(const Pax::IpGenPrefix &prefix) override { handleGroup(prefix); }
  void onAcl(const std::string &acl) override { handleAcl(acl); }

  /// Puts every complete entry into status; deferred until the interface has an address.
  void handleInitialized();
  void handleDel();
  /// The zone's element, which another interface had taken over, is gone.
  void handleZoneFree(const Pax::IpGenPrefix &zone);
  /// An ACL that the interface uses starts or stops permitting the prefix.
  void doAclPrefixActivate(const std::string &acl, const Pax::IpGenPrefix &prefix);
  void doAclPrefixDeactivate(const std::string &acl, const Pax::IpGenPrefix &prefix);

 private:
  class KivEntry;
  template <class EntryConfig>
  class KivEntryOf;
  class KivGroup;
  class KivAcl;

  struct KivIntf : Kiv::ReactorOf<Ip::SourceIntf, KivBsrCandidateConfig> {
    using ReactorOf::ReactorOf;
    void onIpAddr() override { owner_.handleIpAddress(); }
  };

  template <class Key, class Entry, class EntryConfig>
  void follow(std::map<Key, std::unique_ptr<Entry>> &entries, const Key &key, const Kiv::Ptr<EntryConfig> &config);
  void handleGroup(const Pax::IpGenPrefix &prefix);
  void handleAcl(const std::string &acl);
  void handleIpAddress();
  void doAddressIs();

  /// Every entry: the explicit groups, then the ACLs by name.
  std::vector<KivEntry *> entries() const;
  /// The entry whose values stand in the zone; null when none offers it.
  const KivEntry *standing(const Pax::IpGenPrefix &zone) const;
  Kiv::Ptr<BsrCandidate> ownCandidate(const Pax::IpGenPrefix &zone) const;
  std::vector<Pax::IpGenPrefix> zones() const;
  void doWrite(const Pax::IpGenPrefix &zone);
  void doSourceRemove(const Pax::IpGenPrefix &zone);
  void doCandidateDel(const Pax::IpGenPrefix &zone);
  void doSettle(const Pax::IpGenPrefix &zone);
  const std::string &vrfName() const { return owner_.vrfName(); }
  Status &status() const { return *owner_.status(); }

  const Pax::IntfId intfId_;
  KivIntf kivIntf_;
  Pax::IpGenAddr address_;  ///< zero while the interface has none
  bool initialized_ = false;
  std::map<Pax::IpGenPrefix, std::unique_ptr<KivGroup>> group_;
  std::map<std::string, std::unique_ptr<KivAcl>> acl_;
};

}  // namespace Routing::Pim::Bsr
