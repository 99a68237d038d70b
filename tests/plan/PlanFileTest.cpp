#include "plan/PlanFile.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "tests/daemon/TemporaryDirectory.h"
#include "tests/plan/Plans.h"

namespace Planning {
namespace {

using Texts = std::vector<std::string>;

// With candidates on r1: BSR of all groups, and RP of 239.0.0.0/8.
std::string planWith(const std::string &members) {
  return R"({"routers": {"r1": {"configuration": {"vrfConfig": {"default": {
      "bsrCandidateConfig": {"lo": {"group": {"224.0.0.0/4": {}}}},
      "rpCandidateConfig": {"lo": {"groupRange": {"239.0.0.0/8": {}}}}}}}}, "r2": {}, "r3": {"agent": "off"}},
    "links": [{"between": ["r1", "r2"]}, {"between": ["r2", "r3"]}], )" +
         members + "}";
}

TEST(PlanFile, EveryFaultOfTheNetworkIsToldWithItsPath) {
  struct Case {
    const char *text;
    const char *error;
  };
  const Case cases[] = {
      {R"({"links": []})", ": there are no routers"},
      {R"({"routers": {"r 1": {}}})",
       "/routers/r 1: \"r 1\" is not a name (up to 64 letters, digits, '.', '_' and '-', of which the first is a "
       "letter "
       "or digit)"},
      {"{\"links\": [{\"between\": [\"r1:e\\u001b0\", \"r2\", \"r3\"]}]}",
       "/links/0/between/0: \"r1:e\x1b"
       "0\" is not ROUTER, ROUTER:INTERFACE, ROUTER/VRF or ROUTER/VRF:INTERFACE"},
      {"{\"links\": [{\"between\": [\"r1:e\\u00000\", \"r2\", \"r3\"]}]}",
       "/links/0/between/0: \"r1:e?0\" is not ROUTER, ROUTER:INTERFACE, ROUTER/VRF or ROUTER/VRF:INTERFACE"},
      {R"({"links": [{"between": ["r1"]}]})", "/links/0/between: a link has two ends or more"},
      {R"({"routers": {"r1": {}}, "links": [{"between": ["r1", "r2"]}]})", "/links/0/between/1: there is no router r2"},
      {R"({"links": [{"between": ["r1", "r2"]}, {"between": ["r1", "r2"]}]})",
       "/links/1: is a second link between r1 and r2; give it a name"},
      {R"({"links": [{"between": ["a/blue", "b"]}, {"between": ["a.blue", "b"]}]})",
       "/links/1: would have the name a.blue-b, as the link between a/blue and b; give it another"},
      {R"({"links": [{"between": ["r1", "r2"]}, {"name": "r2-r3", "between": ["r1", "r3"]}, {"between": ["r2", "r3"]}]})",
       "/links/2: would have the name r2-r3, as the link between r1 and r3; give it another"},
      {R"({"links": [{"between": ["r1", "r2"]}, {"between": ["r1"]}, {"between": ["r1", "r3"], "name": "r1"}]})",
       "/links/1/between: a link has two ends or more"},
      {R"({"links": [{"between": ["r1", "r2"], "name": "a"}, {"between": ["r1", "r3"], "name": "a"}]})",
       "/links/1/name: there are two links of the name a"},
      {R"({"links": [{"between": ["r1:eth0", "r2"]}, {"between": ["r1:eth0", "r3"]}]})",
       "/links/1/between/0: r1:eth0 is on another link already"},
      {R"({"links": [{"between": ["r1:lo", "r2"]}]})", "/links/0/between/0: lo has no link"},
      {R"({"links": [{"between": ["r1", "r1:eth5", "r2"]}]})", "/links/0/between/1: r1:eth5 is on this link twice"},
      {R"({"links": [{"between": ["r1", "r2"], "loss": 2}]})",
       "/links/0/loss: must be a number from 0.0 to 1.0, not 2"},
      {R"({"links": [{"between": ["a", "b", "c", "d"], "subnet": "10.9.0.0/30"}]})",
       "/links/0: has more ends than 10.9.0.0/30 has addresses; give it a larger subnet"},
      {R"({"routers": {"r1": {"interfaces": {"lo": {"addresses": ["fe80::1/64"]}}}}})",
       "/routers/r1/interfaces/lo/addresses/0: fe80::1/64: is no address that an interface can have in this plan"},
      {R"({"routers": {"r1": {"interfaces": {"lo": {"addresses": ["10.0.0.1", "255.255.255.255"]}}}}})",
       "/routers/r1/interfaces/lo/addresses/1: 255.255.255.255: is no address that an interface can have in this plan"},
      {R"({"family": "ipv6", "routers": {"r1": {"interfaces": {"lo": {"addresses": ["::1"]}}}}})",
       "/routers/r1/interfaces/lo/addresses/0: ::1: is no address that an interface can have in this plan"},
      {R"({"links": [{"between": ["r1", "r2"], "subnet": "127.0.0.0/8"}]})",
       "/links/0/subnet: 127.0.0.0/8: is no address that an interface can have in this plan"},
      {R"({"routers": {"r1": {"interfaces": {"lo": {"addresses": ["10.0.0.1/33"]}}}}})",
       "/routers/r1/interfaces/lo/addresses/0: 10.0.0.1/33: has no such length"},
      {R"({"routers": {"r1": {"interfaces": {"eth0": {"addresses": ["10.1.0.1/24"]}}},
                       "r2": {"interfaces": {"eth0": {"addresses": ["10.1.0.1/24"]}}}},
           "links": [{"between": ["r1", "r2"]}]})",
       "/routers/r2: 10.1.0.1 of r2:eth0 is an address of r1:eth0, too"},
      {R"({"routers": {"r1": {"interfaces": {"eth0": {"addresses": ["10.1.0.255/24"]}}}}})",
       "/routers/r1/interfaces/eth0/addresses: 10.1.0.255 is the last address of 10.1.0.0/24, which no interface can "
       "have"},
      {R"({"routers": {"r1": {"interfaces": {"eth0": {"addresses": ["10.1.0.2/31", "10.1.0.4/30"]}}}}})",
       "/routers/r1/interfaces/eth0/addresses: 10.1.0.4 is the first address of 10.1.0.4/30, which no interface can "
       "have"},
      {R"({"routers": {"r1": {"file": "a.json", "template": "t"}}})",
       "/routers/r1: has more than one of file, configuration and template"},
      {R"({"routers": {"r1": {"file": "a.json"}}})",
       "/routers/r1/file: a.json: cannot be read: No such file or directory"},
      {R"({"routers": {"r1": {"template": "t"}}})", "/routers/r1/template: there is no template t"},
      {R"({"routers": {"r1": {"agent": "off", "start": 5}}})",
       "/routers/r1/start: is of no use where the agent is off; give an event"},
      {R"({"duration": 10, "routers": {"r1": {"start": 5}, "r2": {"start": 11}}})",
       "/duration: is over before the agent of r2 starts"},
      {R"({"templates": {"t": {"logLevel": "${level}"}}, "routers": {"r1": {"template": "t"}}})",
       "/routers/r1/template: t: there is no value for ${level}"},
      {R"({"templates": {"t": {"logLevel": "${level}"}}, "routers": {"r1": {"template": "t", "values": {"level": "x"}}}})",
       "/routers/r1/template: t:/logLevel: must be one of emergency, alert, critical, error, warning, notice, info or "
       "debug, not \"x\""},
      {R"({"routers": {"r1": {"configuration": {"pim": {"default": {"interfaces": ["eth0"]}}}}}})",
       "/routers/r1/configuration/pim/default/interfaces/0: r1 has no interface eth0"},
      {R"({"routers": {"r1": {"configuration": {"pim": {"default": {"interfaces": []}, "blue": {"interfaces": []}}}}}})",
       "/routers/r1/configuration/pim/blue: r1 has no VRF blue"},
  };
  for (const Case &each : cases) {
    EXPECT_EQ(textsOf(planFromText(each.text, "/nowhere").findings.errors), Texts{each.error}) << each.text;
  }
  const std::string novel = R"({"routers": {"r1": {}, "r2": {}}, "links": [{"between": ["r1", "r2"]}], "name": ")" +
                            std::string(1'000'000, 'x') + "\"}";
  EXPECT_EQ(textsOf(planFromText(novel, "").findings.errors), Texts{"/name: a text of more than 4000 bytes"});
}

