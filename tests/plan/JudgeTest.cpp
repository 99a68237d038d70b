#include "plan/Outcome.h"
#include "tests/plan/Plans.h"

namespace Planning {
namespace {

struct Case {
  std::string expectation;
  bool holds;
  const char *seen;
};

void expectVerdict(const std::string &plan, const Case &each) {
  const Outcome outcome = play(planFrom(plan), 1);
  ASSERT_EQ(outcome.verdicts.size(), 1u) << each.expectation;
  EXPECT_EQ(outcome.verdicts[0].seen, each.seen) << each.expectation;
  EXPECT_EQ(outcome.verdicts[0].holds, each.holds) << each.expectation;
  EXPECT_EQ(outcome.holds(), each.holds);
}

// A row of three, whose first end crashes at 200 s and whose link between the others is cut at 400 s.
std::string planWith(const std::string &expectation) {
  return R"({"templates": {"candidate": {"vrfConfig": {"default": {
      "bsrCandidateConfig": {"lo": {"group": {"224.0.0.0/4": {"priority": "${priority}"}}}},
      "rpCandidateConfig": {"lo": {"groupRange": {"239.0.0.0/8": {}}}}}}}},
    "routers": {"r1": {"template": "candidate", "values": {"priority": 65}},
                "r2": {"template": "candidate", "values": {"priority": 64}}, "r3": {}},
    "links": [{"between": ["r1", "r2"]}, {"between": ["r2", "r3"]}],
    "events": [{"at": 200, "crash": "r1"}, {"at": 400, "cut": "r2-r3"}], "duration": 600,
    "expect": [)" +
         expectation + "]}";
}

TEST(Judge, SaysWhatWasSeenInstead) {
  // r1 tells the last time at 195.002 s, r2 takes over 130 + 7 s after that, and its last message to pass is of 392.003
  // s.
  const Case cases[] = {
      {R"({"at": 0, "bsr": "none"})", true, "so it was at all 3 routers"},
      {R"({"at": 199, "bsr": "r1"})", true, "so it was at all 3 routers"},
      {R"({"at": 199, "bsr": "r2"})", false, "r1, r2 and r3 had r1 (192.168.0.1)"},
      {R"({"at": 328, "bsr": "none"})", true, "so it was at both routers"},
      {R"({"at": 599, "bsr": "r2"})", false, "r3 had none; as expected at 1 router"},
      {R"({"at": 599, "bsr": "192.168.0.1", "routers": ["r1", "r2"]})", false,
       "r1 had no agent that ran; r2 had r2 (192.168.0.2)"},
      {R"({"at": 200, "bsr": "none", "routers": ["r1"]})", true, "so it was at the only router asked"},
      {R"({"at": 199, "rp": "r1", "group": "239.1.1.1"})", false, "r1, r2 and r3 had r2 (192.168.0.2)"},
      {R"({"at": 199, "rp": "none", "group": "225.1.1.1"})", true, "so it was at all 3 routers"},
      {R"({"at": 199, "bsr": "none", "zone": "239.1.0.0/16"})", true, "no router ran that knew 239.1.0.0/16"},
      {R"({"agree": 9, "from": 60, "zone": "239.1.0.0/16"})", false, "no router ran that knew 239.1.0.0/16"},
      {R"({"withoutBsr": 10, "from": 60, "to": 400})", true, "at most: r2 had no BSR for 7 s, from 325.003 s on"},
      {R"({"withoutBsr": 10, "from": 60})", false, "r3 had no BSR for 77.996 s, from 522.004 s to the end"},
      {R"({"withoutBsr": 10, "from": 60, "routers": ["r1", "r2"]})", false,
       "r1 had no BSR for 400 s, from 200 s to the end"},
      {R"({"withoutRp": 0, "from": 60, "to": 500})", true, "all 3 routers always had one"},
      {R"({"agree": 0, "from": 60, "to": 300})", true, "all 3 routers always agreed"},
      {R"({"agree": 0, "from": 60, "to": 350})", false,
       "r2 disagreed for 0.001 s, from 325.003 s on; too long at r2 and r3"},
  };
  for (const Case &each : cases) expectVerdict(planWith(each.expectation), each);
}

TEST(Judge, WhoStandsByHoldsNothingAndNobodyIsNotEverybody) {
  // r2 stands by from 100 s on, and nobody runs from 300 s on.
  const Case cases[] = {
      {R"({"at": 199, "bsr": "r1"})", true, "so it was at the only router asked"},
      {R"({"at": 199, "bsr": "r1", "routers": ["r1", "r2"]})", false,
       "r2 had its agent on standby; as expected at 1 router"},
      {R"({"at": 199, "bsr": "none", "routers": ["r2"]})", true, "so it was at the only router asked"},
      {R"({"at": 199, "rp": "r1", "group": "239.1.1.1", "routers": ["r2"]})", false, "r2 had its agent on standby"},
      {R"({"withoutBsr": 10, "from": 60, "to": 299})", true, "both routers always had one"},
      {R"({"withoutBsr": 10, "from": 60, "to": 299, "routers": ["r2"]})", false,
       "r2 had no BSR for 199 s, from 100 s on"},
      {R"({"withoutRp": 10, "from": 60, "to": 299, "routers": ["r2"]})", false,
       "r2 had no RP for 199 s, from 100 s on"},
      {R"({"agree": 0, "from": 60, "to": 299, "routers": ["r2"]})", false, "r2 disagreed for 199 s, from 100 s on"},
      {R"({"agree": 0, "from": 60, "to": 99, "routers": ["r2"]})", true, "the only router asked always agreed"},
      {R"({"at": 350, "bsr": "r1"})", false, "no router ran"},
      {R"({"at": 350, "bsr": "none"})", false, "no router ran"},
      {R"({"at": 350, "rp": "none", "group": "239.1.1.1"})", false, "no router ran"},
      {R"({"at": 350, "bsr": "none", "routers": ["r1"]})", true, "so it was at the only router asked"},
      {R"({"withoutBsr": 10, "from": 310, "to": 399})", false, "no router ran that knew 224.0.0.0/4"},
  };
  for (const Case &each : cases) {
    expectVerdict(R"({"routers": {"r2": {}, "r1": {"configuration": {"vrfConfig": {"default": {
        "bsrCandidateConfig": {"lo": {"group": {"224.0.0.0/4": {}}}},
        "rpCandidateConfig": {"lo": {"groupRange": {"239.0.0.0/8": {}}}}}}}}},
      "links": [{"between": ["r1", "r2"]}], "duration": 400,
      "events": [{"at": 100, "standby": "r2"}, {"at": 300, "powerOff": "r1"}, {"at": 300, "crash": "r2"}],
      "expect": [)" + each.expectation +
                      "]}",
                  each);
  }
}

TEST(Judge, LooksWhenAllOfTheInstantIsOver) {
  std::string text = planWith(R"({"at": 5, "bsr": "r1"})");
  for (const char *link : {R"("r1", "r2"])", R"("r2", "r3"])"}) {
    text.insert(text.find(link) + std::string(link).size(), R"(, "delay": 0)");
  }
  for (const Verdict &verdict : play(planFrom(text), 1).verdicts) EXPECT_TRUE(verdict.holds) << verdict.seen;
}

}  // namespace
}  // namespace Planning
