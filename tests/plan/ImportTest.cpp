#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "plan/Outcome.h"
#include "plan/Program.h"
#include "plan/Wiring.h"
#include "tests/daemon/TemporaryDirectory.h"
#include "tests/plan/Plans.h"

namespace Planning {
namespace {

using Texts = std::vector<std::string>;

// What real routers have shown: lab/run-lab --save, IPv6, in which a router has one link-local address on all links.
const std::string recorded = SOURCE_DIR "/tests/plan/saved";

TEST(Import, ThePlanOfRecordedRoutersHasTheirLinksAndBsrs) {
  std::ostringstream out, err;
  Arguments arguments{"import"};
  for (const char *name : {"r1", "r2", "r3", "r4"}) arguments.push_back(recorded + "/" + name + ".json");
  ASSERT_EQ(program(arguments, out, err), done) << err.str();
  EXPECT_NE(err.str().find("prefix lengths of 16 addresses"), std::string::npos) << err.str();
  const Plan plan = planFrom(out.str());
  Texts links;
  for (const Link &link : plan.links) {
    std::string &text = links.emplace_back();
    for (const Member &member : link.members) {
      const Vrf &vrf = plan.routers[member.router].vrfs[member.vrf];
      text += plan.nameOf({member.router, member.vrf}) + ":" + vrf.interfaces[member.interface].name + " ";
    }
  }
  EXPECT_EQ(links, (Texts{"r1:eth0 r2:eth0 ", "r1:eth1 r3:eth0 ", "r1/blue:eth0 r2/blue:eth0 ",
                          "r1/blue:eth1 r3/blue:eth0 ", "r2:eth1 r3:eth1 ", "r2/blue:eth1 r3/blue:eth1 ",
                          "r3:eth2 r4:eth0 ", "r3/blue:eth2 r4/blue:eth0 "}));
  const Outcome outcome = play(plan, 1);
  ASSERT_EQ(outcome.verdicts.size(), 3u);
  for (const Verdict &verdict : outcome.verdicts) EXPECT_TRUE(verdict.holds) << verdict.seen;
}

TEST(Import, AddressesAreTakenWithTheirLengths) {
  const ::Test::TemporaryDirectory directory;
  const std::string router = directory.path() + "/r1";
  std::filesystem::create_directory(router);
  std::ofstream(router + "/shown.json")
      << R"([{"vrf": "default", "interface": "eth0", "state": "on", "address": "10.0.0.1", "mtu": 1500, "isDr": true},
             {"vrf": "red", "interface": "red/eth1", "state": "off", "address": null, "mtu": null, "isDr": false}]
            [{"pim": {"default": {"interfaces": ["eth0"]}, "red": {"device": "vrf5", "interfaces": ["eth1"]}}}])";
  std::ofstream(router + "/address.json")
      << R"([{"ifname": "lo", "addr_info": [{"local": "127.0.0.1", "prefixlen": 8}, {"local": "10.9.9.9", "prefixlen": 32}]},
             {"ifname": "eth0", "mtu": 9000, "addr_info": [{"local": "10.0.0.1", "prefixlen": 23}, {"local": "fe80::1", "prefixlen": 64}]},
             {"ifname": "eth1", "master": "vrf5", "addr_info": [{"local": "10.0.2.1", "prefixlen": 31}]},
             {"ifname": "eth7", "addr_info": [{"local": "10.0.3.1", "prefixlen": 24}]}])";
  std::ostringstream out, err;
  ASSERT_EQ(program({"import", directory.path()}, out, err), done) << err.str();
  const Plan plan = planFrom(out.str());
  Texts addresses;
  for (const Vrf &vrf : plan.routers.front().vrfs) {
    for (const Interface &interface : vrf.interfaces) {
      for (const Sim::IntfAddress &each : interface.addresses) {
        addresses.push_back(vrf.name + "/" + interface.name + " " + Kiv::toText(each.address) + " of " +
                            Kiv::toText(each.subnet));
      }
    }
  }
  std::sort(addresses.begin(), addresses.end());
  ASSERT_EQ(addresses.size(), 4u);  // "lo" of red has one of the plan's own
  EXPECT_EQ(addresses[0], "default/eth0 10.0.0.1 of 10.0.0.0/23");
  EXPECT_EQ(addresses[1], "default/lo 10.9.9.9 of 10.9.9.9/32");
  EXPECT_EQ(addresses[2], "red/eth1 10.0.2.1 of 10.0.2.0/31");
}