TEST(PlanFile, EveryFaultOfTheStoryAndOfWhatIsExpectedIsToldWithItsPath) {
  struct Case {
    const char *members;
    const char *error;
  };
  const Case cases[] = {
      {R"("events": [{"at": 1, "cut": "r1-r9"}])", "/events/0: there is no link r1-r9"},
      {R"("events": [{"at": 1, "cut": "r1-r2", "crash": "r1"}])",
       "/events/0: must have either cut or heal or change or "
       "start or stop or crash or powerOff or powerOn or reload or standby or active or down or up or addAddress or "
       "removeAddress"},
      {R"("events": [{"at": 1, "crash": "r9"}])", "/events/0: there is no router r9"},
      {R"("events": [{"at": 1, "crash": "r3"}])", "/events/0: r3 does not run at that time"},
      {R"("events": [{"at": 9, "heal": "r1-r2"}, {"at": 5, "cut": "r1-r2"}, {"at": 6, "cut": "r1-r2"}])",
       "/events/2: Link r1-r2 is cut already at that time"},
      {R"("events": [{"at": 1, "start": "r1"}])", "/events/0: r1 runs already at that time"},
      {R"("events": [{"at": 1, "down": "r1:eth7"}])", "/events/0: r1 has no interface eth7"},
      {R"("events": [{"at": 1, "removeAddress": "r1:lo", "address": "10.0.0.1"}])",
       "/events/0: r1:lo does not have 10.0.0.1 at that time"},
      {R"("events": [{"at": 1, "change": "r1-r2"}])",
       "/events/0: changes nothing: give delay, jitter, loss, mtu or cost"},
      {R"("events": [{"at": 1, "reload": "r1"}])",
       "/events/0: needs the configuration that is loaded: file, configuration or template"},
      {R"("duration": 10, "events": [{"at": 11, "crash": "r1"}])", "/duration: is over before the last event"},
      {R"("expect": [{"at": 1}])", "/expect/0: must have either bsr, rp, agree, withoutBsr or withoutRp"},
      {R"("expect": [{"bsr": "r1"}])", "/expect/0: needs a time (at)"},
      {R"("duration": 10, "expect": [{"at": 11, "bsr": "r1"}])", "/expect/0: is about a time after the end"},
      {R"("expect": [{"agree": 1, "from": 9, "to": 8}])", "/expect/0: ends before it begins"},
      {R"("duration": 10, "expect": [{"agree": 1, "from": 15}])", "/expect/0: begins when the plan has ended"},
      {R"("expect": [{"at": 1, "bsr": "r2"}])",
       "/expect/0/bsr: can never hold: r2 is never a candidate BSR of 224.0.0.0/4"},
      {R"("expect": [{"at": 1, "bsr": "10.9.9.9"}])",
       "/expect/0/bsr: can never hold: no router with the address "
       "10.9.9.9 is ever a candidate BSR of 224.0.0.0/4"},
      {R"("expect": [{"withoutBsr": 1, "zone": "239.1.0.0/16"}])",
       "/expect/0: can never hold: no router is ever a candidate BSR of 239.1.0.0/16"},
      {R"("expect": [{"at": 1, "rp": "r1", "group": "225.0.0.1"}])",
       "/expect/0: can never hold: no router is ever a candidate RP of 225.0.0.1"},
      {R"("expect": [{"at": 1, "rp": "none", "group": "10.0.0.1"}])",
       "/expect/0/group: 10.0.0.1 is no group of this plan's family"},
      {R"("expect": [{"at": 1, "rp": "r1", "group": "239.1.0.0/16"}])",
       "/expect/0/group: 239.1.0.0/16 is a range: give one group of it"},
      {R"("expect": [{"at": 1, "rp": "r1", "group": "239.1.1.1", "zone": "239.0.0.0/8"}])",
       "/expect/0: has no use for a zone: the RP is that of the group"},
      {R"("expect": [{"at": 1, "bsr": "r1", "routers": ["r2", "r2/default"]}])",
       "/expect/0/routers/1: r2 is listed twice"},
      {R"("expect": [{"at": 1, "bsr": "none", "routers": ["r1/blue"]}])", "/expect/0/routers/0: r1 has no VRF blue"},
      {R"("events": [{"at": 5, "start": "r3"}], "expect": [{"at": 6, "bsr": "r1", "routers": ["r3"]},
          {"withoutBsr": 5, "to": 9, "routers": ["r3"]}, {"at": 4, "bsr": "r1", "routers": ["r2", "r3"]},
          {"at": 4, "bsr": "none", "routers": ["r3"]}])",
       "/expect/2/routers/1: can never hold: the agent of r3 has not run by then"},
  };
  for (const Case &each : cases) {
    EXPECT_EQ(textsOf(planFromText(planWith(each.members), "").findings.errors), Texts{each.error}) << each.members;
  }
}

