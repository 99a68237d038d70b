#include <gtest/gtest.h>

#include "plan/Naming.h"
#include "plan/PlanFile.h"
#include "tests/plan/Plans.h"

namespace Planning {
namespace {

using Texts = std::vector<std::string>;

TEST(Candidates, ACandidateHasTheAddressThatItsInterfaceHasThen) {
  const auto loaded = [](const std::string &expectation) {
    return planFromText(R"({"routers": {"r1": {"interfaces": {"lo": {"addresses": ["10.0.0.1"]}},
        "configuration": {"vrfConfig": {"default": {"bsrCandidateConfig": {"lo": {"group": {"224.0.0.0/4": {}}}}}}}}, "r2": {}},
      "links": [{"between": ["r1", "r2"]}],
      "events": [{"at": 300, "addAddress": "r1:lo", "address": "10.0.0.2"},
                 {"at": 400, "removeAddress": "r1:lo", "address": "10.0.0.1"},
                 {"at": 500, "removeAddress": "r1:lo", "address": "10.0.0.2"}],
      "expect": [)" + expectation +
                            "]}",
                        "");
  };
  for (const auto &[time, address] :
       {std::pair("0", "10.0.0.1"), {"350", "10.0.0.1"}, {"400", "10.0.0.2"}, {"600", "10.0.0.2"}}) {
    const LoadedPlan plan = loaded(std::string("{\"bsr\": \"r1\", \"at\": ") + time + "}");
    ASSERT_EQ(textsOf(plan.findings.errors), Texts{}) << time;
    EXPECT_EQ(Kiv::toText(*plan.plan.expectations.at(0).address), address) << time;
    EXPECT_EQ(Naming(plan.plan).textOf(*plan.plan.expectations[0].address, "default"),
              std::string("r1 (") + address + ")");
  }
  EXPECT_EQ(textsOf(loaded(R"({"bsr": "10.0.0.2", "at": 90}, {"bsr": "10.0.0.1", "at": 600})").findings.errors),
            Texts{});
  EXPECT_EQ(textsOf(loaded(R"({"bsr": "10.0.0.3", "at": 90})").findings.errors),
            Texts{"/expect/0/bsr: can never hold: no router with the address 10.0.0.3 is ever a candidate BSR of "
                  "224.0.0.0/4"});
}

TEST(Candidates, AnRpIsExpectedOnlyWhereThereCanBeABsr) {
  const auto errorsOf = [](const std::string &zone) {
    return textsOf(planFromText(R"({"routers": {"r1": {"configuration": {"vrfConfig": {"default": {
        "rpCandidateConfig": {"lo": {"groupRange": {"239.0.0.0/8": {}}}}, "bsrCandidateConfig": {"lo": {"group": {")" +
                                    zone + R"(": {}}}}}}}}, "r2": {}}, "links": [{"between": ["r1", "r2"]}],
      "expect": [{"at": 90, "rp": "r1", "group": "239.1.1.1"}, {"withoutRp": 9, "zone": "239.0.0.0/8"}]})",
                                "")
                       .findings.errors);
  };
  const std::string never = "can never hold: no router is ever a candidate BSR of ";
  const std::string reason = ", without which there are no RPs";
  EXPECT_EQ(errorsOf("239.0.0.0/8"), Texts{});
  EXPECT_EQ(errorsOf("224.0.0.0/4"), Texts{"/expect/1: " + never + "239.0.0.0/8" + reason});
  EXPECT_EQ(errorsOf("239.2.0.0/16"), (Texts{"/expect/0: " + never + "a zone of 239.1.1.1" + reason,
                                             "/expect/1: " + never + "239.0.0.0/8" + reason}));
}

TEST(Candidates, WhatIsExpectedCanHoldAsFarAsLinksLead) {
  struct Case {
    const char *expectation;
    std::string text;   // of the plan, or
    std::string error;  // where it is no good
  };
  const std::string bsr = "a candidate BSR of 224.0.0.0/4 within reach of ", never = "/expect/0/bsr: can never hold: ";
  const Case cases[] = {
      {R"("at": 90, "bsr": "r1")", "at 90 s the BSR of 224.0.0.0/4 is r1 (192.168.0.1) everywhere in VRF default", ""},
      {R"("at": 90, "bsr": "r1", "routers": ["r2/blue"])",
       "at 90 s the BSR of 224.0.0.0/4 is r1 (192.168.0.1) at r2/blue", ""},
      {R"("at": 90, "bsr": "192.168.0.1", "routers": ["r2/blue"])",
       "at 90 s the BSR of 224.0.0.0/4 is 192.168.0.1 at r2/blue", ""},
      {R"("at": 90, "rp": "r1", "group": "239.1.1.1", "routers": ["r2/blue"])",
       "at 90 s the RP of 239.1.1.1 is r1 (192.168.0.1) at r2/blue", ""},
      {R"("withoutBsr": 1234567, "to": 23456789.125, "routers": ["r2/blue"])",
       "a BSR of 224.0.0.0/4 at r2/blue, but for 1234567 s at most, from 0 s to 23456789.125 s", ""},
      {R"("at": 90, "bsr": "r3", "routers": ["r2/green"])",
       "at 90 s the BSR of 224.0.0.0/4 is r3 (192.168.0.9) at r2/green", ""},
      {R"("at": 90, "bsr": "r3", "routers": ["r2/red", "r2/green"])", "",
       "/expect/0/bsr: r3 has several addresses for that: give one, or each VRF an expectation of its own"},
      {R"("at": 90, "bsr": "r3")", "", never + "r3 is never " + bsr + "VRF default"},
      {R"("at": 90, "bsr": "192.168.0.9")", "",
       never + "no router with the address 192.168.0.9 is ever " + bsr + "VRF default"},
      {R"("at": 90, "bsr": "r1", "routers": ["r2", "r3"])", "",
       "/expect/0: can never hold: no router is ever " + bsr + "r2, r3"},
  };
  for (const Case &each : cases) {
    const LoadedPlan loaded = planFromText(std::string(R"({"templates": {
        "bsr": {"vrfConfig": {"${vrf}": {"bsrCandidateConfig": {"lo": {"group": {"224.0.0.0/4": {}}}},
                                         "rpCandidateConfig": {"lo": {"groupRange": {"239.0.0.0/8": {}}}}},
                              "${other}": {"bsrCandidateConfig": {"lo": {"group": {"224.0.0.0/4": {}}}}}}}},
      "routers": {"r1": {"template": "bsr", "values": {"vrf": "default", "other": "lonely"}, "vrfs": {"lonely": {}}},
                  "r2": {}, "r3": {"template": "bsr", "values": {"vrf": "red", "other": "green"}}},
      "links": [{"between": ["r1", "r2/blue"]}, {"between": ["r2/red", "r3/red"]},
                {"between": ["r2/green", "r3/green"]}, {"between": ["r2", "r3"]}],
      "expect": [{)") + each.expectation + "}]}",
                                           "");
    EXPECT_EQ(textsOf(loaded.findings.errors), each.error.empty() ? Texts{} : Texts{each.error}) << each.expectation;
    if (each.error.empty()) EXPECT_EQ(loaded.plan.expectations.at(0).text, each.text);
  }
}

}  // namespace
}  // namespace Planning