TEST(Import, OfShownNeighborsAloneThePlanIsGood) {
  const ::Test::TemporaryDirectory directory;
  for (const std::string own : {"1", "2", "3"}) {
    std::ofstream file(directory.path() + "/r" + own + ".json");
    file << R"([{"vrf": "default", "interface": "eth0", "address": "10.0.0.)" << own
         << R"(", "mtu": 1500, "isDr": true}])";
    for (const std::string other : {"1", "2", "3"}) {
      if (other == own) continue;
      file << R"([{"vrf": "default", "interface": "eth0", "generationId": 7, "addresses": [], "address": "10.0.0.)"
           << other << R"("}])";
    }
    file << R"([{"vrf": "default", "zone": "224.0.0.0/4", "elected": true, "address": "10.0.0.1"}])";
  }
  Arguments arguments{"import"};
  for (const char *name : {"/r1.json", "/r2.json", "/r3.json"}) arguments.push_back(directory.path() + name);
  std::ostringstream out, err;
  EXPECT_EQ(program(arguments, out, err), done) << err.str();
  EXPECT_NE(err.str().find("note: The BSR of 224.0.0.0/4 was 10.0.0.1 at r1 and others, and nothing saved makes that a "
                           "candidate within reach"),
            std::string::npos)
      << err.str();
  const Plan plan = planFrom(out.str());
  EXPECT_TRUE(plan.expectations.empty());
  for (const Router &router : plan.routers) {
    for (const Interface &interface : router.vrfs.front().interfaces) {
      if (interface.link)
        EXPECT_EQ(Kiv::toText(interface.addresses.front().subnet), "10.0.0.0/29") << "no end is .3/30";
    }
  }
}

TEST(Import, WhatNoTerminalShouldSeeIsNotPassedOn) {
  const std::string row = R"([{"vrf": "default", "interface": "eth0\u001b[2J\nnote: fine", "address": "10.0.0.)";
  const std::pair<std::string, const char *> cases[] = {
      {row + R"(1", "mtu": 1500, "isDr": true}])" + row + R"(2", "addresses": [], "generationId": 1}])",
       "note: 10.0.0.2 at r1:eth0?[2J?note: fine is no saved router"},
      {row + R"(1\u001b[2J", "mtu": 1500, "isDr": true}])", "10.0.0.1?[2J"},
  };
  for (const auto &[text, told] : cases) {
    const ::Test::TemporaryDirectory directory;
    std::ofstream(directory.path() + "/r1.json") << text;
    std::ostringstream out, err;
    program({"import", directory.path() + "/r1.json"}, out, err);
    EXPECT_NE(err.str().find(told), std::string::npos) << err.str();
    for (const std::string &printed : {out.str(), err.str()}) {
      EXPECT_EQ(printed.find('\x1b'), std::string::npos) << printed;
      EXPECT_EQ(printed.find("\nnote: fine"), std::string::npos) << printed;
    }
  }
}

TEST(Import, WhatCannotBeUsedIsRefusedWithItsFile) {
  const std::string interface =
      R"([{"vrf": "default", "interface": "eth0", "address": "10.0.0.1", "mtu": 1500, "isDr": true}])";
  const std::pair<std::string, const char *> cases[] = {
      {"", "of which family"},
      {"{}", "r1.json: has something that is no list of rows"},
      {interface + "[7]", "r1.json: has something that is no row"},
      {interface + "\n[{\"vrf\"", "r1.json: 2:8: the file ends too early: ':' has to be here"},
      {R"([{"vrf": "default", "interface": "eth0", "address": "10.0.0.1", "isDr": true}])",
       "r1.json: has a row that is not as it should be: key 'mtu' not found"},
      {interface +
           R"([{"vrf": "default", "interface": "eth0", "address": "10.0.0", "addresses": [], "generationId": 1}])",
       "r1.json: "},
      {interface +
           R"([{"vrf": "default", "interface": "eth0", "address": "fe80::1", "addresses": [], "generationId": 1}])",
       "fe80::1 is not of"},
      {R"([{"vrf": "default", "interface": "eth0", "address": "10.0.0.1", "addresses": [], "generationId": 1}])",
       "\"show interfaces\" is not saved"},
      {interface + R"([{"pim": {"default": {"interfaces": 5}}}])", "its configuration cannot be used"},
  };
  for (const auto &[text, reason] : cases) {
    const ::Test::TemporaryDirectory directory;
    const std::string file = directory.path() + "/r1.json";
    std::ofstream(file) << text;
    std::ostringstream out, err;
    EXPECT_EQ(program({"import", file}, out, err), refused) << text;
    EXPECT_NE(err.str().find(reason), std::string::npos) << text << ": " << err.str();
    EXPECT_EQ(out.str(), "") << text;
  }
}