TEST(PlanFile, FaultsOfAllItsPartsAreToldTogetherAndEachOnce) {
  // r1 would be the candidate, and have 10.0.0.1; r2-r3 is a link.
  const std::string routers = R"({"routers": {
      "r1": {"configuration": {"vrfConfig": {"default": {"holdTime": "x", "bsrCandidateConfig": {"lo": {"group":
              {"224.0.0.0/4": {}}}}}}}, "interfaces": {"lo": {"addresses": ["10.0.0.1/33"]}}}, "r2": {}, "r3": {}},
    "links": [{"between": ["r1", "r2"]}, {"between": ["r2", ")";
  const std::string rest = R"("]}],
    "events": [{"at": 1, "crash": "r1"}, {"at": 2, "crash": "r1"},
               {"at": 3, "removeAddress": "r1:lo", "address": "10.0.0.1"}],
    "expect": [{"at": 1, "bsr": "r1"}, {"withoutBsr": 1}, {"at": 1, "bsr": "10.0.0.1", "routers": ["r9"]}, {"bsr": "r1"}]})";
  EXPECT_EQ(
      textsOf(planFromText(routers + "r3" + rest, "").findings.errors),
      (Texts{"/routers/r1/interfaces/lo/addresses/0: 10.0.0.1/33: has no such length",
             "/routers/r1/configuration/vrfConfig/default/holdTime: must be an integer from 1 to 65535, not \"x\"",
             "/events/1: r1 does not run at that time", "/expect/2/routers/0: there is no router r9",
             "/expect/3: needs a time (at)"}));
  EXPECT_EQ(textsOf(planFromText(routers + "r7" + rest, "").findings.errors),
            (Texts{"/routers/r1/interfaces/lo/addresses/0: 10.0.0.1/33: has no such length",
                   "/links/1/between/1: there is no router r7"}))
      << "what others say of links and routers that are not known";
}

