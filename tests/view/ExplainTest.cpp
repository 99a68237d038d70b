// What "explain" says about networks that are set up wrongly, and about those that are not.
#include "view/Explain.h"

#include <gtest/gtest.h>

#include <regex>

#include "io/HeardBsrs.h"
#include "tests/sim/Story.h"
#include "tests/support/TestVrf.h"
#include "tests/support/Told.h"

namespace Test {
namespace {

class Explain : public testing::Test {
 protected:
  // The sentences, with T for each duration.
  std::string explain(const std::string &router, const char *topic, const std::string &argument = "") {
    Sim::Host &host = story.host(router);
    std::vector<Pax::IntfId> interfaces;
    for (const Sim::Intf &intf : host.router().intfs()) interfaces.push_back(intf.intfId());
    const auto *machines = host.runs() ? host.agent().containerSm(L3::defaultVrf) : nullptr;
    auto view = Bsr::viewOf(host.system(), L3::defaultVrf, machines, story.time().now(), interfaces);
    if (told && &told->host == &host) view.drops = &told->drops;
    statements = Bsr::explanationOf(topic, {view}, argument);
    std::string text;
    for (const auto &statement : statements) text += statement["text"].get<std::string>() + "\n";
    return std::regex_replace(text, std::regex(R"(\b(\d+ms|\d+[dhms](\d\d[hms])?)\b)"), "T");
  }
  // Of the first statement about it in the last explanation.
  nlohmann::ordered_json memberOf(const std::string &about, const std::string &member) const {
    for (const auto &statement : statements) {
      if (statement["about"] == about) return statement[member];
    }
    return "no statement about " + about;
  }

  // A neighbor that says that this is the BSR.
  void claim(const std::string &router, const Pax::IpGenAddr &bsr) {
    Sim::Feeder &feeder = story.feeder(router);
    feeder.zoneIs(global, Sim::fragmentsOf({bsr, 64, 30, global, false}, story.table(global, 1, 1), 1500));
    feeder.start();
  }

