#include "plan/TimelinePicture.h"

#include <boost/property_tree/ptree.hpp>
#include <boost/property_tree/xml_parser.hpp>
#include <cmath>
#include <optional>
#include <sstream>

#include "plan/Account.h"
#include "plan/NetworkFacts.h"
#include "tests/plan/Plans.h"

namespace Planning {
namespace {

using Tree = boost::property_tree::ptree;

Tree treeOf(const std::string &svg) {
  Tree tree;
  std::istringstream in(svg);
  boost::property_tree::read_xml(in, tree);
  return tree.get_child("svg");
}

// Those of this element and class, in their order.
std::vector<Tree> elementsOf(const Tree &svg, const std::string &element, const std::string &kind) {
  std::vector<Tree> found;
  for (const auto &[name, each] : svg) {
    if (name == element && each.get("<xmlattr>.class", "") == kind) found.push_back(each);
  }
  return found;
}

struct Extent {
  double top = 0;
  double bottom = 0;
};

// Of the band there: its points go along the top, and back along the bottom.
std::optional<Extent> extentAt(const Tree &polygon, double x) {
  Points points;
  std::istringstream in(polygon.get<std::string>("<xmlattr>.points"));
  char comma;
  for (double px, py; in >> px >> comma >> py;) points.emplace_back(px, py);
  for (size_t i = 0; i + 1 < points.size() / 2; i += 2) {
    if (x < points[i].first || x > points[i + 1].first) continue;
    return Extent{points[i].second, points[points.size() - 1 - i].second};
  }
  return std::nullopt;
}

constexpr const char *story = R"({
  "name": "<&amp; \"",
  "templates": {"candidate": {"vrfConfig": {"default": {
    "bsrCandidateConfig": {"lo": {"group": {"224.0.0.0/4": {"priority": "${priority}"}}}},
    "rpCandidateConfig": {"lo": {"groupRange": {"224.0.0.0/4": {}}}}}}}},
  "routers": {"r1": {"template": "candidate", "values": {"priority": 65}, "start": 30},
              "r2": {"template": "candidate", "values": {"priority": 64}}, "r3": {}, "r4": {"start": 50}},
  "links": [{"between": ["r1", "r2"]}, {"between": ["r2", "r3"]}, {"between": ["r3", "r4"]}],
  "events": [{"at": 200, "crash": "r1"}, {"at": 500, "start": "r1"}, {"at": 600, "cut": "r2-r3"},
             {"at": 600, "standby": "r2"}, {"at": 900, "stop": "r4"}]
})";

TEST(TimelinePicture, BandsAreAsHighAsTheSimulationHasRouters) {
  const Plan plan = planFrom(story);
  const Pax::IpGenPrefix all = Pax::allGroups(plan.family);
  Simulation simulation(plan, 1);
  Legend legend(plan);
  HeldHistory history(simulation, legend);
  simulation.observe(history);
  struct Sample {
    std::map<std::string, size_t> having;  // by the name of the BSR, "no BSR"
    size_t withoutRp = 0;
  };
  std::map<double, Sample> samples;
  for (const double time : {1., 25., 49., 51., 150., 250., 345., 450., 690., 740., 850., 1190.}) {
    simulation.runTo(time);
    Sample &sample = samples[time];
    for (const Node &node : plan.nodes()) {
      if (!simulation.box(node.router).runs() || simulation.box(node.router).standsBy()) continue;
      const auto held = simulation.held(node).find(all);
      const bool has = held != simulation.held(node).end();
      const bool hasBsr = has && !held->second.bsr.isZero();
      ++sample.having[hasBsr ? legend.nameOf("default", held->second.bsr) : "no BSR"];
      if (!has || held->second.rps == 0) ++sample.withoutRp;
    }
  }
  simulation.runTo(plan.duration);
  const std::vector<Lane> lanes = history.lanes();
  ASSERT_EQ(lanes.size(), 1u);
  EXPECT_EQ(lanes[0].members, 4u);
  const std::string text = TimelinePicture(legend, lanes, plan.duration, 1).svg();
  EXPECT_EQ(text.find("<script"), std::string::npos);
  const Tree svg = treeOf(text);
  EXPECT_EQ(svg.get<std::string>("title"), "<&amp; \", seed 1");
  const Tree frame = elementsOf(svg, "rect", "frame").at(0);
  const double router = frame.get<double>("<xmlattr>.height") / 4;
  for (const auto &[time, sample] : samples) {
    const double x = frame.get<double>("<xmlattr>.x") + frame.get<double>("<xmlattr>.width") * time / plan.duration;
    std::map<std::string, size_t> drawn;
    double floor = frame.get<double>("<xmlattr>.y") + frame.get<double>("<xmlattr>.height");
    for (const Tree &band : elementsOf(svg, "polygon", "band")) {
      const auto extent = extentAt(band, x);
      if (!extent) continue;
      EXPECT_NEAR(extent->bottom, floor, 0.11) << "at " << time;  // on the one before
      floor = extent->top;
      const std::string title = band.get<std::string>("title");
      drawn[title.substr(0, title.find(':'))] += std::lround((extent->bottom - extent->top) / router);
    }
    EXPECT_EQ(drawn, sample.having) << "at " << time;
    std::string withoutRp = "0";
    for (const Tree &strip : elementsOf(svg, "polygon", "withoutRp")) {
      const std::string title = strip.get<std::string>("title");
      if (extentAt(strip, x)) withoutRp = title.substr(0, title.find(' '));
    }
    EXPECT_EQ(withoutRp, std::to_string(sample.withoutRp)) << "at " << time;
  }
  const std::vector<Tree> moments = elementsOf(svg, "text", "moment");
  ASSERT_EQ(moments.size(), 4u);
  EXPECT_EQ(moments[2].data(), "3 r2-r3 is cut; r2 stands by");
  EXPECT_EQ(TimelinePicture(legend, history.lanes(), plan.duration, 1).svg(), text);
}

