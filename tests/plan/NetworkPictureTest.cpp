#include "plan/NetworkPicture.h"

#include <boost/property_tree/ptree.hpp>
#include <boost/property_tree/xml_parser.hpp>
#include <sstream>

#include "tests/plan/Dot.h"
#include "tests/plan/Plans.h"

namespace Planning {
namespace {

// Two candidates in the zone of all groups, one in that of a site behind the border at r4:eth0; a VRF on r3.
constexpr const char *site = R"({
  "name": "a \"site\" &amp; <more> \\",
  "templates": {"candidate": {"vrfConfig": {"default": {
    "bsrCandidateConfig": {"lo": {"group": {"${zone}": {"priority": "${priority}"}}}},
    "rpCandidateConfig": {"lo": {"groupRange": {"${zone}": {}}}}}}}},
  "routers": {"r1": {"template": "candidate", "values": {"zone": "224.0.0.0/4", "priority": 65}},
              "r2": {"template": "candidate", "values": {"zone": "224.0.0.0/4", "priority": 64}},
              "r3": {}, "r4": {"configuration": {"intfConfig": {"eth0": {"bsrBorderGrp": ["239.1.0.0/16"]}}}},
              "r5": {"template": "candidate", "values": {"zone": "239.1.0.0/16", "priority": 1}},
              "r6": {"agent": "off"}, "r7": {}},
  "links": [{"between": ["r1", "r2"], "cost": 7}, {"between": ["r2", "r3"], "loss": 0.001}, {"between": ["r3", "r4"]},
            {"name": "lan", "between": ["r4", "r5", "r6"]}, {"between": ["r3/blue", "r7/blue"]},
            {"between": ["r3", "r7"]}],
  "events": [{"at": 200, "cut": "r3-r4"}, {"at": 201, "powerOff": "r1"}, {"at": 202, "standby": "r7"},
             {"at": 203, "down": "r2:eth1"}]
})";

// The table of the title and the legend, as lines of text.
std::vector<std::string> linesOf(const std::string &table) {
  boost::property_tree::ptree tree;
  std::istringstream in(table);
  boost::property_tree::read_xml(in, tree);
  std::vector<std::string> lines;
  for (const auto &[name, row] : tree.get_child("table")) {
    if (name != "tr") continue;
    const auto &cell = row.back().second;
    lines.push_back(cell.data() + cell.get("b", "") + cell.get("i", ""));
  }
  return lines;
}

// A plan that is played, and its picture as it goes on.
struct Drawn {
  explicit Drawn(const std::string &text) : plan(planFrom(text)) {}

  const Plan plan;
  Simulation simulation{plan, 1};
  Legend legend{plan};
  NetworkLayout layout{plan};
  NetworkPicture picture{simulation, legend, layout};
};