  Story story{ipv4};
  std::unique_ptr<Told> told;
  const Pax::IpGenPrefix global = ipv4.global(), scope = ipv4.scope(1);
  Bsr::Rows statements;
};

TEST_F(Explain, TheElectedBsrAndWhereItsMessagesComeFrom) {
  story.chain({"r0", "r1", "r2"}, {1500});
  story.host("r0").candidateBsrIs(global, 64);
  story.host("r0").candidateRpIs(ipv4.group(1));
  story.host("r2").candidateBsrIs(global, 20);
  story.start({"r0", "r1", "r2"});
  story.time().runFor(200);
  EXPECT_EQ(explain("r0", "bsr"),
            "Zone 224.0.0.0/4: this router is the BSR, as 192.168.0.1 with priority 64, for T.\n"
            "Its last message went out T ago; the next is due in T.\n"
            "192.168.0.3 with priority 20 was heard T ago, from 10.0.0.2 on eth0.\n");
  EXPECT_NEAR(memberOf("messages", "lastBsmAt").get<double>() + memberOf("messages", "nextBsm").get<double>(), 60,
              0.01);
  EXPECT_EQ(explain("r1", "bsr", "224.0.0.0/4"),
            "Zone 224.0.0.0/4: the BSR is 192.168.0.1 with priority 64, for T.\n"
            "Its last message was accepted T ago, from 10.0.0.1 on eth0; after T more of silence it is lost.\n"
            "The RPF neighbor toward it is 10.0.0.1 on eth0, and the last message came from there.\n"
            "192.168.0.3 with priority 20 was heard T ago, from 10.0.1.2 on eth1.\n");
  EXPECT_NEAR(memberOf("messages", "lastBsmAt").get<double>() + memberOf("messages", "expires").get<double>(), 130,
              0.01);
  explain("r2", "bsr");
  EXPECT_EQ(memberOf("candidacy", "text"),
            "This router is a candidate too, as 192.168.0.3 with priority 20, which weighs less.");
}

TEST_F(Explain, ABsrThatIsReachedNoMoreOrOnAnotherWay) {
  story.chain({"r0", "r1", "r2", "r3"}, {1500});
  story.chain({"r0", "r2"}, {1500});
  story.host("r0").candidateBsrIs(global, 64);
  story.start({"r0", "r1", "r2", "r3"});
  story.time().runFor(100);
  story.network.link("r0-r2").cut();
  explain("r2", "bsr");
  EXPECT_EQ(memberOf("rpf", "text"),
            "The RPF neighbor toward it is 10.0.1.1 on eth0; the last message came from elsewhere.");
  EXPECT_EQ(memberOf("rpf", "lastFromThere"), false);
  story.time().runFor(60);
  explain("r2", "bsr");
  EXPECT_EQ(memberOf("rpf", "lastFromThere"), true);
  story.network.link("r0-r1").cut();
  explain("r2", "bsr");
  EXPECT_EQ(memberOf("rpf", "text"),
            "No message of it could be accepted now, since there is no route to 192.168.0.1; see 'ip route get "
            "192.168.0.1'.");
  story.network.link("r0-r1").heal();
  story.host("r1").crash();
  story.time().runFor(106);  // its Hello holds no longer, the BSR does
  explain("r2", "bsr");
  EXPECT_EQ(memberOf("rpf", "text"),
            "No message of it could be accepted now, since the route to 192.168.0.1 leads to 10.0.1.1 on eth0, where "
            "there is no "
            "PIM neighbor; see 'pimbsrctl show neighbors'.");
  story.time().runFor(60);
  EXPECT_EQ(
      explain("r2", "bsr"),
      "Zone 224.0.0.0/4: there is no BSR.\n"
      "No message of it has come for T, and none was refused. Ask 'pimbsrctl explain bsr 224.0.0.0/4' on the neighbors "
      "(10.0.2.2 on eth1), and look whether they have a border of it toward this router.\n"
      "192.168.0.1 with priority 64 was heard T ago, from 10.0.1.1 on eth0.\n");
}

TEST_F(Explain, WhoTakesOverAndWhatIsOff) {
  story.chain({"r0", "r1"}, {1500});
  story.host("r0").candidateBsrIs(global, 64);
  story.host("r0").candidateBsrIs(scope, 1);
  story.host("r0").borderIs(scope, {L3::defaultVrf, "eth0"});
  story.start({"r0"});
  story.time().runFor(1);
  const std::string noNeighbor =
      "There is no PIM neighbor that a message could come from; see 'pimbsrctl show interfaces', and whether a "
      "firewall lets protocol 103 pass.\n";
  EXPECT_EQ(explain("r0", "bsr", "239.1.0.0/16"),
            "Zone 239.1.0.0/16: there is no BSR, and this router, 192.168.0.1 with priority 1, takes over in T unless "
            "it hears a better candidate.\n" +
                noNeighbor + "No message of this zone is sent or accepted on eth0, a border of it.\n");
  const std::string unknown =
      "Zone 239.2.0.0/16: there is no BSR.\n"
      "Nothing of it was ever heard here; the zones known here are 224.0.0.0/4, 239.1.0.0/16.\n";
  EXPECT_EQ(explain("r0", "bsr", "239.2.0.0/16"), unknown + noNeighbor);
  story.host("r0").router().intfs().front().upIs(false);
  EXPECT_EQ(explain("r0", "bsr", "239.2.0.0/16"), unknown + "PIM is off at eth0: eth0 is down.\n" + noNeighbor);
  story.host("r0").stop();
  EXPECT_EQ(explain("r0", "bsr", "224.0.0.0/4"),
            "Zone 224.0.0.0/4: the VRF is not running; there is no BSR; see 'pimbsrctl show vrf'.\n"
            "The candidate BSR of this router on lo is not in force: the VRF is not running.\n");
  EXPECT_EQ(explain("r0", "rp", "192.168.0.1"),
            "RP 192.168.0.1: the VRF is not running; no BSR announces it; see 'pimbsrctl show vrf'.\n");
  EXPECT_THROW(explain("r0", "bsr", "10.0.0.0/8"), std::invalid_argument);
  EXPECT_THROW(explain("r0", "weather"), std::invalid_argument);
}

TEST_F(Explain, ABsrToWhichThereIsNoRoute) {
  story.chain({"f0", "r1"}, {1500});
  told = std::make_unique<Told>(story.host("r1"));
  claim("f0", ipv4.host(0x990000));
  story.start({"r1"});
  story.time().runFor(100);
  EXPECT_EQ(explain("r1", "bsr"),
            "Zone 224.0.0.0/4: there is no BSR.\n"
            "A message of BSR 10.153.0.0 from 10.0.0.1 on eth0 was refused 2 times, the last T ago, since there is no "
            "RPF neighbor toward its BSR: there is no route to 10.153.0.0; see 'ip route get 10.153.0.0'.\n");
}

TEST_F(Explain, ABorderInTheWay) {
  story.chain({"f0", "r1"}, {1500});
  told = std::make_unique<Told>(story.host("r1"));
  story.host("r1").borderIs(global, {L3::defaultVrf, "eth0"});
  claim("f0", story.network.router("f0").address());
  story.start({"r1"});
  story.time().runFor(100);
  EXPECT_EQ(explain("r1", "bsr"),
            "Zone 224.0.0.0/4: there is no BSR.\n"
            "A message of BSR 192.168.0.1 from 10.0.0.1 on eth0 was refused 2 times, the last T ago, since the "
            "interface is a border of its zone; see 'pimbsrctl show border'.\n"
            "No message of this zone is sent or accepted on eth0, a border of it.\n");
  story.host("r1").config().rpCandidateConfigIs({L3::defaultVrf, "eth9"})->groupRangeIs(ipv4.group(2));
  EXPECT_EQ(explain("r1", "rp", "192.168.0.9"),
            "RP 192.168.0.9: no BSR announces it.\n"
            "The candidate RP of this router on eth9 is not in force: eth9 does not exist.\n"
            "No zone has a BSR, which alone could announce RPs; see 'pimbsrctl explain bsr'.\n");
  EXPECT_EQ(memberOf("candidacy", "rp"), "192.168.0.9") << "that is what all statements are about";
}

TEST_F(Explain, RefusalsAreToldWhoeverIsTheBsr) {
  story.chain({"f0", "r1"}, {1500});
  told = std::make_unique<Told>(story.host("r1"));
  claim("f0", story.network.router("f0").address());
  story.host("r1").candidateBsrIs(global, 1);
  story.start({"r1"});
  story.time().runFor(100);
  EXPECT_EQ(explain("r1", "bsr").find("refused"), std::string::npos);
  const auto isRefused = [&] {
    return memberOf("refused", "text")
        .get<std::string>()
        .starts_with("A message of BSR 192.168.0.1 from 10.0.0.1 on eth0 was refused ");
  };
  story.host("r1").borderIs(global, {L3::defaultVrf, "eth0"});
  story.time().runFor(61);
  EXPECT_EQ(explain("r1", "bsr").find("Zone 224.0.0.0/4: the BSR is 192.168.0.1 with priority 64, for T.\n"), 0u);
  EXPECT_TRUE(isRefused());
  EXPECT_TRUE(story.within(200, [&] { return told->log.counts().contains(Bsr::EventKind::bsrTimedOut); }));
  EXPECT_NE(explain("r1", "bsr").find(" on eth0; it has been silent for too long and is taken to be lost.\n"),
            std::string::npos);
  EXPECT_TRUE(isRefused());
  story.time().runFor(120);
  EXPECT_EQ(explain("r1", "bsr").find("Zone 224.0.0.0/4: this router is the BSR, "), 0u);
  EXPECT_TRUE(isRefused());
  story.feeder("f0").die();
  story.time().runFor(200);
  EXPECT_EQ(explain("r1", "bsr").find("refused"), std::string::npos) << "that is over";
}

TEST_F(Explain, SilenceFromBeyondABorder) {
  story.chain({"r0", "r1", "r2"}, {1500});
  told = std::make_unique<Told>(story.host("r2"));
  story.host("r0").candidateBsrIs(global, 64);
  story.host("r0").candidateBsrIs(scope, 64);
  story.start({"r0", "r1", "r2"});
  story.time().runFor(100);
  const Pax::IntfId eth1(L3::defaultVrf, "eth1");
  story.host("r1").borderIs(scope, eth1);
  story.host("r1").borderIs(ipv4.scope(2), {L3::defaultVrf, "eth0"});
  story.host("r1").borderIs(ipv4.scope(2), eth1);
  story.time().runFor(200);
  const std::string ask =
      "Ask 'pimbsrctl explain bsr 239.1.0.0/16' on the neighbors (10.0.1.1 on eth0), and look whether they have a "
      "border of it toward this router.\n";
  EXPECT_EQ(explain("r2", "bsr", "239.1.0.0/16"),
            "Zone 239.1.0.0/16: there is no BSR.\nNo message of it has come for T, and none was refused. " + ask +
                "The zone is forgotten in T unless a message comes.\n"
                "192.168.0.1 with priority 64 was heard T ago, from 10.0.1.1 on eth0.\n");
  story.host("r2").crash();
  story.host("r2").start();
  story.time().runFor(60);
  EXPECT_EQ(explain("r2", "bsr", "239.3.0.0/16"),
            "Zone 239.3.0.0/16: there is no BSR.\n"
            "Nothing of it was ever heard here; the zones known here are 224.0.0.0/4.\n"
            "Ask 'pimbsrctl explain bsr 239.3.0.0/16' on the neighbors (10.0.1.1 on eth0), and look whether they have "
            "a border of it toward this "
            "router.\n");
  explain("r1", "bsr", "239.2.0.0/16");
  EXPECT_EQ(memberOf("silence", "text"),
            "No message of it has come since this agent started, and every PIM neighbor is beyond a border of it.");
  story.host("r0").candidateBsrIs(ipv4.scope(5), 64);
  story.time().runFor(60);
  EXPECT_EQ(explain("r2", "rp", "192.168.0.9"),
            "RP 192.168.0.9: no BSR announces it.\n"
            "Zone 224.0.0.0/4 and 1 more: 'pimbsrctl explain rp 192.168.0.9' on the BSR, 192.168.0.1, says whether it "
            "was heard there.\n");
}

TEST_F(Explain, WhatWasRefusedBeforeAllWasWellIsNoReason) {
  story.chain({"f0", "r1"}, {1500});
  told = std::make_unique<Told>(story.host("r1"));
  claim("f0", story.network.router("f0").address());
  story.start({"r1"});
  story.host("r1").borderIs(global, {L3::defaultVrf, "eth0"});
  story.time().runFor(100);
  EXPECT_NE(explain("r1", "bsr", "224.0.0.0/4").find("was refused"), std::string::npos);
  story.host("r1").system().configColl->intfConfig({L3::defaultVrf, "eth0"})->bsrBorderGrpDel(global);
  story.time().runFor(70);
  story.feeder("f0").die();
  story.time().runFor(200);
  EXPECT_EQ(explain("r1", "bsr", "224.0.0.0/4").find("was refused"), std::string::npos)
      << "all that came since was taken";
}

TEST_F(Explain, AWrongRpfNeighbor) {
  story.chain({"f0", "r1", "f2"}, {1500});
  told = std::make_unique<Told>(story.host("r1"));
  story.feeder("f0").start();
  claim("f2", story.network.router("f0").address());
  story.start({"r1"});
  story.time().runFor(100);
  EXPECT_EQ(explain("r1", "bsr"),
            "Zone 224.0.0.0/4: there is no BSR.\n"
            "A message of BSR 192.168.0.1 from 10.0.1.2 on eth1 was refused 2 times, the last T ago, since it did not "
            "come from the RPF neighbor toward its BSR, 10.0.0.1 on eth0; see 'ip route get 192.168.0.1'.\n");
}

TEST_F(Explain, AnRpThatTheFilterOfTheBsrDenies) {
  story.chain({"r0", "r1"}, {1500});
  told = std::make_unique<Told>(story.host("r0"));
  story.host("r0").candidateBsrIs(global, 64);
  story.host("r0").config().crpFilterAclIs("NOBODY");
  story.host("r1").candidateRpIs(ipv4.group(1));
  story.start({"r0", "r1"});
  story.time().runFor(100);
  EXPECT_EQ(explain("r0", "rp", "192.168.0.2"),
            "RP 192.168.0.2: no BSR announces it.\n"
            "This router is the BSR of zone 224.0.0.0/4, and crpFilterAcl does not permit the advertisements of "
            "192.168.0.2; see 'pimbsrctl show filter'.\n"
            "An advertisement for BSR 192.168.0.1 from 192.168.0.2 on eth0 was refused 4 times, the last T ago, since "
            "the filter does not permit "
            "its sender; see 'pimbsrctl show filter'.\n");

  EXPECT_EQ(explain("r1", "rp", "192.168.0.2"),
            "RP 192.168.0.2: no BSR announces it; it is an address of this router.\n"
            "The candidate RP of this router on lo advertises all of its ranges to 192.168.0.1, the BSR of zone "
            "224.0.0.0/4.\n"
            "Zone 224.0.0.0/4: 'pimbsrctl explain rp 192.168.0.2' on the BSR, 192.168.0.1, says whether it was heard "
            "there.\n");
  story.host("r0").config().crpFilterAclDel("NOBODY");
  story.time().runFor(60);
  EXPECT_EQ(explain("r0", "rp", "192.168.0.2"),
            "RP 192.168.0.2: it serves 1 prefix in 1 zone.\n"
            "225.1.0.0/16 in zone 224.0.0.0/4, of BSR 192.168.0.1: sparsemode, priority 192, for T more; in use; "
            "announced by our last message.\n")
      << "what was refused before is no reason";
  for (const uint32_t n : {2, 3}) story.host("r1").candidateRpIs(n == 3 ? ipv4.inScope(1, 1) : ipv4.group(n));
  story.host("r0").candidateBsrIs(scope, 64);
  story.time().runFor(30);
  explain("r1", "rp", "192.168.0.2");
  EXPECT_EQ(memberOf("candidacy", "text"),
            "The candidate RP of this router on lo advertises 2 of its 3 ranges to 192.168.0.1, the BSR of zone "
            "224.0.0.0/4.");
}

TEST_F(Explain, RpsThatTheBsrLeavesOut) {
  story.chain({"r0", "r1", "r2"}, {1500});
  story.host("r0").candidateBsrIs(global, 64);
  story.host("r1").candidateRpIs(ipv4.group(1));
  story.host("r2").candidateRpIs(ipv4.group(1))->modeIs(Routing::Pim::Mode::bidir);
  story.start({"r0", "r1", "r2"});
  story.time().runFor(100);
  const std::string head =
      "RP 192.168.0.2: it serves 1 prefix in 1 zone.\n225.1.0.0/16 in zone 224.0.0.0/4, of BSR "
      "192.168.0.1: sparsemode, priority 192, for T more; in use; ";
  EXPECT_EQ(explain("r0", "rp", "192.168.0.2"),
            head +
                "not announced, since the prefix has RPs of both modes, and only the bidirectional ones are "
                "announced.\n");
  const std::string group = "Group 225.1.0.1: the RP is ";
  EXPECT_EQ(
      explain("r0", "group", "225.1.0.1")
          .find(group + "192.168.0.2 (sparsemode), since it is the only candidate; it is not announced, so that other "
                        "routers do not know it: the prefix has RPs of both modes, and only the bidirectional ones "
                        "are announced.\n"),
      0u);
  EXPECT_EQ(memberOf("rp", "announced"), false);
  EXPECT_NE(explain("r0", "group", "225.1.0.1")
                .find("\nIt also has an RP for the other mode: 192.168.0.3 (bidir), since it is the only candidate.\n"),
            std::string::npos);
  EXPECT_EQ(explain("r1", "group", "225.1.0.1").find(group + "192.168.0.3 (bidir), since it is the only candidate.\n"),
            0u);
  EXPECT_TRUE(memberOf("rp", "announced").is_null());
  story.host("r2").candidateRpDel();
  story.time().runFor(1);  // withdrawn, and no message since
  EXPECT_EQ(explain("r0", "rp", "192.168.0.2"),
            head + "not announced, since it came after the last message; the next is due in T.\n");
  EXPECT_EQ(explain("r0", "rp", "192.168.0.3"),
            "RP 192.168.0.3: no BSR announces it.\n"
            "It is withdrawn from 225.1.0.0/16 in zone 224.0.0.0/4; our next messages still tell the others.\n");
  story.time().runFor(10);
  EXPECT_EQ(explain("r0", "rp", "192.168.0.2"), head + "announced by our last message.\n");
}

TEST_F(Explain, AnInnerZoneDecidesForItsGroups) {
  story.chain({"r0", "r1"}, {1500});
  story.host("r0").candidateRpIs(ipv4.inScope(1, 1));
  story.host("r0").candidateBsrIs(global, 64);
  story.start({"r0", "r1"});
  story.time().runFor(100);
  explain("r1", "group", "239.1.1.1");
  EXPECT_EQ(memberOf("zone", "zone"), "224.0.0.0/4");
  story.host("r1").candidateBsrIs(scope, 5);
  story.time().runFor(15);
  EXPECT_EQ(explain("r1", "rp", "192.168.0.1"),
            "RP 192.168.0.1: it serves 2 prefixes in 2 zones.\n"
            "239.1.1.0/24 in zone 224.0.0.0/4, of BSR 192.168.0.1: sparsemode, priority 192, for T more; not in use, "
            "since zone 239.1.0.0/16, of BSR 192.168.0.2, decides for the prefix.\n"
            "239.1.1.0/24 in zone 239.1.0.0/16, of BSR 192.168.0.2: sparsemode, priority 192, for T more; in use; "
            "announced by our last message.\n");
  explain("r1", "group", "239.1.1.1");
  EXPECT_EQ(memberOf("zone", "zone"), "239.1.0.0/16");
  story.host("r0").candidateRpDel();
  story.host("r0").candidateRpIs(global);
  story.time().runFor(30);
  EXPECT_EQ(explain("r1", "group", "239.1.1.1"),
            "Group 239.1.1.1: no RP serves it.\n"
            "Zone 239.1.0.0/16, whose BSR is 192.168.0.2, decides for it, and no prefix of that zone that has an RP "
            "covers it.\n"
            "Zone 224.0.0.0/4 around it has RPs for 224.0.0.0/4, but they do not serve the groups of a zone inside.\n");
}

TEST(ExplainRp, APrefixHasRoomForTheBest255) {
  TestVrf vrf(ipv4);
  vrf.intfIs(1);
  vrf.candidateIs(ipv4.global(), 1000, 64);
  vrf.advance(11);
  for (uint32_t rp = 1; rp <= 257; ++rp) vrf.hearCrp(rp, ipv4.host(1000), {{ipv4.group(1)}});
  vrf.advance(11);
  const auto view = Bsr::viewOf(vrf.system, "default", vrf.sm.get(), vrf.time.now(), {});
  const auto why = [&](const char *rp) { return Bsr::explanationOf("rp", {view}, rp)[1]["whyNotAnnounced"]; };
  EXPECT_EQ(why("10.0.0.2"), "255 RPs are better, and a prefix has room for 255");
  EXPECT_TRUE(why("10.0.0.3").is_null());
}

TEST(ExplainRp, OfManyPrefixesEachIsToldOnce) {
  TestVrf vrf(ipv4);
  vrf.intfIs(1);
  for (const uint32_t scope : {1, 2}) {
    Bsm bsm(ipv4.host(8));
    bsm.scope(ipv4.scope(scope));
    for (uint32_t n = 0; n < 400; ++n) {
      const uint32_t low = ipv4.scope(scope).address().v4() + (n << 4);
      bsm.group({Pax::IpGenAddr::v4(low), 28}, {{ipv4.host(1), 150}});
    }
    vrf.hear(bsm);
  }
  const auto view = Bsr::viewOf(vrf.system, "default", vrf.sm.get(), vrf.time.now(), {});
  std::set<std::string> groups;
  size_t told = 0;
  for (const auto &row : Bsr::explanationOf("rp", {view}, "10.0.0.1")) {
    if (row["about"] != "prefix") continue;
    ++told;
    groups.insert(row["group"]);
  }
  EXPECT_EQ(told, 800u);
  EXPECT_EQ(groups.size(), 800u);
}

TEST(ExplainBsr, OnlyRefusalsOfThisVrfThatAreRecentAndNoEchoesAreReasons) {
  TestVrf vrf(ipv4);
  vrf.intfIs(1);
  vrf.advance(5000);
  Bsr::Drops drops;
  const auto refuse = [&](uint32_t bsr, const char *name, bool isEcho, double ago) {
    drops.add({name, vrf.intf(1), vrf.neighbor(1), Pim::IO::Refusal::malformed, ipv4.host(bsr), isEcho},
              vrf.time.now() - ago);
  };
  refuse(4, "default", false, 3700);
  refuse(1, "default", false, 10);
  refuse(2, "default", true, 5);
  refuse(3, "blue", false, 5);
  auto view = Bsr::viewOf(vrf.system, "default", vrf.sm.get(), vrf.time.now(), {vrf.intf(1)});
  view.drops = &drops;
  std::string refused;
  for (const auto &row : Bsr::explanationOf("bsr", {view})) {
    if (row["about"] == "refused") refused += row["bsr"].get<std::string>() + " ";
  }
  EXPECT_EQ(refused, "10.0.0.1 ");
}

TEST(HeardBsrs, TheOneThatWasSilentLongestMakesRoom) {
  Bsr::HeardBsrs heard;
  const Pax::IntfId eth0(L3::defaultVrf, "eth0");
  const uint32_t order[] = {1, 2, 3, 4, 5, 6, 7, 8, 1, 9};
  double now = 10;
  for (const uint32_t bsr : order) heard.heard(ipv4.host(bsr), 64, ipv4.onLink(bsr), eth0, ++now);
  EXPECT_EQ(heard.all().size(), 8u);
  EXPECT_FALSE(heard.find(ipv4.host(2)));
  for (const uint32_t bsr : {1, 3, 9}) ASSERT_TRUE(heard.find(ipv4.host(bsr))) << bsr;
  EXPECT_EQ(heard.find(ipv4.host(1))->time, 19);
  EXPECT_EQ(heard.find(ipv4.host(9))->neighbor, ipv4.onLink(9));
}

TEST(ExplainGroup, TheRuleByWhichAnRpWins) {
  TestVrf vrf(ipv4);
  vrf.intfIs(1);
  const Pax::IpGenAddr high = Pax::IpGenAddr::fromText("138.0.0.5");
  vrf.hear(Bsm(vrf.a.host(1))
               .hashMaskLen(0)  // so addresses that differ in the top bit only have one hash
               .group(vrf.a.group(1), {{vrf.a.host(1), 150, 7}})
               .group(vrf.a.group(2), {{vrf.a.host(1), 150, 7}, {vrf.a.host(2), 150, 8}})
               .group(vrf.a.group(3), {{vrf.a.host(1), 150, 7}, {vrf.a.host(2), 150, 7}})
               .group(vrf.a.group(4), {{vrf.a.host(5), 150, 7}, {high, 150, 7}}));
  const std::pair<const char *, const char *> rules[] = {
      {"225.1.0.1", "10.0.0.1 it is the only candidate"},
      {"225.2.0.1", "10.0.0.1 its priority 7 is the lowest, which wins"},
      {"225.3.0.1",
       "10.0.0.1 of those with the lowest priority, 7, it has the highest hash for this group, 0x5415c811"},
      {"225.4.0.1",
       "138.0.0.5 of those with the lowest priority, 7, and the highest hash, 0x5b2f01c5, it has the "
       "highest address"},
  };
  const auto view = Bsr::viewOf(vrf.system, "default", vrf.sm.get(), vrf.time.now(), {});
  for (const auto &[group, rule] : rules) {
    const Bsr::Rows answer = Bsr::explanationOf("group", {view}, group)[0];
    EXPECT_EQ(answer["rp"].get<std::string>() + " " + answer["rule"].get<std::string>(), rule);
  }
}

}  // namespace
}  // namespace Test
