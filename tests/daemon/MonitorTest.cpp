#include <gtest/gtest.h>

#include <optional>

#include "ctl/Mirror.h"
#include "ctl/Stream.h"
#include "daemon/ControlServer.h"
#include "tests/daemon/TemporaryDirectory.h"

namespace Control {
namespace {

using Routing::Pim::Bsr::ControlServer;
using Texts = std::vector<std::string>;

TEST(Mirror, IsWhatTheStreamTellsAndPrintsIt) {
  Mirror mirror;
  struct Case {
    const char *line;
    const char *text;
    const char *rows;
  };
  const Case cases[] = {
      {R"({"protocol":1,"subscribed":["rp-set"]})", "", "[]"},
      {R"({"seq":1,"noun":"rp-set","key":["rp"],"snapshot":[{"rp":"b","priority":1,"upTime":3},{"rp":"a","priority":2}]})",
       "rp-set is rp=b priority=1\nrp-set is rp=a priority=2\n",
       R"([{"rp":"a","priority":2},{"rp":"b","priority":1}])"},
      {R"({"seq":2,"noun":"rp-set","change":"changed","row":{"rp":"a","priority":null,"upTime":4}})",
       "rp-set changed rp=a priority=2->none\n", R"([{"rp":"a","priority":null},{"rp":"b","priority":1}])"},
      {R"({"seq":3,"noun":"rp-set","change":"added","row":{"rp":"c","groups":["x"]}})",
       "rp-set added rp=c groups=[\"x\"]\n",
       R"([{"rp":"a","priority":null},{"rp":"b","priority":1},{"rp":"c","groups":["x"]}])"},
      {R"({"seq":4,"noun":"rp-set","change":"removed","row":{"rp":"b","priority":1}})",
       "rp-set removed rp=b priority=1\n", R"([{"rp":"a","priority":null},{"rp":"c","groups":["x"]}])"},
      {R"({"heartbeat":4})", "", R"([{"rp":"a","priority":null},{"rp":"c","groups":["x"]}])"},
      {R"({"seq":5,"noun":"rp-set","key":["rp"],"snapshot":[]})", "", "[]"},
  };
  for (const Case &one : cases) {
    const Rows line = Rows::parse(one.line);
    EXPECT_EQ(textOf(line, mirror), one.text);
    mirror.apply(line);
    EXPECT_EQ(mirror.rows().dump(), one.rows) << one.line;
  }
  EXPECT_EQ(textOf(Rows::parse(R"({"seq":9,"noun":"events","change":"added",
                                   "row":{"seq":3,"time":"T","severity":"notice","text":"all is well"}})"),
                   mirror),
            "T notice all is well\n");
}

// Streams of servers that come and go, on the loop of the test.
class ClientStreamTest : public ::testing::Test {
 protected:
  void serve(const std::string &lines) {
    server.emplace(context, path, [this, lines](std::string_view request) {
      requests.emplace_back(request);
      return [lines, begun = false](const Send &send) mutable {
        if (!std::exchange(begun, true)) send(lines);
      };
    });
  }
  template <class Predicate>
  void runUntil(Predicate holds) {
    while (!holds()) {
      ASSERT_GT(context.run_one_for(std::chrono::seconds(120)), 0u);
    }
  }

  ::Test::TemporaryDirectory directory;
  const std::string path = directory.path() + "/s";
  boost::asio::io_context context;
  std::optional<ControlServer> server;
  Texts requests, lines, notices;
  const Stream::Listener listener{[this](const std::string &text, const Rows &) { lines.push_back(text); },
                                  [this](const std::string &text) { notices.push_back(text); }};
};

TEST_F(ClientStreamTest, AStreamOutlivesItsAgentAndSaysSo) {
  const std::string greeting = R"({"protocol":1})";
  const Stream stream(context, {path, "PimBsr"}, {"subscribe", "bsr", "blue", ""}, listener);
  runUntil([&] { return notices.size() == 1; });
  EXPECT_EQ(notices[0],
            "PimBsr is not running: nothing listens on " + path + " (No such file or directory); waiting for it");
  serve(greeting + "\n{\"heartbeat\":0}\n");
  runUntil([&] { return lines.size() == 2; });
  EXPECT_EQ(requests, Texts{R"({"verb":"subscribe","noun":"bsr","vrf":"blue"})"});
  server.reset();
  runUntil([&] { return notices.size() == 3; });
  serve(R"({"error":"there is no VRF 'blue'"})"
        "\n");  // not yet
  runUntil([&] { return lines.size() == 3; });
  server.reset();
  serve(greeting + "\n");
  runUntil([&] { return lines.size() == 4; });
  EXPECT_EQ(notices, (Texts{notices[0], "PimBsr is back", "PimBsr is gone; waiting for it", "PimBsr is back"}));
}

TEST_F(ClientStreamTest, AnAgentThatIsStartedAgainIsAskedForAllItsEvents) {
  serve("{\"protocol\":1,\"started\":\"A\"}\n");
  const Stream stream(context, {path, "PimBsr"}, {"subscribe", "events", "", "", "17"}, listener);
  for (const char *started : {"A", "B"}) {
    runUntil([&] { return !lines.empty(); });
    server.reset();
    lines.clear();
    serve(std::string("{\"protocol\":1,\"started\":\"").append(started).append("\"}\n"));
  }
  runUntil([&] { return !lines.empty(); });
  const std::string since = R"({"verb":"subscribe","noun":"events","since":"17"})";
  EXPECT_EQ(requests, (Texts{since, since, since, R"({"verb":"subscribe","noun":"events"})"}));
  EXPECT_EQ(lines, Texts{R"({"protocol":1,"started":"B"})"});
}

TEST_F(ClientStreamTest, WhatARestartCannotMendEndsIt) {
  for (const auto &[line, error] : {
           std::pair{R"({"error":"there is no VRF 'red'"})", "there is no VRF 'red'"},
           std::pair{R"({"error":"there is no kind 'x'","badRequest":true})", "there is no kind 'x' (bad request)"},
           std::pair{R"({"protocol":2})", "PimBsr speaks version 2 of the protocol, and not 1"},
           std::pair{R"({"rows":[]})", "PimBsr speaks version null of the protocol, and not 1"},
       }) {
    serve(std::string(line) + "\n");
    const Stream stream(context, {path, "PimBsr"}, {"subscribe", "bsr", "", ""}, listener);
    try {
      runUntil([] { return false; });
      ADD_FAILURE() << line;
    } catch (const AgentError &refused) {
      EXPECT_EQ(refused.what() + std::string(refused.kind == ErrorKind::badRequest ? " (bad request)" : ""), error);
    } catch (const std::runtime_error &refused) {
      EXPECT_EQ(std::string(refused.what()), error);
    }
    server.reset();
  }
}

}  // namespace
}  // namespace Control