// A lane, and the title of the network, count those that the account of the run counts; and a BSR of another VRF has
// its name.
TEST(TimelinePicture, CountsWhomTheRunCounts) {
  const std::string candidate = R"({"configuration": {"vrfConfig": {"VRF": {
    "bsrCandidateConfig": {"lo": {"group": {"224.0.0.0/4": {}}}},
    "rpCandidateConfig": {"lo": {"groupRange": {"224.0.0.0/4": {}}}}}}}})";
  const auto planIn = [&](const std::string &vrf, const std::string &links) {
    std::string r1 = candidate;
    r1.replace(r1.find("VRF"), 3, vrf);
    return R"({"routers": {"r1": )" + r1 + R"(, "r2": {}, "r3": {}}, "links": [)" + links +
           R"(], "events": [{"at": 100, "powerOff": "r3"}], "duration": 200})";
  };
  const std::string plans[] = {
      twoVrfs,
      planIn("blue", R"({"between": ["r1/blue", "r2/blue"]}, {"between": ["r2", "r3"]})"),
      planIn("default", R"({"between": ["r1", "r2"]})"),  // r3 has no link
      planIn("default", R"({"between": ["r1", "r2/blue"]}, {"between": ["r2/blue", "r3/green"]})"),
  };
  for (const std::string &text : plans) {
    const Plan plan = planFrom(text);
    Simulation simulation(plan, 1);
    const Account account(simulation);
    Legend legend(plan);
    HeldHistory history(simulation, legend);
    simulation.observe(history);
    simulation.runTo(plan.duration);
    std::map<Domain, size_t> counted, counting, members, running;
    for (const Domain &domain : account.domains()) {
      const ZoneAccount &zone = *account.zone(domain.zone);
      for (const size_t node : account.nodesIn(domain.vrf)) counted[domain] += !zone.counted(node).all().empty();
      counting[domain] = account.counting(domain).size();
    }
    std::erase_if(counted, [](const auto &each) { return each.second == 0; });
    std::erase_if(counting, [](const auto &each) { return each.second == 0; });
    for (const Lane &lane : history.lanes()) {
      members[lane.domain] = lane.members;
      for (const Pax::IpGenAddr &bsr : lane.bsrs) EXPECT_EQ(legend.nameOf(lane.domain.vrf, bsr).substr(0, 2), "r1");
    }
    for (const auto &[domain, facts] : NetworkFacts(simulation, legend).domains) running[domain] = facts.running;
    EXPECT_EQ(members, counted) << text;
    EXPECT_EQ(running, counting) << text;
  }
}

// Of 2 to 40 events, at even and at uneven distances.
TEST(TimelinePicture, LabelsOfEventsDoNotCoverOneAnother) {
  for (const size_t count : {2, 5, 12, 40}) {
    for (const double growth : {1., 1.3}) {
      std::ostringstream text;
      text
          << R"({"links": [{"between": ["a-router-of-some-length", "r2"], "name": "a-link-of-some-length"}], "events": [)";
      double time = 100, gap = 20;
      for (size_t i = 0; i < count; ++i, time += gap, gap *= growth) {
        text << (i > 0 ? ", " : "") << "{\"at\": " << time << ", \"" << (i % 2 ? "heal" : "cut")
             << "\": \"a-link-of-some-length\"}";
      }
      text << "]}";
      const Plan plan = planFrom(text.str());
      Legend legend(plan);
      const std::string picture = TimelinePicture(legend, {}, plan.duration, 1).svg();
      std::map<double, double> ends;  // by row: how far it is taken
      size_t labels = 0;
      for (const Tree &label : elementsOf(treeOf(picture), "text", "moment")) {
        const double width = Svg::widthOf(label.data(), 10);
        const bool isLeft = label.get("<xmlattr>.text-anchor", "") == "end";
        const double left = label.get<double>("<xmlattr>.x") - (isLeft ? width : 0);
        double &end = ends[label.get<double>("<xmlattr>.y")];
        EXPECT_GE(left, end) << count << " events: " << label.data();
        EXPECT_LE(left + width, 1100) << label.data();
        end = left + width;
        ++labels;
      }
      EXPECT_GE(labels, std::min<size_t>(count, 5));
      EXPECT_LE(ends.size(), 8u);
      EXPECT_EQ(elementsOf(treeOf(picture), "text", "story").size(), count);
    }
  }
}

TEST(TimelinePicture, AnAxisHasAFewRoundSteps) {
  for (const double duration : {0.05, 1., 7., 59., 61., 300., 1800., 7200., 7300., 86400., 1e6, 1e8}) {
    const double steps = duration / axisStep(duration);
    EXPECT_GT(steps, 3) << duration;
    EXPECT_LE(steps, 11) << duration;
  }
  EXPECT_EQ(axisStep(1800), 200);
  EXPECT_EQ(axisStep(36000), 3600);
}

}  // namespace
}  // namespace Planning
