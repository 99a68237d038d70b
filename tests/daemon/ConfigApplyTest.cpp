#include "daemon/ConfigApply.h"

#include <gtest/gtest.h>

#include <memory>
#include <sstream>

#include "daemon/ConfigFile.h"

namespace Routing::Pim::Bsr {
namespace {

/// What is heard of a configuration, in order: "+NAME KEY", "-NAME KEY" and "NAME VALUE".
struct Log {
  std::vector<std::string> heard;
  std::vector<std::shared_ptr<void>> ears;

  template <class... Parts>
  void add(const Parts &...parts) {
    std::ostringstream text;
    (text << ... << parts);
    heard.push_back(text.str());
  }
};

template <class EntityType>
struct Ear : EntityType::Notifiee {
  Ear(Log &log, const Kiv::Ptr<EntityType> &entity) : log(log) { this->notifierIs(entity); }
  Log &log;
};

#define HEAR(Name, name) \
  void on##Name() override { log.add(#name " ", this->notifier()->name()); }
#define HEAR_SET(Key, Name, name) \
  void on##Name(const Key &key) override { log.add(this->notifier()->name(key) ? "+" : "-", #name " ", key); }
// Listens to a new element, too.
#define HEAR_MAP(Key, Name, name, ElementEar)                                          \
  void on##Name(const Key &key) override {                                             \
    const auto element = this->notifier()->name(key);                                  \
    log.add(element ? "+" : "-", #name " ", key);                                      \
    if (element) log.ears.push_back(std::make_shared<ElementEar>(this->log, element)); \
  }

template <class Entry>
struct CandidacyEar : Ear<Entry> {
  using Ear<Entry>::Ear, Ear<Entry>::log;
  HEAR(Interval, interval)
  HEAR(Priority, priority)
  HEAR(HashMaskLen, hashMaskLen)
};
template <class Options>
struct OptionsEar : Ear<Options> {
  using Ear<Options>::Ear, Ear<Options>::log;
  HEAR(Priority, priority)
};
struct BsrEar : Ear<BsrCandidateConfig> {
  using Ear::Ear;
  HEAR_MAP(Pax::IpGenPrefix, Group, group, CandidacyEar<BsrCandidateGroup>)
  HEAR_MAP(std::string, Acl, acl, CandidacyEar<BsrCandidateAcl>)
};
struct RpEar : Ear<RpCandidateConfig> {
  using Ear::Ear;
  HEAR_SET(Pax::IpGenPrefix, GroupRange, groupRange)
  HEAR_SET(std::string, Acl, acl)
  HEAR_MAP(Pax::IpGenPrefix, GroupRangeOptions, groupRangeOptions, OptionsEar<RpCandidateGroupEntryOptions>)
  HEAR_MAP(std::string, AclOptions, aclOptions, OptionsEar<RpCandidateAclEntryOptions>)
  HEAR(Mode, mode)
  HEAR(AdvInterval, advInterval)
};
struct VrfEar : Ear<Config> {
  using Ear::Ear;
  HEAR(HoldTime, holdTime)
  HEAR(SzTimeout, szTimeout)
  HEAR_MAP(Pax::IntfId, BsrCandidateConfig, bsrCandidateConfig, BsrEar)
  HEAR_MAP(Pax::IntfId, RpCandidateConfig, rpCandidateConfig, RpEar)
  HEAR_SET(std::string, CrpFilterAcl, crpFilterAcl)
};
struct IntfEar : Ear<IntfConfig> {
  using Ear::Ear;
  HEAR_SET(Pax::IpGenPrefix, BsrBorderGrp, bsrBorderGrp)
  HEAR_SET(std::string, BsrBorderAcl, bsrBorderAcl)
};
struct CollEar : Ear<ConfigColl> {
  using Ear::Ear;
  HEAR_MAP(L3::VrfName, VrfConfig, vrfConfig, VrfEar)
  HEAR_MAP(Pax::IntfId, IntfConfig, intfConfig, IntfEar)
};
struct AclEar : Ear<Acl::AclConfig> {
  using Ear::Ear;
  void onCurrCfg() override { log.add("rules of ", notifier()->name()); }
};
struct AclsEar : Ear<Acl::Input::Config> {
  using Ear::Ear;
  HEAR_MAP(std::string, Acl, acl, AclEar)
};

struct Reload {
  const char *before;
  const char *after;
  std::vector<std::string> heard;
};

/// What a reload lets hear; a second one must be silent.
std::vector<std::string> heardOf(const Reload &reload) {
  Log log;
  const auto coll = Kiv::make<ConfigColl>();
  const auto acls = Kiv::make<Acl::Input::Config>();
  const CollEar collEar(log, coll);
  const AclsEar aclsEar(log, acls);
  const auto apply = [&](const std::string &text) {
    const auto loaded = configurationFromText(text, Pax::AddressFamily::ipv4);
    for (const Finding &error : loaded.findings.errors) ADD_FAILURE() << toText(text, error);
    log.heard.clear();
    configurationApply(loaded.configuration, *coll, *acls);
    return log.heard;
  };
  const auto file = [](const char *settings) { return std::string(R"({"pim": {"default": {}}, )") + settings + "}"; };
  apply(file(reload.before));
  const auto heard = apply(file(reload.after));
  EXPECT_EQ(apply(file(reload.after)), std::vector<std::string>());
  return heard;
}

#define BSR(candidates) R"("vrfConfig": {"default": {"holdTime": 130, "bsrCandidateConfig": {)" candidates "}}}"
#define RP(candidates) R"("vrfConfig": {"default": {"rpCandidateConfig": {)" candidates "}}}"
#define PERMIT(prefix) R"([{"permit": ")" prefix R"("}])"

TEST(ConfigApply, AReloadWritesWhatDiffersInTheOrderInWhichNothingThatStaysIsAway) {
  const Reload table[] = {
      {R"("vrfConfig": {})", R"("vrfConfig": {"default": {"holdTime": 60}})", {"holdTime 60", "szTimeout 600"}},
      // An entry is complete with its hash mask length.
      {R"("acl": {})",
       BSR(R"("lo": {"group": {"224.0.0.0/4": {"interval": 30}}})"),
       {"+bsrCandidateConfig lo", "+group 224.0.0.0/4", "interval 30", "priority 64", "hashMaskLen 30"}},
      {BSR(R"("lo": {"group": {"224.0.0.0/4": {}}})"),
       BSR(R"("lo": {"group": {"224.0.0.0/4": {"priority": 65}}})"),
       {"priority 65"}},
      {RP(R"("lo": {"groupRange": {"225.0.0.0/8": {"priority": 1}, "226.0.0.0/8": {}}})"),
       RP(R"("lo": {"groupRange": {"225.0.0.0/8": {"priority": 2}, "227.0.0.0/8": {}}, "mode": "bidir"})"),
       {"mode bidir", "priority 2", "+groupRange 227.0.0.0/8", "+groupRangeOptions 227.0.0.0/8", "priority 192",
        "-groupRange 226.0.0.0/8", "-groupRangeOptions 226.0.0.0/8"}},
      // ACLs come first and go last, and change at one stroke.
      {R"("acl": {"A": [{"permit": "239.1.0.0/16"}, {"permit": "239.3.0.0/16"}]}, )" BSR(R"("lo": {"acl": {"A": {}}})"),
       R"("acl": {"B": )" PERMIT("239.1.0.0/16") "}, " BSR(R"("lo": {"acl": {"B": {}}})"),
       {"+acl B", "rules of B", "+acl B", "priority 64", "hashMaskLen 30", "-acl A", "-acl A"}},
      {R"("acl": {"A": [{"permit": "239.1.0.0/16"}, {"permit": "239.3.0.0/16"}]}, )" BSR(R"("lo": {"acl": {"A": {}}})"),
       R"("acl": {"A": [{"permit": "239.3.0.0/16"}, {"deny": "any"}]}, )" BSR(R"("lo": {"acl": {"A": {}}})"),
       {"rules of A"}},
      // A prefix moves within one interface: there first, then away.
      {R"("acl": {"A": )" PERMIT("239.2.0.0/16") "}, " BSR(
           R"("lo": {"group": {"239.1.0.0/16": {}}, "acl": {"A": {}}})"),
       R"("acl": {"A": )" PERMIT("239.1.0.0/16") "}, " BSR(
           R"("lo": {"group": {"239.2.0.0/16": {}}, "acl": {"A": {}}})"),
       {"+group 239.2.0.0/16", "priority 64", "hashMaskLen 30", "rules of A", "-group 239.1.0.0/16"}},
      {R"("acl": {"A": )" PERMIT("239.1.0.0/16") R"(, "B": [{"deny": "any"}]}, )" RP(
           R"("lo": {"acl": {"A": {}, "B": {}}})"),
       R"("acl": {"B": )" PERMIT("239.1.0.0/16") R"(, "A": [{"deny": "any"}]}, )" RP(
           R"("lo": {"acl": {"A": {}, "B": {}}})"),
       {"rules of B", "rules of A"}},
      // A zone moves to another interface: away first, whether it is there by itself or by an ACL.
      {BSR(R"("lo": {"group": {"239.1.0.0/16": {}}})"),
       BSR(R"("eth0": {"group": {"239.1.0.0/16": {}}})"),
       {"-group 239.1.0.0/16", "+bsrCandidateConfig eth0", "+group 239.1.0.0/16", "priority 64", "hashMaskLen 30",
        "-bsrCandidateConfig lo"}},
      {R"("acl": {"A": )" PERMIT("239.1.0.0/16") "}, " BSR(R"("lo": {"acl": {"A": {}}})"),
       R"("acl": {"A": )" PERMIT("239.1.0.0/16") "}, " BSR(R"("eth0": {"group": {"239.1.0.0/16": {}}})"),
       {"-acl A", "+bsrCandidateConfig eth0", "+group 239.1.0.0/16", "priority 64", "hashMaskLen 30",
        "-bsrCandidateConfig lo"}},
      {R"("acl": {"A": )" PERMIT("239.1.0.0/16") "}, " BSR(R"("lo": {"acl": {"A": {}}})"),
       R"("acl": {"A": )" PERMIT("239.2.0.0/16") "}, " BSR(
           R"("eth0": {"group": {"239.1.0.0/16": {}}}, "lo": {"acl": {"A": {}}})"),
       {"+bsrCandidateConfig eth0", "rules of A", "+group 239.1.0.0/16", "priority 64", "hashMaskLen 30"}},
      {R"("acl": {"A": [{"deny": "any"}], "B": )" PERMIT("239.1.0.0/16") "}, " BSR(
           R"("lo": {"acl": {"A": {}}}, "eth0": {"acl": {"B": {}}})"),
       R"("acl": {"B": [{"deny": "any"}], "A": )" PERMIT("239.1.0.0/16") "}, " BSR(
           R"("lo": {"acl": {"A": {}}}, "eth0": {"acl": {"B": {}}})"),
       {"rules of B", "rules of A"}},
      {R"("acl": {"A": )" PERMIT("239.1.0.0/16") "}, " BSR(
           R"("lo": {"acl": {"A": {}}}, "eth0": {"group": {"239.2.0.0/16": {}}})"),
       R"("acl": {"A": )" PERMIT("239.2.0.0/16") "}, " BSR(R"("eth0": {"group": {"239.2.0.0/16": {}}})"),
       {"-acl A", "rules of A", "-bsrCandidateConfig lo"}},
      // A filter is never without an ACL in between, which would let everybody in.
      {R"("acl": {"A": [], "B": []}, "vrfConfig": {"default": {"crpFilterAcl": ["A"]}})",
       R"("acl": {"B": []}, "vrfConfig": {"default": {"crpFilterAcl": ["B"]}})",
       {"+crpFilterAcl B", "-crpFilterAcl A", "-acl A"}},
      {R"("intfConfig": {"e": {"bsrBorderGrp": ["239.1.0.0/16"]}})",
       R"("intfConfig": {"e": {"bsrBorderGrp": ["239.2.0.0/16"]}, "f": {}})",
       {"+bsrBorderGrp 239.2.0.0/16", "+intfConfig f", "-bsrBorderGrp 239.1.0.0/16"}},
      {R"("intfConfig": {"e": {}})", R"("vrfConfig": {})", {"-intfConfig e"}},
  };
  for (const Reload &reload : table) EXPECT_EQ(heardOf(reload), reload.heard) << reload.before << "\n" << reload.after;
}

}  // namespace
}  // namespace Routing::Pim::Bsr
