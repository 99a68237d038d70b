/// An interface that is a candidate RP, for explicit group ranges and for those that ACLs permit.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "config/RpCandidateElement.h"

namespace Routing::Pim::Bsr {

/// Publishes a `Status.crp` element under the interface's address while it serves a prefix. Each
/// range and each ACL that permits a prefix is counted as a source of it. A priority that is configured
/// for a prefix, by its range or by an ACL, is in the element's `prefixOptions`; of several, that of
/// the last ACL by name, or of the range where no ACL has one.
///
/// An address serves one interface: while another interface's element is stored under it, this one is
/// treated as having no usable address and uses no ACL, and starts when that element goes.
///
/// One per candidate interface, owned by ConfigSm, for as long as the interface is configured. An address that becomes
/// free is handed over at the end of a handler, never in the middle of one.
class KivRpCandidateConfig : public Kiv::ReactorOf<RpCandidateConfig, ConfigSm> {
 public:
  KivRpCandidateConfig(ConfigSm &configSm, const Pax::IntfId &intfId, const Kiv::Ptr<const RpCandidateConfig> &config);
  ~KivRpCandidateConfig() override;
  void onGroupRange(const Pax::IpGenPrefix &prefix) override { handleGroupRange(prefix); }
  void onGroupRangeOptions(const Pax::IpGenPrefix &prefix) override { handleGroupRangeOptions(prefix); }
  void onAcl(const std::string &acl) override { handleAcl(acl); }
  void onAclOptions(const std::string &acl) override { handleAclOptions(acl); }
  void onMode() override { handleMode(); }
  void onAdvInterval() override { handleAdvInterval(); }

  void handleInitialized();
  /// Withdraws all that it serves.
  void handleDel();
  /// Another interface's element is stored under the address now.
  void handleAddressTaken(const Pax::IpGenAddr &address);
  /// The element that stood under the address is gone.
  void handleAddressFree(const Pax::IpGenAddr &address);

  /// An ACL that the interface uses starts or stops permitting the prefix.
  void doAclPrefixActivate(const std::string &acl, const Pax::IpGenPrefix &prefix);
  void doAclPrefixDeactivate(const std::string &acl, const Pax::IpGenPrefix &prefix);

 private:
  struct KivIntf : Kiv::ReactorOf<Ip::SourceIntf, KivRpCandidateConfig> {
    using ReactorOf::ReactorOf;
    void onIpAddr() override { owner_.handleIpAddress(); }
  };

  void handleIpAddress();
  void handleGroupRange(const Pax::IpGenPrefix &prefix);
  void handleGroupRangeOptions(const Pax::IpGenPrefix &prefix);
  void handleAcl(const std::string &acl);
  void handleAclOptions(const std::string &acl);
  void handleMode();
  void handleAdvInterval();

  void doStart();
  void doPasses();
  void doRemove();
  void doCrpIs();

  void doGroupAdd(const Pax::IpGenPrefix &prefix);
  void doGroupOptionsAdd(const Pax::IpGenPrefix &prefix);
  void doGroupOptionsRemove(const Pax::IpGenPrefix &prefix);

  void doAclAdd(const std::string &acl);
  void doAclRemove(const std::string &acl);
  void doAclPrefixAdd(const std::string &acl, const Pax::IpGenPrefix &prefix);
  void doAclOptionsAdd(const std::string &acl);
  void doAclOptionsRemove(const std::string &acl);
  void doAclAttach(const std::string &acl);
  void doAclDetach(const std::string &acl);
  bool usesAcl(const std::string &acl) const;

  template <class Options, class Key, void (KivRpCandidateConfig::*handle)(const Key &key)>
  class KivOptions;
  using KivGroupRangeOptions =
      KivOptions<RpCandidateGroupEntryOptions, Pax::IpGenPrefix, &KivRpCandidateConfig::doGroupOptionsAdd>;
  using KivAclOptions = KivOptions<RpCandidateAclEntryOptions, std::string, &KivRpCandidateConfig::doAclOptionsAdd>;

  /// Whether it has an address of its own.
  bool initialized() const { return !element_.address().isZero(); }
  Kiv::Ptr<RpCandidate> crp() const { return element_.crp(); }
  const std::string &vrfName() const { return owner_.vrfName(); }

  const Pax::IntfId intfId_;
  KivIntf kivIntf_;
  RpCandidateElement element_;
  std::map<Pax::IpGenPrefix, std::unique_ptr<KivGroupRangeOptions>> groupRangeOptions_;
  std::map<std::string, std::unique_ptr<KivAclOptions>> aclOptions_;
};

}  // namespace Routing::Pim::Bsr