TEST(PlanFile, WhatIsOddIsToldAndTaken) {
  const LoadedPlan plan = planFromText(R"({
    "routers": {"r1": {"interfaces": {"lo": {"addresses": ["10.0.0.1"]}, "eth1": {"addresses": ["10.1.1.1/24"]}}},
                "r2": {"interfaces": {"lo": {"addresses": ["10.0.0.1"]}, "eth1": {"addresses": ["10.2.2.2/24"]}}},
                "r3": {}, "r4": {}},
    "links": [{"between": ["r1", "r2"]}, {"between": ["r1", "r2"], "name": "second"}, {"between": ["r2", "r4/blue"]}],
    "events": [{"at": 1, "removeAddress": "r1:eth1", "address": "10.1.1.1"},
               {"at": 2, "addAddress": "r2/default:lo", "address": "10.1.1.1"},
               {"at": 3, "addAddress": "r1:eth1", "address": "10.1.1.1/24"}]})",
                                       "");
  EXPECT_EQ(textsOf(plan.findings.errors), Texts{});
  EXPECT_EQ(textsOf(plan.findings.warnings),
            (Texts{"/routers/r2: 10.0.0.1 of r2:lo is an address of r1:lo, too: the nearest of them is reached",
                   "/links/1: r2 is in 10.2.2.0/24 there, and r1 in 10.1.1.0/24: they have no subnet in common",
                   "/routers/r3: has no link", "/routers/r4: has no link in VRF default",
                   "/events/2/address: 10.1.1.1 is an address of r2:lo at that time, too"}));
}