TEST(NetworkPicture, SaysWhatEachRouterAndLinkIs) {
  Drawn drawn(site);
  drawn.simulation.runTo(190);
  const DotReader before(drawn.picture.dot("at first"));
  EXPECT_EQ(before.name, "a \"site\" &amp;amp; <more> \\");
  const std::vector<std::string> head = linesOf(before.of("graph")["label"]);
  ASSERT_EQ(head.size(), 9u);
  EXPECT_EQ(head[0], "a \"site\" &amp; <more> \\: at first");
  EXPECT_EQ(head[1], "A: 224.0.0.0/4 in VRF default: BSR r1 at 6 routers");
  EXPECT_EQ(head[4], "B: 239.1.0.0/16 in VRF default: BSR r5 at 2 routers");
  EXPECT_EQ(before.of("r1")["label"], "r1\\nA: BSR, RP");
  EXPECT_EQ(before.of("r1")["peripheries"], "2");
  EXPECT_EQ(before.of("r2")["label"], "r2\\nA: C-BSR, RP");
  EXPECT_EQ(before.of("r2")["shape"], "box");
  EXPECT_EQ(before.of("r3")["label"], "r3");
  EXPECT_EQ(before.of("r3")["fillcolor"], before.of("r1")["fillcolor"]);
  EXPECT_EQ(before.of("r4")["label"], "r4\\nB");
  EXPECT_EQ(before.of("r4")["style"], "wedged");
  EXPECT_EQ(before.of("r5")["label"], "r5\\nB: BSR, RP");
  EXPECT_EQ(before.of("r6")["label"], "r6\\nstopped");
  EXPECT_EQ(before.of("r3/blue")["label"], "r3/blue");  // nobody has a BSR there
  before.of("r3 -- r3/blue");
  EXPECT_NE(before.of("r1 -- r2")["label"].find(">cost 7<"), std::string::npos);
  EXPECT_NE(before.of("r2 -- r3")["label"].find(">loss 0.1 %<"), std::string::npos);
  EXPECT_EQ(before.of("r3 -- r4")["arrowhead"], "teetee");
  EXPECT_EQ(before.of("r3 -- r4")["arrowtail"], "none");
  EXPECT_EQ(before.of("r3 -- r4")["headlabel"], "B");
  EXPECT_EQ(before.of("r5 -- LAN:lan")["arrowtail"], "none");

  drawn.simulation.runTo(480);
  const DotReader after(drawn.picture.dot("at last"));
  EXPECT_EQ(after.of("r1")["label"], "r1\\nno power");
  EXPECT_EQ(after.of("r7")["label"], "r7\\nstands by");
  EXPECT_EQ(after.of("r3")["label"], "r3\\nA: no BSR");
  EXPECT_EQ(after.of("r3")["style"], "filled,dashed");
  EXPECT_EQ(after.of("r2")["peripheries"], "2");
  EXPECT_EQ(after.of("r5")["label"], "r5\\nA: no BSR\\nB: BSR, RP");
  EXPECT_NE(after.of("r3 -- r4")["label"].find("cut<"), std::string::npos);
  EXPECT_EQ(after.of("r3 -- r4")["style"], "dashed");
  EXPECT_EQ(after.of("r2 -- r3")["taillabel"], "eth1 down");
  EXPECT_EQ(after.of("r2 -- r3")["style"], "dotted");
  EXPECT_EQ(linesOf(after.of("graph")["label"])[2], "A: 224.0.0.0/4 in VRF default: no BSR at 3 routers");
  EXPECT_EQ(before.statements.size(), after.statements.size());
}

// "r3 (2)": with few words, those are marked that have another BSR than most.
TEST(NetworkPicture, OfManyRoutersSaysInFewWordsWhoseBsrIsAnother) {
  std::string links;
  for (int i = 1; i < 60; ++i) {
    links.append(i > 1 ? ", " : "").append(R"({"between": ["r)").append(std::to_string(i)).append("\", \"r");
    links.append(std::to_string(i + 1)).append("\"]}");
  }
  const std::string candidate = R"({"configuration": {"vrfConfig": {"default": {"bsrCandidateConfig": {"lo": {"group":
    {"224.0.0.0/4": {}}}}}}}})";
  std::string routers;
  for (int i = 1; i <= 60; ++i) {
    routers.append(i > 1 ? ", \"r" : "\"r").append(std::to_string(i)).append("\": ");
    routers.append(i == 1 || i == 60 ? candidate : "{}");
  }
  Drawn drawn("{\"routers\": {" + routers + "}, \"links\": [" + links +
              "], \"events\": [{\"at\": 100, \"cut\": \"r20-r21\"}, {\"at\": 100, \"crash\": \"r1\"}, "
              "{\"at\": 300, \"start\": \"r1\"}]}");
  drawn.simulation.runTo(290);
  const DotReader lost(drawn.picture.dot(""));
  EXPECT_EQ(lost.of("r5")["label"], "r5");  // 19 share this fault
  EXPECT_EQ(lost.of("r5")["style"], "filled,dashed");
  drawn.simulation.runTo(500);
  const DotReader split(drawn.picture.dot(""));
  EXPECT_EQ(split.of("r1")["label"], "r1 (2)\\nBSR");
  EXPECT_EQ(split.of("r5")["label"], "r5 (2)");
  EXPECT_EQ(split.of("r21")["label"], "r21");
  EXPECT_EQ(split.of("r60")["label"], "r60\\nBSR");
  EXPECT_EQ(split.of("r20 -- r21")["style"], "dashed");
  const std::vector<std::string> head = linesOf(split.of("graph")["label"]);
  EXPECT_EQ(head[1], "224.0.0.0/4: BSR r1 at 20 routers, marked (2)");
  EXPECT_EQ(head[2], "224.0.0.0/4: BSR r60 at 40 routers");
  EXPECT_EQ(head[4], "224.0.0.0/4: no RP at 60 routers");
}

}  // namespace
}  // namespace Planning
