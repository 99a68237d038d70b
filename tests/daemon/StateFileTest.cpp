#include "daemon/state/StateFile.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <fstream>
#include <iostream>
#include <sstream>

#include "daemon/state/SavedStatus.h"
#include "platform/tracelet/Require.h"
#include "tests/daemon/TemporaryDirectory.h"
#include "tests/support/TestVrf.h"
#include "view/EntityJson.h"

namespace Routing::Pim::Bsr {
namespace {

using ::Test::Addresses;

// A VRF that follows the BSR of the global zone and is itself that of scope 1, and a file that
// follows it.
class StateFileTest : public ::testing::TestWithParam<Addresses> {
 protected:
  StateFileTest() { restartOn(contents); }

  // The VRF's machines start anew, on this status.
  void restartOn(const StateFile::Contents &on) {
    vrf.stop();
    vrf.status = vrf.container.status = on.statusColl->vrfStatusIs("default");
    if (const auto *published = on.rpCandidateStatusColl->vrfStatus("default")) vrf.published = *published;
    on.rpCandidateStatusColl->vrfStatusIs("default", vrf.published);
    vrf.container.rpCandidateStatus = vrf.published;
    vrf.start();
  }
  void learn() {
    vrf.intfIs(1);
    hear();
    vrf.candidateIs(scope, 1, 64);
    vrf.advance(20);
    vrf.hearCrp(8, vrf.a.host(1), {{vrf.a.inScope(1, 1)}}, 150);
    vrf.advance(7);
  }
  void hear() {
    vrf.hear(::Test::Bsm(vrf.a.host(5), 70).group(vrf.a.group(1), {{vrf.a.host(20), 150, 5}, {vrf.a.host(21), 90, 7}}));
  }
  std::string text() const {
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
  }
  static bool mayBeIn(const L3::VrfName &, const std::string &networkNamespace, const std::string &device) {
    return networkNamespace.empty() && (device.empty() || device == "blue");
  }
  StateFile::Contents loaded(const std::string &boot = "this boot") {
    const StateFile::Contents result{Kiv::make<StatusColl>(), Kiv::make<RpCandidateStatusColl>()};
    StateFile({path, vrf.a.af, boot}, result, vrf.time, wheel, background).load(mayBeIn);
    return result;
  }
  static nlohmann::json savedOf(const StateFile::Contents &contents) {
    return SavedVrf(contents.statusColl->vrfStatus("default"), *contents.rpCandidateStatusColl->vrfStatus("default"))
        .copied()
        .json();
  }
  // Work that waits until it is told to go on, or to finish.
  struct Background : Orb::Background {
    void start(std::function<void()> work, std::function<void()> done) override {
      ASSERT_FALSE(waiting);
      waiting = [work = std::move(work), done = std::move(done)] {
        work();
        done();
      };
      if (!held) finish();
    }
    void finish() override {
      if (waiting) std::exchange(waiting, nullptr)();
    }
    bool held = false;
    std::function<void()> waiting;
  };

