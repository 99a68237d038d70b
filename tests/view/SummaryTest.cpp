#include "view/Summary.h"

#include <gtest/gtest.h>

#include "tests/sim/Story.h"

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
            "bsr problem: messages of BSR 192.168.0.1 are refused: there is no route to 192.168.0.1\n"
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
  const std::string one = "candidate-bsr problem: not in force: eth9 does not exist\n";
  const std::string more = "candidate-bsr problem: and more; see 'pimbsrctl show candidate-bsr'\n";
  EXPECT_NE(text.find(one + one + one + one + one + more + "all problem: "), std::string::npos) << text;
}

}  // namespace
}  // namespace Test
