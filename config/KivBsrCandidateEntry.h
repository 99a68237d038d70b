/// The entries of a candidate-BSR interface: zones by group prefix, and zones by ACL.
#pragma once

#include "config/KivBsrCandidateConfig.h"

namespace Routing::Pim::Bsr {

/// What both kinds have in common. Owned by KivBsrCandidateConfig. An entry is initialized once it has all its values
/// and the interface has an address, and stays so until it is removed, whatever becomes of either. It claims its zone
/// or ACL in status, and writes the elements of its zones while its values are the ones that are used.
class KivBsrCandidateConfig::KivEntry {
 public:
  explicit KivEntry(KivBsrCandidateConfig &candidate) : candidate_(candidate) {}
  virtual ~KivEntry() = default;

  bool initialized() const { return initialized_; }
  void handleInitialize();
  virtual void handleDel() = 0;

  virtual CandidacyOptions options() const = 0;
  /// Whether it is initialized and a source of the zone.
  bool offers(const Pax::IpGenPrefix &zone) const { return initialized_ && hasZone(zone); }

 protected:
  void handlePriority();
  void handleHashMaskLen();
  void handleInterval();
  virtual bool hasZone(const Pax::IpGenPrefix &zone) const = 0;
  virtual std::vector<Pax::IpGenPrefix> zones() const = 0;
  /// Claims the zone or the ACL, and serves its zones.
  virtual void doAdd() = 0;

  /// One interface serves a zone. That another one has claimed it already is fatal.
  void requireOwn(const Pax::IntfId &intfId) const;
  /// `kind` and `name` say in the trace what the candidacy that ends was for.
  template <class Name>
  void doSourceRemove(const Pax::IpGenPrefix &zone, const char *kind, const Name &name);

  ConfigSm &configSm() const { return candidate_.owner_; }
  Status &status() const { return candidate_.status(); }
  const std::string &vrfName() const { return candidate_.vrfName(); }

  KivBsrCandidateConfig &candidate_;
  bool initialized_ = false;

 private:
  template <class Value>
  void changed(const char *what, Value CandidacyOptions::*value, void (BsrCandidate::*set)(const Value &));
};

template <class EntryConfig>
class KivBsrCandidateConfig::KivEntryOf : public KivEntry, public EntryConfig::Notifiee {
 public:
  KivEntryOf(KivBsrCandidateConfig &candidate, const Kiv::Ptr<const EntryConfig> &config) : KivEntry(candidate) {
    this->notifierIs(config);
  }
  void onPriority() override { handlePriority(); }
  void onHashMaskLen() override { handleHashMaskLen(); }
  void onInterval() override { handleInterval(); }
  CandidacyOptions options() const override { return bsrOptionsOf(*this->notifier()); }
};

class KivBsrCandidateConfig::KivGroup : public KivEntryOf<BsrCandidateGroup> {
 public:
  KivGroup(KivBsrCandidateConfig &candidate, const Pax::IpGenPrefix &prefix,
           const Kiv::Ptr<const BsrCandidateGroup> &config)
      : KivEntryOf(candidate, config), prefix_(prefix) {}
  void handleDel() override;

 private:
  void doAdd() override;
  void doGroupAdd(const Pax::IpGenPrefix &prefix);
  void doGroupRemove(const Pax::IpGenPrefix &prefix);
  bool hasZone(const Pax::IpGenPrefix &zone) const override { return zone == prefix_; }
  std::vector<Pax::IpGenPrefix> zones() const override { return {prefix_}; }

  const Pax::IpGenPrefix prefix_;
};

class KivBsrCandidateConfig::KivAcl : public KivEntryOf<BsrCandidateAcl> {
 public:
  KivAcl(KivBsrCandidateConfig &candidate, const std::string &acl, const Kiv::Ptr<const BsrCandidateAcl> &config)
      : KivEntryOf(candidate, config), acl_(acl) {}
  void handleDel() override;
  void doAclPrefixAdd(const Pax::IpGenPrefix &zone);
  void doAclPrefixRemove(const Pax::IpGenPrefix &zone);

 private:
  void doAdd() override;
  void doAclAdd(const std::string &acl);
  void doAclRemove(const std::string &acl);
  bool hasZone(const Pax::IpGenPrefix &zone) const override { return configSm().permitsGroup(acl_, zone); }
  std::vector<Pax::IpGenPrefix> zones() const override { return configSm().groupsOf(acl_); }

  const std::string acl_;
};

}  // namespace Routing::Pim::Bsr
