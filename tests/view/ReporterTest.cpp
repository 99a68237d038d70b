// Stories of small networks, as their routers tell them.
#include <gtest/gtest.h>

#include "tests/view/Told.h"

namespace Test {
namespace {

using Bsr::EventKind;
using Bsr::Severity;

// r1 and r3 are candidate BSRs, r3 the better one; r2, between them, is a candidate RP.
class Reporters : public testing::TestWithParam<Addresses> {
 protected:
  Reporters() : story(GetParam()), global(story.addresses.global()) {
    for (const char *name : {"r1", "r2", "r3"}) story.network.router(name);
    story.chain({"r1", "r2", "r3"}, {1500});
    for (const char *name : {"r1", "r2", "r3"}) told[name] = std::make_unique<Told>(story.host(name));
    host("r1").candidateBsrIs(global, 10);
    host("r3").candidateBsrIs(global, 20);
    host("r2").candidateRpIs(story.addresses.group(1));
  }
  ~Reporters() override { told.clear(); }
  Sim::Host &host(const std::string &name) { return story.host(name); }
  void start() {
    story.start({"r1", "r2", "r3"});
    story.time().runFor(600);
    for (auto &[name, each] : told) each->story();
  }

  Story story;
  const Pax::IpGenPrefix global;
  std::map<std::string, std::unique_ptr<Told>> told;
};

TEST_P(Reporters, ARestIsQuietAndADeadBsrIsToldByAll) {
  start();
  story.time().runFor(3600);
  for (auto &[name, each] : told) EXPECT_EQ(each->story(Severity::debug), "") << name;
  host("r3").powerOff();
  story.time().runFor(300);
  EXPECT_EQ(told["r1"]->story(), "bsrTimedOut bsrElected");
  EXPECT_EQ(told["r2"]->story(), "neighborLeft drChanged bsrTimedOut bsrLearned");
  EXPECT_EQ(told["r3"]->story(), "");
  host("r3").powerOn();
  host("r3").start();
  story.time().runFor(300);
  EXPECT_EQ(told["r1"]->story(), "bsrTakenOver rpDropped rpAdded");
  EXPECT_EQ(told["r2"]->story(), "neighborCame drChanged bsrReplaced rpDropped rpAdded");
  EXPECT_EQ(told["r3"]->story(), "vrfRuns neighborCame bsrElected rpAdded");
}

FOR_BOTH_FAMILIES(Reporters);

}  // namespace
}  // namespace Test
