#include "view/Show.h"

#include <gtest/gtest.h>

#include <set>

#include "daemon/control/Nouns.h"
#include "tests/support/TestVrf.h"

namespace Routing::Pim::Bsr {
namespace {

using ::Test::Addresses;
using ::Test::Bsm;
using ::Test::ipv4;
using ::Test::ipv6;
using ::Test::TestVrf;

VrfView viewOf(const TestVrf &vrf) {
  std::vector<Pax::IntfId> pimInterfaces;
  for (const uint32_t n : {9, 6, 4, 3, 1}) pimInterfaces.push_back(vrf.intf(n));
  return viewOf(vrf.system, "default", vrf.sm.get(), vrf.time.now(), pimInterfaces);
}

// A VRF with a neighbor, a BSR of the global zone and RPs of two groups, learned 10 s ago.
void learn(TestVrf &vrf) {
  vrf.intfIs(1);
  vrf.hear(Bsm(vrf.a.host(1), 70)
               .group(vrf.a.group(2), {{vrf.a.host(20), 150, 5}, {vrf.a.host(3), 100, 192}})
               .group(vrf.a.group(1), {{vrf.a.host(9), 150, 0}}));
  vrf.time.advanceTo(vrf.time.now() + 10);
}

void aclIs(TestVrf &vrf, const std::string &name, const char *prefix) {
  const auto rules = Kiv::make<Acl::AclSubConfig>();
  rules->ruleBySequenceIs(1, {Acl::Action::permit, {Pax::IpGenPrefix::fromText(prefix)}});
  vrf.acls->aclIs(name)->currCfgIs(rules);
}

// eth1 and eth2 have one address, eth3 has none, eth6 is down, and there is no eth9.
void configure(TestVrf &vrf) {
  const auto prefix = [](const char *text) { return Pax::IpGenPrefix::fromText(text); };
  const Pax::IntfId eth1 = vrf.intf(1), eth2 = vrf.intf(2), eth3 = vrf.intf(3), eth4 = vrf.intf(4), eth9 = vrf.intf(9);
  vrf.interfaces->intfStatusIs(eth1)->ipAddrIs(vrf.a.host(1));
  vrf.interfaces->intfStatusIs(eth2)->ipAddrIs(vrf.a.host(1));
  vrf.interfaces->intfStatusIs(eth3)->adminUpIs(true);
  vrf.interfaces->intfStatusIs(vrf.intf(6));
  const auto noPimAddress = vrf.interfaces->intfStatusIs(eth4);
  noPimAddress->ipAddrIs(vrf.a.host(4));
  noPimAddress->adminUpIs(true);
  noPimAddress->upIs(true);
  aclIs(vrf, "GROUPS", "239.1.0.0/16");
  aclIs(vrf, "HOSTS", "10.0.0.0/8");
  aclIs(vrf, "IDLE", "10.0.0.0/8");

  const auto complete = [](const auto &entry, uint16_t priority) {
    entry->hashMaskLenIs(30);
    entry->priorityIs(priority);
  };
  const auto bsrs = vrf.config->bsrCandidateConfigIs(eth1);
  complete(bsrs->groupIs(prefix("239.1.0.0/16")), 10);
  for (const char *acl : {"GROUPS", "HOSTS", "MISSING"}) complete(bsrs->aclIs(acl), 20);
  bsrs->groupIs(prefix("239.2.0.0/16"))->hashMaskLenIs(30);
  bsrs->groupIs(prefix("239.3.0.0/16"))->priorityIs(0);
  complete(vrf.config->bsrCandidateConfigIs(eth3)->groupIs(prefix("239.4.0.0/16")), 0);
  complete(vrf.config->bsrCandidateConfigIs(eth9)->groupIs(prefix("239.5.0.0/16")), 0);

  const auto rangeIs = [&](const Pax::IntfId &intfId) {
    const auto rp = vrf.config->rpCandidateConfigIs(intfId);
    rp->groupRangeOptionsIs(prefix("225.1.0.0/16"))->priorityIs(5);
    rp->groupRangeIs(prefix("225.1.0.0/16"));
    return rp;
  };
  rangeIs(eth1)->aclIs("GROUPS");
  for (const Pax::IntfId &intfId : {eth2, eth3, vrf.intf(6), eth9}) rangeIs(intfId);
  vrf.config->rpCandidateConfigIs(eth4)->aclIs("HOSTS");
  vrf.config->rpCandidateConfigIs(vrf.intf(5));
  vrf.interfaces->intfStatusIs(vrf.intf(5))->ipAddrIs(vrf.a.host(5));

  const auto borderIs = [&](const Pax::IntfId &intfId, const char *zone) {
    const auto border = vrf.system.configColl->intfConfigIs(intfId);
    border->bsrBorderGrpIs(prefix(zone));
    vrf.borders->intfConfigIs(intfId, border);
    return border;
  };
  borderIs(eth1, "239.1.0.0/16")->bsrBorderAclIs("MISSING");
  borderIs(eth2, "239.2.0.0/16")->bsrBorderAclIs("GROUPS");
  borderIs(eth9, "239.3.0.0/16");
  for (const char *acl : {"HOSTS", "GROUPS"}) vrf.config->crpFilterAclIs(acl);
}

// The columns of each row; texts without their quotation marks.
std::string brief(const Rows &rows, const std::vector<std::string> &columns) {
  std::string text;
  for (const Rows &row : rows) {
    std::string line;
    for (const std::string &column : columns) {
      const Rows &value = row.at(column);
      line += (line.empty() ? "" : " | ") + (value.is_string() ? value.get<std::string>() : value.dump());
    }
    text += line + "\n";
  }
  return text;
}

TEST(Show, WhatIsConfiguredIsThereWithTheReasonWhyItIsNotInForce) {
  const struct {
    const char *noun;
    std::vector<std::string> columns;
    const char *rows;
  } cases[] = {
      {"candidate-bsr",
       {"zone", "interface", "address", "priority", "hashMaskLen", "sources", "active", "reason"},
       R"(null | eth1 | 10.0.0.1 | 20 | 30 | ["HOSTS"] | false | ACL HOSTS permits no group
null | eth1 | 10.0.0.1 | 20 | 30 | ["MISSING"] | false | ACL MISSING is not defined
239.1.0.0/16 | eth1 | 10.0.0.1 | 20 | 30 | ["group","GROUPS"] | true | null
239.2.0.0/16 | eth1 | 10.0.0.1 | null | 30 | ["group"] | false | priority not set
239.3.0.0/16 | eth1 | 10.0.0.1 | 0 | null | ["group"] | false | hash mask length not set
239.4.0.0/16 | eth3 | null | 0 | 30 | ["group"] | false | eth3 has no global address
239.5.0.0/16 | eth9 | null | 0 | 30 | ["group"] | false | eth9 does not exist
)"},
      {"candidate-rp",
       {"rp", "interface", "groups", "active", "reason"},
       R"(10.0.0.1 | eth1 | [{"prefix":"225.1.0.0/16","priority":5},{"prefix":"239.1.0.0/16","priority":null}] | true | null
10.0.0.1 | eth2 | [{"prefix":"225.1.0.0/16","priority":5}] | false | eth1 serves 10.0.0.1
null | eth3 | [{"prefix":"225.1.0.0/16","priority":5}] | false | eth3 has no global address
10.0.0.4 | eth4 | [] | false | ACL HOSTS permits no group
10.0.0.5 | eth5 | [] | false | serves no group
null | eth6 | [{"prefix":"225.1.0.0/16","priority":5}] | false | eth6 is down
null | eth9 | [{"prefix":"225.1.0.0/16","priority":5}] | false | eth9 does not exist
)"},
      {"border",
       {"prefix", "interfaces", "sources", "active", "reason"},
       R"(239.1.0.0/16 | ["eth1","eth2"] | ["GROUPS","group"] | true | null
239.2.0.0/16 | ["eth2"] | ["group"] | true | null
239.3.0.0/16 | ["eth9"] | ["group"] | false | eth9 does not exist
null | ["eth1"] | ["MISSING"] | false | ACL MISSING is not defined
)"},
      {"filter",
       {"prefix", "sources", "active", "reason"},
       R"(10.0.0.0/8 | ["HOSTS"] | true | null
null | ["GROUPS"] | false | ACL GROUPS permits no source
)"},
      {"acl",
       {"acl", "exists", "groups", "unicast", "active", "reason"},
       R"(GROUPS | true | ["239.1.0.0/16"] | [] | false | ACL GROUPS permits no source
HOSTS | true | [] | ["10.0.0.0/8"] | false | ACL HOSTS permits no group
IDLE | true | [] | ["10.0.0.0/8"] | false | not used in this VRF
MISSING | false | [] | [] | false | ACL MISSING is not defined
)"},
  };
  TestVrf vrf(ipv4);
  vrf.intfIs(1);
  configure(vrf);
  EXPECT_EQ(brief(rowsOf("interfaces", {viewOf(vrf)}), {"interface", "state", "reason", "neighbors"}),
            "eth1 | on | null | 1\neth2 | off | PIM is not configured there | 0\neth3 | off | eth3 has no carrier | "
            "0\neth4 | off | eth4 has no address | 0\n"
            "eth6 | off | eth6 is down | 0\neth9 | off | eth9 does not exist | 0\n");
  for (const auto &c : cases) EXPECT_EQ(brief(rowsOf(c.noun, {viewOf(vrf)}), c.columns), c.rows) << c.noun;
  EXPECT_EQ(rowsOf("acl", {viewOf(vrf)})[0]["rules"], Rows::parse(R"(["permit 239.1.0.0/16"])"));
  EXPECT_EQ(
      rowsOf("acl", {viewOf(vrf)})[3]["users"],
      Rows::parse(R"([{"role": "border", "interface": "eth1"}, {"role": "candidate-bsr", "interface": "eth1"}])"));

  vrf.stop();
  for (const auto &c : cases) {
    for (const Rows &row : rowsOf(c.noun, {viewOf(vrf)}))
      EXPECT_TRUE(!row["active"] && row["reason"].is_string()) << row;
  }
}

TEST(Show, ACandidateRpTellsWhereItAdvertises) {
  TestVrf vrf(ipv4);
  vrf.intfIs(1);
  configure(vrf);
  vrf.hear(Bsm(vrf.a.host(8)));
  EXPECT_EQ(rowsOf("candidate-rp", {viewOf(vrf)})[0]["zones"][0]["bsr"], "10.0.0.8");
  vrf.advance(30);  // the quick ones are over
  const double next = rowsOf("candidate-rp", {viewOf(vrf)})[0]["zones"][0]["nextAdvertisement"];
  const size_t sent = vrf.port->advertised.size();
  vrf.advance(next - 0.5);
  EXPECT_EQ(vrf.port->advertised.size(), sent);
  vrf.advance(1);
  EXPECT_EQ(vrf.port->advertised.size(), sent + 1);
  for (uint32_t n = 256; n < 512; ++n) {
    vrf.config->rpCandidateConfig({"default", "eth1"})->groupRangeIs(vrf.a.group(n));
    vrf.config->rpCandidateConfig({"default", "eth1"})->groupRangeOptionsIs(vrf.a.group(n))->priorityIs(5);
  }
  const Rows zone = rowsOf("candidate-rp", {viewOf(vrf)})[0]["zones"][0];
  EXPECT_EQ(zone["groups"].size(), 255u);
  EXPECT_EQ(zone["leftOut"], Rows::parse(R"(["226.254.0.0/16", "226.255.0.0/16"])"));
}

TEST(Show, RowsHaveTheColumnsOfTheirNounInOrder) {
  TestVrf vrf(ipv4);
  learn(vrf);
  configure(vrf);
  for (const Control::Noun &noun : Control::nouns()) {
    if (noun.layout == Control::Noun::Layout::lines || noun.layout == Control::Noun::Layout::file) continue;
    if (std::set<std::string>{"agent", "vrf", "state", "events", "drops", "summary"}.contains(noun.name))
      continue;  // of the process
    const Rows rows = rowsOf(noun.name, {viewOf(vrf)}, *noun.operand && *noun.operand != '[' ? "225.1.0.1" : "");
    ASSERT_FALSE(rows.empty()) << noun.name;
    std::vector<std::string> columns;
    for (const Control::Column &column : noun.columns) columns.push_back(column.name);
    std::vector<std::string> names;
    for (const auto &member : rows[0].items()) names.push_back(member.key());
    if (noun.hasMore) names.erase(names.begin() + 1, names.end() - static_cast<long>(columns.size()) + 1);
    EXPECT_EQ(names, columns) << noun.name;
  }
  EXPECT_EQ(rowsOf("interfaces", {viewOf(vrf)}, "eth3").size(), 1u);
  EXPECT_EQ(rowsOf("neighbors", {viewOf(vrf)}, "eth3").size(), 0u);
  EXPECT_THROW(rowsOf("weather", {viewOf(vrf)}), std::invalid_argument);
}

TEST(Show, TheElectedBsrAndTheSortedRpSet) {
  for (const Addresses &a : {ipv4, ipv6}) {
    TestVrf vrf(a);
    const std::vector<std::string> columns{"address", "priority", "state", "upTime", "expires"};
    const auto text = [&](uint32_t host) { return Kiv::toText(Kiv::toValue(a.host(host))); };
    EXPECT_EQ(brief(rowsOf("bsr", {viewOf(vrf)}), columns), "null | null | noInfo | null | null\n");
    learn(vrf);
    EXPECT_EQ(brief(rowsOf("bsr", {viewOf(vrf)}), columns), text(1) + " | 70 | acceptPreferred | 10.0 | 120.0\n");
    EXPECT_EQ(brief(rowsOf("rp-set", {viewOf(vrf)}), {"rp", "priority", "expires", "published", "announced"}),
              text(9) + " | 0 | 140.0 | true | null\n" + text(3) + " | 192 | 90.0 | true | null\n" + text(20) +
                  " | 5 | 140.0 | true | null\n");
  }
}

TEST(Show, RpsAreChosenByAddressGroupOrRange) {
  TestVrf vrf(ipv4);
  learn(vrf);
  vrf.hear(Bsm(vrf.a.host(8)).scope(vrf.a.scope(1)).group(vrf.a.inScope(1, 1), {{vrf.a.host(9), 150, 1}}));
  const std::pair<const char *, const char *> cases[] = {
      {"10.0.0.9", "225.1.0.0/16 | 10.0.0.9\n239.1.1.0/24 | 10.0.0.9\n"},
      {"225.0.0.0/8", "225.1.0.0/16 | 10.0.0.9\n225.2.0.0/16 | 10.0.0.3\n225.2.0.0/16 | 10.0.0.20\n"},
      {"225.2.0.0/16", "225.2.0.0/16 | 10.0.0.3\n225.2.0.0/16 | 10.0.0.20\n"},
      {"239.1.1.1", "239.1.1.0/24 | 10.0.0.9\n"},
      {"10.0.0.99", ""},
  };
  for (const auto &[chosen, rows] : cases) {
    EXPECT_EQ(brief(rowsOf("rp-set", {viewOf(vrf)}, chosen), {"group", "rp"}), rows) << chosen;
  }
  for (const char *bad : {"10.0.0.0/8", "ff0e::1", "x"}) {
    EXPECT_THROW(rowsOf("rp-set", {viewOf(vrf)}, bad), std::invalid_argument) << bad;
  }
}

TEST(Show, TheBsrTellsOfItsMessagesAndTheOthersWhereTheyComeFrom) {
  TestVrf vrf(ipv4);
  learn(vrf);
  const std::vector<std::string> columns{"address", "expires", "nextBsm", "lastBsmFrom", "lastBsmAt", "rpfNeighbor"};
  const std::string neighbor = Kiv::toText(vrf.neighbor(1));
  EXPECT_EQ(brief(rowsOf("bsr", {viewOf(vrf)}), columns),
            "10.0.0.1 | 120.0 | null | " + neighbor + " | 10.0 | " + neighbor + "\n");
  vrf.candidateIs(vrf.a.global(), 50, 5);
  EXPECT_EQ(brief(rowsOf("candidate-bsr", {viewOf(vrf)}), {"elected", "winner"}), "false | 10.0.0.1\n");
  vrf.candidateDel(vrf.a.global());
  vrf.candidateIs(vrf.a.global(), 50, 200, 60);
  while (!rowsOf("bsr", {viewOf(vrf)})[0]["elected"]) vrf.advance(1);
  const double takenOver = vrf.status->bootstrapRouter(vrf.a.global())->setupTime();
  vrf.hearCrp(7, vrf.a.host(50), {{vrf.a.group(1)}});
  vrf.advance(takenOver + 15 - vrf.time.now());  // the second message went out after 10 seconds
  EXPECT_EQ(brief(rowsOf("bsr", {viewOf(vrf)}), columns), "10.0.0.50 | 125.0 | 55.0 | null | 5.0 | null\n");
  EXPECT_EQ(brief(rowsOf("candidate-bsr", {viewOf(vrf)}), {"elected", "winner"}), "true | 10.0.0.50\n");
}

TEST(Show, LongTablesComeInSlicesThatNeitherRepeatNorForget) {
  TestVrf vrf(ipv4);
  vrf.intfIs(1);
  vrf.hear(Bsm(vrf.a.host(8)).scope(vrf.a.scope(1)).group(vrf.a.inScope(1, 1), {{vrf.a.host(1), 150}}));
  Bsm bsm(vrf.a.host(8));
  for (uint32_t group = 1; group <= 6; ++group) {
    std::vector<Bsm::Rp> rps;
    for (uint32_t rp = 1; rp <= 200; ++rp) rps.push_back({vrf.a.host(1000 * group + rp), 150});
    bsm.group(vrf.a.group(group), rps);
  }
  vrf.hear(bsm);
  const Rows whole = rowsOf("rp-set", {viewOf(vrf)});
  ASSERT_EQ(whole.size(), 1201u);
  ShowCursor cursor;
  Rows rows = Rows::array();
  std::vector<size_t> sizes;
  for (bool more = true; more;) {
    more = nextRowsOf("rp-set", viewOf(vrf), "", cursor, rows);
    sizes.push_back(rows.size());
    // What is shown already, where it stands, and what is still to come.
    const auto learned = vrf.status->crpStatus(vrf.a.global())->status();
    for (const uint32_t gone : {1, 3, 5}) learned->crpSetDel(vrf.a.group(gone));
  }
  EXPECT_EQ(sizes, (std::vector<size_t>{500, 901}));
  std::set<std::string> seen;
  for (const Rows &row : rows) EXPECT_TRUE(seen.insert(row["rp"]).second) << row;
  for (const Rows &row : whole) {
    const std::string group = row["group"];
    if (group != Kiv::toText(vrf.a.group(3)) && group != Kiv::toText(vrf.a.group(5))) {
      EXPECT_TRUE(seen.contains(row["rp"])) << row;
    }
  }
}

TEST(Show, EveryZoneWithAMachineIsThereAndWithoutMachinesWeAreNoBsr) {
  TestVrf vrf(ipv4);
  vrf.intfIs(1);
  vrf.hear(Bsm(vrf.a.host(8)).scope(vrf.a.scope(1)));
  vrf.candidateIs(vrf.a.scope(2), 5, 64);
  vrf.advance(140);
  vrf.candidateIs(vrf.a.scope(3), 5, 64);
  EXPECT_EQ(brief(rowsOf("bsr", {viewOf(vrf)}), {"zone", "address", "state", "elected"}),
            R"(224.0.0.0/4 | null | noInfo | false
239.1.0.0/16 | null | acceptAny | false
239.2.0.0/16 | 10.0.0.5 | eBsr | true
239.3.0.0/16 | null | pBsr | false
)");
  vrf.stop();
  for (const Rows &row : rowsOf("bsr", {viewOf(vrf)})) EXPECT_TRUE(row["state"].is_null() && !row["elected"]) << row;
}

TEST(Show, TheBsrTellsWhichRpsItsLastMessageLeftOut) {
  TestVrf vrf(ipv4);
  vrf.intfIs(1);
  vrf.candidateIs(vrf.a.global(), 50, 64);
  vrf.advance(11);
  const auto hear = [&](uint32_t rp, bool bidir) {
    vrf.hearCrp(rp, vrf.a.host(50), {{vrf.a.group(1), false, bidir}, {vrf.a.group(rp), false, bidir}});
  };
  for (const uint32_t rp : {6, 7}) hear(rp, false);
  hear(8, true);
  vrf.advance(10.5);
  for (const uint32_t rp : {7, 9}) hear(rp, true);  // to be announced with the next
  EXPECT_EQ(brief(rowsOf("rp-set", {viewOf(vrf)}), {"group", "rp", "mode", "announced"}),
            R"(225.1.0.0/16 | 10.0.0.6 | sparsemode | false
225.1.0.0/16 | 10.0.0.7 | bidir | false
225.1.0.0/16 | 10.0.0.8 | bidir | true
225.1.0.0/16 | 10.0.0.9 | bidir | false
225.6.0.0/16 | 10.0.0.6 | sparsemode | true
225.7.0.0/16 | 10.0.0.7 | bidir | false
225.8.0.0/16 | 10.0.0.8 | bidir | true
225.9.0.0/16 | 10.0.0.9 | bidir | false
)");
}

TEST(Show, TheRpOfAGroupComesFromTheZoneThatDecidesForIt) {
  TestVrf vrf(ipv4);
  vrf.intfIs(1);
  vrf.hear(Bsm(vrf.a.host(1))
               .group(vrf.a.group(1), {{vrf.a.host(1), 150, 0}, {vrf.a.host(2), 150, 0}, {vrf.a.host(3), 150, 9}})
               .group(vrf.a.group(2), {{vrf.a.host(4), 150, 0}})
               .bidir()
               .group(vrf.a.global(), {{vrf.a.host(9), 150, 0}}));
  // With a mask of no bits, addresses that differ in the top bit only have one hash.
  const Pax::IpGenAddr high = Pax::IpGenAddr::fromText("138.0.0.5");
  vrf.hear(Bsm(vrf.a.host(8))
               .hashMaskLen(0)
               .scope(vrf.a.scope(1))
               .group(vrf.a.inScope(1, 1), {{high, 150, 0}, {vrf.a.host(5), 150, 0}}));
  const std::pair<const char *, const char *> cases[] = {
      {"225.1.2.3", "225.1.0.0/16 | sparsemode | 10.0.0.2 | 10.0.0.1 | 224.0.0.0/4\n"},
      {"225.2.0.1", "225.2.0.0/16 | bidir | 10.0.0.4 | 10.0.0.1 | 224.0.0.0/4\n"},
      {"238.0.0.1", "224.0.0.0/4 | sparsemode | 10.0.0.9 | 10.0.0.1 | 224.0.0.0/4\n"},
      {"239.1.1.1", "239.1.1.0/24 | sparsemode | 138.0.0.5 | 10.0.0.8 | 239.1.0.0/16\n"},
      {"239.1.2.1", ""},
  };
  for (const auto &[group, answer] : cases) {
    EXPECT_EQ(brief(rowsOf("rp", {viewOf(vrf)}, group), {"prefix", "mode", "rp", "bsr", "zone"}), answer) << group;
  }
  EXPECT_EQ(rowsOf("rp", {viewOf(vrf)}, "225.1.2.3")[0]["candidates"].dump(),
            R"([{"rp":"10.0.0.2","priority":0,"hash":1913029976},{"rp":"10.0.0.1","priority":0,"hash":749967889},)"
            R"({"rp":"10.0.0.3","priority":9,"hash":809514731}])");
  for (const char *bad : {"", "225.1.0.0/16", "10.0.0.1", "ff0e::1", "rp"}) {
    EXPECT_THROW(rowsOf("rp", {viewOf(vrf)}, bad), std::invalid_argument) << bad;
  }
  EXPECT_THROW(rowsOf("bsr", {viewOf(vrf)}, "225.1.0.1"), std::invalid_argument);
  vrf.stop();
  EXPECT_TRUE(rowsOf("rp", {viewOf(vrf)}, "225.1.2.3").empty());
}

}  // namespace
}  // namespace Routing::Pim::Bsr