TEST(PlanFile, ThereIsTimeAfterTheLastEventAndTheLastStart) {
  const auto durationWith = [](const std::string &members) {
    return planFromText(R"({"routers": {"r1": {}, "r2": {"start": 50}, "r3": {"agent": "off"}}, )" + members + "}", "")
        .plan.duration;
  };
  EXPECT_EQ(durationWith(R"("events": [])"), 350);
  EXPECT_EQ(durationWith(R"("events": [{"at": 70, "crash": "r2"}, {"at": 60, "crash": "r1"}])"), 370);
  EXPECT_EQ(durationWith(R"("expect": [{"at": 400, "bsr": "none"}])"), 400);
}

TEST(PlanFile, NamesAddressesAndConfigurationsAreFilledIn) {
  const ::Test::TemporaryDirectory directory;
  std::ofstream(directory.path() + "/own.json") << R"({"pim": {"default": {"interfaces": ["ge0"]}}})";
  const LoadedPlan loaded = planFromText(R"({
    "templates": {"t": {"vrfConfig": {"default": {"holdTime": "${hold}",
                        "bsrCandidateConfig": {"lo": {"group": {"224.0.0.0/4": {"priority": "${number}"}}}}}}}},
    "routers": {"r2": {"template": "t", "values": {"hold": 77}}, "r10": {"file": "own.json"},
                "r1": {"interfaces": {"eth0": {"addresses": ["10.0.0.9/24"]}}, "start": 5}},
    "links": [{"between": ["r1", "r2"]}, {"between": ["r1/blue", "r10/blue"]}, {"between": ["r10:ge0", "r2"], "cost": 7}],
    "events": [{"at": 9, "reload": "r2", "template": "t"},
               {"at": 10, "reload": "r2", "template": "t", "values": {"hold": 88}}]
  })",
                                         directory.path());
  ASSERT_EQ(textsOf(loaded.findings.errors), Texts{});
  const Plan &plan = loaded.plan;
  ASSERT_EQ(plan.routers.size(), 3u);
  EXPECT_EQ(plan.routers[1].name, "r2");
  EXPECT_EQ(plan.routers[0].start, 5);
  const auto address = [&](size_t router, size_t vrf, const std::string &name) {
    for (const Interface &interface : plan.routers[router].vrfs[vrf].interfaces) {
      if (interface.name == name) return Kiv::toText(interface.addresses.at(0).address);
    }
    return std::string("no interface");
  };
  EXPECT_EQ(address(0, 0, "eth0"), "10.0.0.9");
  EXPECT_EQ(address(1, 0, "eth0"), "10.0.0.1") << "of the subnet that r1 has there";
  EXPECT_EQ(address(0, 1, "eth0"), "10.0.1.1") << "the first subnet is taken";
  EXPECT_EQ(address(2, 0, "ge0"), "10.0.2.1");
  EXPECT_EQ(address(2, 0, "lo"), "192.168.0.4") << "r1 has two";
  EXPECT_EQ(plan.links[2].parameters.cost, 7u);
  const auto &settings = plan.routers[1].configuration->vrfConfig.at(L3::VrfName("default"));
  EXPECT_EQ(settings.holdTime, 77u);
  EXPECT_EQ(settings.bsrCandidateConfig.begin()->second.group.begin()->second.priority, 2);
  const auto holdTime = [](const Action &action) {
    return action.configuration->vrfConfig.at(L3::VrfName("default")).holdTime;
  };
  EXPECT_EQ(holdTime(plan.story.at(0)), 77u) << "the router's own values";
  EXPECT_EQ(holdTime(plan.story.at(1)), 88u);
  EXPECT_EQ(plan.routers[0].configuration->pim.size(), 2u) << "PIM is on in each VRF that has links";
}

}  // namespace
}  // namespace Planning
