#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <sstream>

#include "config/ConfigSm.h"

namespace Routing::Pim::Bsr {
namespace {

const Pax::IntfId lo("default", "lo"), eth0("default", "eth0");

struct Vrf {
  Vrf() { status->afIs(Pax::AddressFamily::ipv4); }
  void addressIs(const Pax::IntfId &intfId, const char *address) {
    interfaces->intfStatusIs(intfId)->ipAddrIs(*address ? Pax::IpGenAddr::fromText(address) : Pax::IpGenAddr());
  }
  void start() { sm.emplace(config, borders, clear, status, nullptr, &sourceIntfSm, acls); }
  Kiv::Ptr<BsrCandidateGroup> zoneIs(const Pax::IntfId &intfId) {
    const auto group = config->bsrCandidateConfigIs(intfId)->groupIs(zone);
    group->hashMaskLenIs(30);
    group->priorityIs(64);
    return group;
  }

  const Pax::IpGenPrefix zone = Pax::IpGenPrefix::fromText("239.1.0.0/16");
  const Kiv::Ptr<Config> config = Kiv::make<Config>();
  const Kiv::Ptr<VrfIntfConfig> borders = Kiv::make<VrfIntfConfig>("default");
  const Kiv::Ptr<ClearConfig> clear = Kiv::make<ClearConfig>();
  const Kiv::Ptr<Status> status = Kiv::make<Status>(L3::VrfName("default"));
  const Kiv::Ptr<Acl::Input::Config> acls = Kiv::make<Acl::Input::Config>();
  const Kiv::Ptr<Ip::AllIntfStatusDir> interfaces = Kiv::make<Ip::AllIntfStatusDir>();
  Ip::SourceIntfSm sourceIntfSm{Kiv::make<Ip::SourceIntfDir>("sourceIntfDir"), interfaces};
  std::optional<ConfigSm> sm;
};

TEST(ConfigSm, TheScopedZoneTimeoutIsComparedWithTheHoldTimeOnlyWhenItChanges) {
  Vrf vrf;
  vrf.start();
  vrf.config->holdTimeIs(60);
  for (const auto &[configured, published] : {std::pair(300u, 600u), {600u, 600u}, {700u, 700u}}) {
    vrf.config->szTimeoutIs(configured);
    EXPECT_EQ(vrf.status->szTimeout(), published);
  }
  vrf.config->holdTimeIs(90);
  EXPECT_EQ(vrf.status->bsTimeout(), 90u);
  EXPECT_EQ(vrf.status->szTimeout(), 700u);
}

TEST(ConfigSm, TwoInterfacesOfOneZoneAreFatal) {
  Vrf vrf;
  vrf.addressIs(lo, "10.0.0.1");
  vrf.addressIs(eth0, "10.0.0.2");
  vrf.zoneIs(lo);
  vrf.start();
  EXPECT_DEATH(vrf.zoneIs(eth0), "Assertion failed: intfId == kivBsrCandidateConfig\\(\\)->intfId\\(\\)");
}

// lo offers the zone by what A permits, eth0 by itself.
TEST(ConfigSm, AZoneThatTwoInterfacesOfferIsOfOneOfThem) {
  Vrf vrf;
  vrf.addressIs(lo, "10.0.0.1");
  vrf.addressIs(eth0, "10.0.0.2");
  vrf.start();
  const auto rules = Kiv::make<Acl::AclSubConfig>();
  vrf.acls->aclIs("A")->currCfgIs(rules);
  const auto acl = vrf.config->bsrCandidateConfigIs(lo)->aclIs("A");
  const auto permit = [&] { rules->ruleBySequenceIs(1, {Acl::Action::permit, {vrf.zone}}); };
  acl->hashMaskLenIs(29);
  acl->priorityIs(5);
  const struct {
    std::function<void()> act;
    const char *served;
  } table[] = {
      {permit, "lo 10.0.0.1 5 29 60"},
      {[&] { vrf.zoneIs(eth0), vrf.status->cbsr(vrf.zone)->electedIs(true); }, "eth0 10.0.0.2 64 30 60 elected"},
      {[&] { acl->priorityIs(6), acl->hashMaskLenIs(28), acl->intervalIs(61); }, "eth0 10.0.0.2 64 30 60 elected"},
      {[&] { vrf.addressIs(lo, "10.0.0.3"); }, "eth0 10.0.0.2 64 30 60 elected"},
      {[&] { rules->ruleBySequenceDel(1); }, "eth0 10.0.0.2 64 30 60 elected"},
      {permit, "lo 10.0.0.3 6 28 61 elected"},
      {[&] { vrf.addressIs(eth0, ""); }, "lo 10.0.0.3 6 28 61 elected"},
      {[&] { vrf.addressIs(lo, ""); }, ""},
      {[&] { vrf.addressIs(eth0, "10.0.0.4"); }, "eth0 10.0.0.4 64 30 60"},
      {[&] { vrf.addressIs(lo, "10.0.0.1"); }, "eth0 10.0.0.4 64 30 60"},
      {[&] { vrf.config->bsrCandidateConfigDel(eth0); }, "lo 10.0.0.1 6 28 61"},
      {[&] { vrf.config->bsrCandidateConfigDel(lo); }, ""},
  };
  for (const auto &[act, served] : table) {
    act();
    std::ostringstream is;
    if (const auto cbsr = vrf.status->cbsr(vrf.zone)) {
      is << cbsr->intfId() << ' ' << cbsr->address() << ' ' << cbsr->priority() << ' ' << cbsr->hashMaskLen() << ' '
         << cbsr->bsPeriod() << (cbsr->elected() ? " elected" : "");
    }
    EXPECT_EQ(is.str(), served);
  }
  EXPECT_TRUE(vrf.status->zoneGroup().empty() && vrf.status->zoneAcl().empty() && vrf.sm->bsrConfigAcl().empty());
}

// Both serve what A permits, and eth0 the same range by itself.
TEST(ConfigSm, AnAddressOfTwoInterfacesIsOfOneOfThem) {
  Vrf vrf;
  for (const Pax::IntfId &intfId : {lo, eth0}) vrf.addressIs(intfId, "10.0.0.1");
  vrf.start();
  const auto rules = Kiv::make<Acl::AclSubConfig>();
  vrf.acls->aclIs("A")->currCfgIs(rules);
  const auto permit = [&] { rules->ruleBySequenceIs(1, {Acl::Action::permit, {vrf.zone}}); };
  const auto deny = [&] { rules->ruleBySequenceDel(1); };
  const auto rp = [&](const Pax::IntfId &intfId) { return vrf.config->rpCandidateConfigIs(intfId); };
  for (const Pax::IntfId &intfId : {lo, eth0}) rp(intfId)->aclIs("A");
  const struct {
    std::function<void()> act;
    const char *served;
  } table[] = {
      {permit, "lo"},
      {[&] { rp(eth0)->groupRangeIs(vrf.zone); }, "lo"},
      {deny, "eth0"},
      {permit, "eth0"},
      {[&] { rp(eth0)->groupRangeDel(vrf.zone); }, "eth0"},
      {[&] { rp(eth0)->aclDel("A"); }, "lo"},
      {[&] { rp(eth0)->groupRangeIs(vrf.zone); }, "lo"},
      {[&] { vrf.addressIs(lo, "10.0.0.2"); }, "eth0"},
      {[&] { vrf.addressIs(lo, "10.0.0.1"); }, "eth0"},
      {[&] { rp(eth0)->groupRangeDel(vrf.zone); }, "lo"},
      {[&] { rp(eth0)->groupRangeIs(vrf.zone); }, "lo"},
      {[&] { vrf.config->rpCandidateConfigDel(lo); }, "eth0"},
      {[&] { vrf.config->rpCandidateConfigDel(eth0); }, ""},
  };
  for (const auto &[act, served] : table) {
    act();
    const auto crp = vrf.status->crp(Pax::IpGenAddr::fromText("10.0.0.1"));
    EXPECT_EQ(crp && crp->prefixSet(vrf.zone) ? crp->intfId().name() : "", served);
  }
  EXPECT_TRUE(vrf.sm->bsrConfigAcl().empty());
}

}  // namespace
}  // namespace Routing::Pim::Bsr