  ::Test::TemporaryDirectory directory;
  const std::string path = directory.path() + "/run/state";
  ::Test::TestVrf vrf{GetParam()};
  const Pax::IpGenPrefix scope = vrf.a.scope(1);
  const Kiv::Ptr<Orb::TimerWheel> wheel = Kiv::make<Orb::TimerWheel>(vrf.time, vrf.time);
  const Kiv::Ptr<Ip::AllVrfStatusLocal> vrfs = Kiv::make<Ip::AllVrfStatusLocal>();
  const StateFile::Contents contents{Kiv::make<StatusColl>(), Kiv::make<RpCandidateStatusColl>(), vrfs};
  Background background;
  StateFile file{{path, vrf.a.af, "this boot"}, contents, vrf.time, wheel, background};
};

TEST_P(StateFileTest, WhatWasLearnedOutlivesACrash) {
  learn();
  const auto before = SavedVrf(vrf.status, vrf.published).copied().json();
  for (const auto &[range, set] : vrf.published->crpSet()) {
    EXPECT_EQ(before.at("published").at(Kiv::toText(range)), toJson(*set).at("rp")) << "every attribute of its RPs";
  }
  vrf.stop();
  vrf.advance(60);
  const auto again = loaded();
  ASSERT_TRUE(again.statusColl->vrfStatus("default"));
  EXPECT_EQ(savedOf(again), before);

  restartOn(again);
  EXPECT_EQ(vrf.status->cbsr(scope)->state(), BsrCandidateState::eBsr);
  EXPECT_EQ(vrf.bsr(vrf.a.global())->ipAddr(), vrf.a.host(5));
  EXPECT_EQ(vrf.publishedRps(vrf.a.group(1)), (std::vector{vrf.a.host(20), vrf.a.host(21)}));
  EXPECT_EQ(vrf.publishedRps(vrf.a.inScope(1, 1)), std::vector{vrf.a.host(8)});
  vrf.advance(4);
  EXPECT_EQ(vrf.publishedRps(vrf.a.group(1)), std::vector{vrf.a.host(20)}) << "it keeps the rest of its hold time";
}

TEST_P(StateFileTest, AFileThatDoesNotFitIsIgnoredAsAWhole) {
  learn();
  const std::string good = text();
  const std::string bsr = Kiv::toText(Kiv::toValue(vrf.a.host(5)));
  struct Case {
    std::string from, to;
  };
  const Case cases[] = {
      {"this boot", "another boot"},
      {"\"PimBsr", "\"BimPsr"},
      {"\"format\": 1", "\"format\": 2"},
      {"\"format\"", "\"formats\""},
      {"\n", std::string("\0", 1)},
      {good, "\xff[[[{"},
      {good, good.substr(0, good.size() / 2)},
      {"\"" + bsr + "\"", vrf.a.ipv4() ? "\"fd00::5\"" : "\"10.0.0.5\""},
      {"\"" + bsr + "\"", "\"" + Kiv::toText(Kiv::toValue(Pax::allPimRouters(vrf.a.af))) + "\""},
      {"\"holdTime\": 150", "\"holdTime\": -1"},
      {"\"priority\": 5", "\"priority\": 65541"},
      {"\"hashMaskLen\": 30", "\"hashMaskLen\": 286"},
      {"\"holdTime\": 150", "\"holdTime\": \"150\""},
      {"\"elected\": true", "\"elected\": 1"},
      {"\"expires\": ", "\"expires\": 9"},
      {"\"expires\"", "\"expired\""},
      {"\"setupTime\": ", "\"setupTime\": 9"},
      {"\"elected\": true", "\"elected\": false"},
  };
  for (const Case &one : cases) {
    std::string bad = good;
    ASSERT_NE(bad.find(one.from), bad.npos) << one.from;
    bad.replace(bad.find(one.from), one.from.size(), one.to);
    std::ofstream(path) << bad;
    const Tracelet::CaptureSink sink(1);
    EXPECT_TRUE(loaded().statusColl->vrfStatus().empty()) << one.from << " as " << one.to;
    EXPECT_EQ(sink.count("is ignored"), 1u);
  }
  EXPECT_TRUE(loaded("").statusColl->vrfStatus().empty());
}

TEST_P(StateFileTest, WhatAVrfLearnedElsewhereIsIgnored) {
  const auto where = vrfs->vrfStatusIs("default");
  for (const char *device : {"blue", "red"}) {
    where->deviceIs(device);
    file.save();
    EXPECT_EQ(loaded().statusColl->vrfStatus().size(), device == std::string("blue") ? 1u : 0u);
  }
}

TEST_P(StateFileTest, ItIsWrittenAfterChangesAndNotAtRest) {
  learn();
  vrf.stop();
  vrf.advance(10);
  EXPECT_TRUE(vrf.time.idle());
  restartOn(contents);
  std::ofstream(path) << "touched";
  hear();
  vrf.advance(0.1);
  EXPECT_NE(text(), "touched") << "a first change is saved at once";
  std::ofstream(path) << "touched";
  hear();
  vrf.advance(4.8);
  EXPECT_EQ(text(), "touched") << "and the next ones not within five seconds";
  vrf.advance(0.2);
  EXPECT_NE(text(), "touched");
  EXPECT_FALSE(std::ifstream(path + ".new"));
}

TEST_P(StateFileTest, ChangesDuringASaveAreSavedAfterIt) {
  learn();
  background.held = true;
  hear();
  vrf.advance(5);
  ASSERT_TRUE(background.waiting);
  std::filesystem::remove(path);
  hear();
  vrf.advance(20);
  EXPECT_EQ(text(), "") << "one at a time";
  background.held = false;
  background.finish();
  const std::string before = text();
  EXPECT_NE(before, "");
  vrf.advance(0.1);
  EXPECT_NE(text(), before);

  background.held = true;
  hear();
  vrf.advance(5);
  vrf.advance(1);
  hear();
  file.save();
  EXPECT_FALSE(background.waiting);
  EXPECT_EQ(savedOf(loaded()), SavedVrf(vrf.status, vrf.published).copied().json())
      << "the last save waits for the other";
}

TEST_P(StateFileTest, SlicesMakeUpTheWholeAndSkipWhatGoesMeanwhile) {
  learn();
  for (uint32_t n = 2; n < 9; ++n) {
    vrf.hear(::Test::Bsm(vrf.a.host(5), 70).group(vrf.a.group(n), {{vrf.a.host(n), 150, 5}, {vrf.a.host(30), 150}}));
  }
  const auto whole = SavedVrf(vrf.status, vrf.published).copied().json();
  SavedVrf slices(vrf.status, vrf.published), disturbed(vrf.status, vrf.published);
  size_t count = 1;
  while (!slices.take(3)) ++count;
  EXPECT_GE(count, 9u) << "nearly each range alone";
  EXPECT_EQ(slices.copied().json(), whole);
  disturbed.take(1);
  vrf.stop();
  vrf.status->crpStatusDelAll();
  vrf.status->bootstrapRouterDelAll();
  vrf.status->cbsrDelAll();
  vrf.published->crpSetDelAll();
  EXPECT_EQ(disturbed.copied().json().at("published"), nlohmann::json::object());
}

TEST_P(StateFileTest, AFileThatCannotBeWrittenIsTracedOnceUntilItCan) {
  std::ofstream(directory.path() + "/run") << "no directory";
  const Tracelet::CaptureSink sink(1);
  std::vector<bool> told;
  file.watcherIs([&](const std::string &error) { told.push_back(error.empty()); });
  learn();
  hear();
  file.save();
  EXPECT_EQ(sink.count("cannot be saved in " + path), 1u);
  std::filesystem::remove(directory.path() + "/run");
  std::filesystem::create_directory(directory.path() + "/run");
  ::mkfifo(path.c_str(), 0600);
  file.save();
  EXPECT_TRUE(loaded().statusColl->vrfStatus().empty());
  EXPECT_TRUE(std::filesystem::is_fifo(path)) << "nothing but a file is replaced";
  std::filesystem::remove(path);
  std::filesystem::create_symlink("elsewhere", path);
  file.save();
  EXPECT_TRUE(loaded().statusColl->vrfStatus().empty());
  EXPECT_TRUE(std::filesystem::is_symlink(path)) << "nor is a link, or what it leads to";
  std::filesystem::remove(path);
  const std::string fresh = path + ".new";
  std::filesystem::create_directory(fresh);
  file.save();
  std::filesystem::remove(fresh);
  EXPECT_TRUE(std::filesystem::is_empty(directory.path() + "/run"));
  const auto handler = std::signal(SIGXFSZ, SIG_IGN);
  rlimit limit{};
  ::getrlimit(RLIMIT_FSIZE, &limit);
  const rlimit full{100, limit.rlim_max};
  ::setrlimit(RLIMIT_FSIZE, &full);
  file.save();
  ::setrlimit(RLIMIT_FSIZE, &limit);
  std::signal(SIGXFSZ, handler);
  EXPECT_TRUE(std::filesystem::is_empty(directory.path() + "/run")) << "nor is half a file left";
  std::ofstream(fresh) << "what a killed agent has left";
  std::filesystem::permissions(fresh, std::filesystem::perms::all);
  file.save();
  EXPECT_FALSE(loaded().statusColl->vrfStatus().empty());
  EXPECT_EQ(std::filesystem::status(path).permissions(), std::filesystem::perms(0640));
  EXPECT_FALSE(std::filesystem::exists(fresh));
  EXPECT_EQ(told, (std::vector<bool>{false, true})) << "once, until it can";
}

// The last save of a process whose assertion fails, even if another one fails in there.
TEST_P(StateFileTest, AFailedAssertionSavesOnTheWayOut) {
  learn();
  const auto before = SavedVrf(vrf.status, vrf.published).copied().json();
  std::filesystem::remove(path);
  const auto end = [this](bool never) {
    hear();
    Tracelet::beforeAbortIs([&](const std::string &text) {
      std::cerr << text << std::endl;
      file.save();
      REQUIRE(never);
    });
    REQUIRE_AS(never, "first");
  };
  EXPECT_DEATH(end(false), "Assertion failed: first(.|\n)*Assertion failed: never");
  const auto again = loaded();
  ASSERT_TRUE(again.statusColl->vrfStatus("default"));
  EXPECT_EQ(savedOf(again).at("crpStatus").size(), before.at("crpStatus").size());
}

FOR_BOTH_FAMILIES(StateFileTest);

}  // namespace
}  // namespace Routing::Pim::Bsr