TEST(Import, WhatNoPlanCanHaveIsToldBesideThePlan) {
  const ::Test::TemporaryDirectory directory;
  const std::string file = directory.path() + "/r1.json";
  std::ofstream(file)
      << R"([{"vrf": "default", "interface": "eth 0", "address": "10.0.0.1", "mtu": 1500, "isDr": true}])";
  std::ostringstream out, err;
  EXPECT_EQ(program({"import", file}, out, err), refused);
  EXPECT_NE(err.str().find("error: the plan:/routers/r1/interfaces/eth 0: \"eth 0\" is not an interface name"),
            std::string::npos)
      << err.str();
  EXPECT_NE(out.str().find("10.0.0.1"), std::string::npos) << out.str();
}

// "r1:eth0 10.0.0.1 sees 10.0.0.2 10.0.0.3+10.0.9.3": an interface a line, of routers in their order; behind '+' are
// the neighbor's other addresses.
std::vector<SavedRouter> routersFrom(const Texts &lines) {
  std::vector<SavedRouter> routers;
  for (const std::string &line : lines) {
    std::istringstream words(line);
    std::string name, word;
    words >> name;
    const size_t colon = name.find(':');
    if (routers.empty() || routers.back().name != name.substr(0, colon))
      routers.push_back({name.substr(0, colon), {}, {}, {}});
    SavedInterface &interface = routers.back().vrfs["default"].interfaces[name.substr(colon + 1)];
    interface.hasPim = true;
    words >> word;
    interface.address = Pax::IpGenAddr::fromText(word);
    words >> word;  // sees
    while (words >> word) {
      std::replace(word.begin(), word.end(), '+', ' ');
      std::istringstream addresses(word);
      addresses >> word;
      SavedNeighbor neighbor{Pax::IpGenAddr::fromText(word), {}};
      while (addresses >> word) neighbor.addresses.push_back(Pax::IpGenAddr::fromText(word));
      interface.neighbors.push_back(neighbor);
    }
  }
  return routers;
}

TEST(Wiring, NeighborsShowWhoIsOnOneLink) {
  struct Case {
    const char *what;
    Texts interfaces;
    Texts links;
    size_t notes;
  };
  const Case cases[] = {
      {"a LAN of three, on which one has not yet seen all",
       {"r1:eth0 10.0.0.1 sees 10.0.0.2 10.0.0.3", "r2:eth0 10.0.0.2 sees 10.0.0.1 10.0.0.3",
        "r3:eth0 10.0.0.3 sees 10.0.0.2"},
       {"r1:eth0 r2:eth0 r3:eth0"},
       1},
      {"links on which all have the same link-local addresses, told apart by the others",
       {"r1:eth0 fe80::1 sees fe80::2+2001:db8:0:1::2", "r2:eth0 fe80::2 sees fe80::1+2001:db8:0:1::1",
        "r2:eth1 fe80::1 sees fe80::2+2001:db8:0:2::3", "r3:eth0 fe80::2 sees fe80::1+2001:db8:0:2::2"},
       {"r1:eth0 r2:eth0", "r2:eth1 r3:eth0"},
       0},
      {"two links between two routers that nothing tells apart",
       {"r1:eth0 fe80::1 sees fe80::2", "r1:eth1 fe80::1 sees fe80::2", "r2:eth0 fe80::2 sees fe80::1",
        "r2:eth1 fe80::2 sees fe80::1"},
       {"r1:eth0 r2:eth0", "r1:eth1 r2:eth1"},
       2},
      {"a stranger whom two see on one link, and another one",
       {"r1:eth0 10.0.0.1 sees 10.0.0.2 10.0.0.9", "r1:eth1 10.0.1.1 sees 10.0.1.9",
        "r2:eth0 10.0.0.2 sees 10.0.0.1 10.0.0.9"},
       {"r1:eth0 r2:eth0 unknown1", "r1:eth1 unknown2"},
       2},
      {"interfaces that nobody is behind", {"r1:eth0 10.0.0.1 sees", "r2:eth0 10.0.0.2 sees"}, {}, 0},
      {"a link that only one of its ends knows of",
       {"r1:eth0 10.0.0.1 sees 10.0.0.2", "r2:eth0 10.0.0.2 sees"},
       {"r1:eth0 r2:eth0"},
       1},
  };
  for (const Case &each : cases) {
    const auto routers = routersFrom(each.interfaces);
    const Wiring wiring = wiringOf(routers);
    Texts links;
    for (const SavedLink &link : wiring.links) {
      std::string text;
      for (const SavedEnd &end : link.ends) text += (text.empty() ? "" : " ") + end.router->name + ":" + end.interface;
      for (const Stranger &stranger : link.strangers) text += " " + stranger.name;
      links.push_back(text);
    }
    EXPECT_EQ(links, each.links) << each.what;
    EXPECT_EQ(wiring.notes.size(), each.notes)
        << each.what << ": " << (wiring.notes.empty() ? "" : wiring.notes.front());
  }
}

}  // namespace
}  // namespace Planning
