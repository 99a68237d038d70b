#include "view/Summary.h"

#include <gtest/gtest.h>

#include "tests/sim/Story.h"
#include "view/Sentence.h"

namespace Test {
namespace {

namespace Bsr = Routing::Pim::Bsr;

class Summary : public testing::Test {
 protected:
  std::string summary(const std::string &router) {
    Sim::Host &host = story.host(router);
    std::vector<Pax::IntfId> interfaces;
    for (const Sim::Intf &intf : host.router().intfs()) interfaces.push_back(intf.intfId());
    const auto *machines = host.runs() ? host.agent().containerSm(L3::defaultVrf) : nullptr;
    Bsr::Rows rows =
        Bsr::rowsOf("summary", {Bsr::viewOf(host.system(), L3::defaultVrf, machines, story.time().now(), interfaces)});
    rows.push_back(Bsr::conclusion(rows));
    std::string text;
    for (const auto &row : rows) {
      text += row["subject"].get<std::string>() + " " + row["state"].get<std::string>() + ": " +
              row["text"].get<std::string>() + "\n";
    }
    return text;
  }
  Story story{ipv4};
};

TEST_F(Summary, SaysThatAllIsWellOrWhatIsNot) {
  story.chain({"r0", "r1"}, {1500});
  story.host("r0").candidateBsrIs(ipv4.global(), 64);
  story.start({"r0", "r1"});
  story.time().runFor(60);
  EXPECT_EQ(summary("r1"),
            "rp-set warning: zone 224.0.0.0/4 has BSR 192.168.0.1 and no RP\nall warning: 0 problems, 1 warning\n");
  story.host("r0").candidateRpIs(ipv4.group(1));
  story.time().runFor(60);
  for (const char *router : {"r0", "r1"}) {
    EXPECT_EQ(summary(router), "vrf ok: 1 interface, 1 neighbor, a BSR in 1 zone\nall ok: all is well\n") << router;
  }
  story.network.link("r0-r1").cut();
  EXPECT_EQ(summary("r1"),
            "bsr problem: no message of BSR 192.168.0.1 could be accepted now: there is no route to 192.168.0.1\n"
            "all problem: 1 problem, 0 warnings\n");
  story.time().runFor(200);
  EXPECT_EQ(summary("r1"),
            "neighbors warning: there is no PIM neighbor\n"
            "bsr problem: zone 224.0.0.0/4 has no BSR; see 'pimbsrctl explain bsr 224.0.0.0/4'\n"
            "all problem: 1 problem, 1 warning\n");
  story.host("r1").router().intfs().front().upIs(false);
  const auto missing = story.host("r1").config().bsrCandidateConfigIs({L3::defaultVrf, "eth9"});
  for (uint32_t zone = 1; zone <= 9; ++zone) {
    const auto group = missing->groupIs(ipv4.scope(zone));
    group->hashMaskLenIs(30);
    group->priorityIs(1);
  }
  const std::string text = summary("r1");
  EXPECT_EQ(text.find("interfaces problem: PIM is off at eth0: eth0 is down\n"), 0u) << text;
  std::string candidates;
  for (uint32_t zone = 1; zone <= 5; ++zone) {
    candidates += Bsr::sentence("candidate-bsr problem: the candidate BSR on eth9 for zone ", ipv4.scope(zone),
                                " is not in force: eth9 does not exist\n");
  }
  candidates += "candidate-bsr problem: and more; see 'pimbsrctl show candidate-bsr'\n";
  EXPECT_NE(text.find(candidates + "all problem: "), std::string::npos) << text;
}

TEST_F(Summary, SaysThatABsrIsSilentBeforeAnotherTakesOver) {
  story.chain({"r0", "r1"}, {1500});
  story.host("r0").candidateBsrIs(ipv4.global(), 64);
  story.host("r1").candidateBsrIs(ipv4.global(), 1);
  story.start({"r0", "r1"});
  story.time().runFor(100);
  story.host("r0").stop();
  const auto candidate = story.host("r1").system().statusColl->vrfStatus(L3::defaultVrf)->cbsr(ipv4.global());
  EXPECT_TRUE(story.within(200, [&] { return candidate->state() == Routing::Pim::Bsr::BsrCandidateState::pBsr; }));
  EXPECT_NE(summary("r1").find("bsr problem: BSR 192.168.0.1 of zone 224.0.0.0/4 is silent; see 'pimbsrctl explain bsr "
                               "224.0.0.0/4'\nall problem: 1 problem, "),
            std::string::npos)
      << summary("r1");
}

TEST_F(Summary, SaysWhichRpsNobodyIsToldOf) {
  story.chain({"r0", "r1"}, {1500});
  story.host("r0").candidateBsrIs(ipv4.global(), 64);
  story.host("r0").candidateRpIs(ipv4.group(1))->modeIs(Routing::Pim::Mode::bidir);
  story.host("r1").candidateRpIs(ipv4.group(1));
  for (uint32_t n = 2; n <= 258; ++n) story.host("r1").candidateRpIs(ipv4.group(n));
  story.start({"r0", "r1"});
  story.time().runFor(150);
  const std::string leftOut =
      "candidate-rp warning: 3 ranges of the candidate RP on lo in zone 224.0.0.0/4 are not advertised: an "
      "advertisement has "
      "room for 255 of a priority\n";
  EXPECT_EQ(summary("r1"), leftOut + "all warning: 0 problems, 1 warning\n") << "the BSR is new";
  story.time().runFor(50);
  EXPECT_EQ(summary("r0"),
            "rp-set warning: 1 RP of zone 224.0.0.0/4 is not announced to others: a prefix has RPs of both modes, and "
            "only the bidirectional ones are announced\nall warning: 0 problems, 1 warning\n");
  EXPECT_EQ(summary("r1"), leftOut +
                               "candidate-rp warning: 1 range of the candidate RP on lo in zone 224.0.0.0/4 is not "
                               "listed by its BSR; see 'pimbsrctl explain rp 192.168.0.2'\n"
                               "all warning: 0 problems, 2 warnings\n");
}

TEST_F(Summary, ARangeIsListedByTheBsrOfItsZoneAlone) {
  story.chain({"r0", "r1"}, {1500});
  story.host("r0").candidateBsrIs(ipv4.global(), 64);
  story.host("r1").candidateBsrIs(ipv4.scope(5), 64);
  for (const auto &range : {ipv4.global(), ipv4.scope(5), ipv4.inScope(5, 1)}) story.host("r0").candidateRpIs(range);
  story.start({"r0", "r1"});
  story.time().runFor(400);
  for (const char *router : {"r0", "r1"}) {
    EXPECT_EQ(summary(router), "vrf ok: 1 interface, 1 neighbor, a BSR in 2 zones\nall ok: all is well\n") << router;
  }
}

TEST_F(Summary, NamesWhatIsNotInForce) {
  story.chain({"r0", "r1"}, {1500});
  story.host("r0").candidateBsrIs(ipv4.global(), 64);
  story.host("r0").candidateRpIs(ipv4.group(1));
  story.start({"r0", "r1"});
  story.time().runFor(60);
  const Pax::IntfId eth9(L3::defaultVrf, "eth9");
  story.host("r1").borderIs(ipv4.scope(1), eth9);
  story.host("r1").config().rpCandidateConfigIs(eth9)->groupRangeIs(ipv4.group(2));
  story.host("r1").candidateRpIs(ipv4.group(1))->aclIs("NONE");
  story.host("r1").config().crpFilterAclIs("NOBODY");
  story.time().runFor(60);
  EXPECT_EQ(summary("r1"),
            "candidate-rp problem: the candidate RP on eth9 is not in force: eth9 does not exist\n"
            "candidate-rp warning: the candidate RP on lo is in force, but ACL NONE is not defined\n"
            "border problem: the border for 239.1.0.0/16 on eth9 is not in force: eth9 does not exist\n"
            "filter problem: the filter is not in force: ACL NOBODY is not defined\n"
            "all problem: 3 problems, 1 warning\n");
}

}  // namespace
}  // namespace Test
