#include "plan/RefusedParts.h"

#include "tests/plan/Plans.h"

namespace Planning {
namespace {

using Texts = std::vector<std::string>;

TEST(RefusedParts, WhatOneFaultLeadsToIsNotTold) {
  struct Case {
    const char *text;
    Texts errors;
  };
  const std::string member = "\" is not ROUTER, ROUTER:INTERFACE, ROUTER/VRF or ROUTER/VRF:INTERFACE";
  const std::string either =
      ": must have either cut or heal or change or start or stop or crash or powerOff or powerOn "
      "or reload or standby or active or down or up or addAddress or removeAddress";
  const Case cases[] = {
      {R"({"routers": {"r1": {}}, "links": [{"between": ["r1:", "r9", "r8", "r1"]}]})",
       {"/links/0/between/0: \"r1:" + member}},
      {R"({"links": [{"between": ["r1:", "r2"]}, {"between": ["r1", "r1"]}, {"between": 7}, {"betwen": ["r1", "r2"]},
                     {"between": ["r1", "r2"], "subnet": "10.0.0.0/33"}],
           "events": [{"at": 1, "cut": "r1-r2"}]})",
       {"/links/0/between/0: \"r1:" + member, "/links/1/between/1: \"r1\" is listed twice",
        "/links/2/between: must be a list, not 7",
        "/links/3/betwen: unknown name; known here: name, between, subnet, delay, jitter, loss, mtu, cost",
        "/links/4/subnet: 10.0.0.0/33: has no such length"}},
      {R"({"links": [{"between": []}]})", {"/links/0/between: a link has two ends or more"}},
      {R"({"links": [{"between": ["r1", "r2"]}, {"between": ["r1", "r2"], "name": "second one"}],
           "events": [{"at": 1, "cut": "second one"}]})",
       {"/links/1/name: \"second one\" is not a name (up to 64 letters, digits, '.', '_' and '-', of which the first "
        "is "
        "a letter or digit)"}},
      {R"({"routers": {"r10": {"interfaces": {"lo": {"addresses": ["10.0.0.x", "10.0.0.1/33"]}},
           "template": "a template"}, "r1": {"template": "b", "values": {}}}})",
       {"/routers/r10/template: \"a template\" is not a name (up to 64 letters, digits, '.', '_' and '-', of which the "
        "first is a letter or digit)",
        "/routers/r10/interfaces/lo/addresses/0: \"10.0.0.x\" is not an address or a prefix",
        "/routers/r1/template: there is no template b"}},
      {R"({"links": [{"between": ["r1", "r2"], "loss": 2}], "events": [{"at": 1, "cut": "r1-r3"}, {"at": 2},
           {"at": 3, "heal": "r1-r2"}, {"at": 4, "stop": "r9"}, {"at": 5, "cut": "r1-r2", "address": "no address"}],
           "expect": [{"at": 1, "bsr": "r9"}, {"at": "x", "bsr": "r1"}, {"at": 1, "bsr": "none", "routers": [1, "r8"]},
                      {"at": 1, "rp": "none", "group": "10.1.1.1"}]})",
       {"/links/0/loss: must be a number from 0.0 to 1.0, not 2", "/events/1" + either,
        "/events/4/address: \"no address\" is not an address or a prefix",
        "/expect/1/at: must be a number from 0.0 to 100000000.0, not \"x\"",
        "/expect/2/routers/0: must be a string, not 1", "/events/0: there is no link r1-r3",
        "/events/3: there is no router r9", "/expect/0/bsr: there is no router r9, nor is it an address",
        "/expect/3/group: 10.1.1.1 is no group of this plan's family"}},
      {R"({"routers": {"r1": {"configuration": {"foo": 1}}}, "expect": [{"at": 1, "bsr": "r1"}, {"at": 1, "bsr": "r9"}]})",
       {"/routers/r1/configuration/foo: unknown name; known here: pim, vrfConfig, intfConfig, acl, logLevel, metrics",
        "/expect/1/bsr: there is no router r9, nor is it an address"}},
      {R"({"links": [{"between": ["r1", "r2"]}], "events": [{"at": 1, "addAddress": "r1:eth0"},
           {"at": 2, "addAddress": "r1:eth0", "address": "10.0.0.300"}]})",
       {"/events/0: needs an address", "/events/1/address: 10.0.0.300: not an IP address: \"10.0.0.300\""}},
      {R"({"links": [{"between": ["r1", "r2"], "subnet": "10.5.0.0/24"},
                     {"between": ["r1", "r2", "r3"], "subnet": "10.5.0.0/24"}]})",
       {"/links/1/subnet: 10.5.0.1 of r1:eth1 is an address of r1:eth0, too"}},
  };
  for (const Case &each : cases) {
    EXPECT_EQ(textsOf(planFromText(each.text, "").findings.errors), each.errors) << each.text;
  }
}

}  // namespace
}  // namespace Planning
