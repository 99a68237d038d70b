#include "daemon/Daemon.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <csignal>
#include <fstream>
#include <nlohmann/json.hpp>
#include <optional>
#include <regex>
#include <thread>

#include "ctl/Client.h"
#include "daemon/control/Nouns.h"
#include "daemon/file/ConfigFile.h"
#include "platform/linux/EventLoop.h"
#include "tests/daemon/TemporaryDirectory.h"

namespace Routing::Pim::Bsr {
namespace {

using Control::Rows;

using Names = std::vector<std::string>;

// A daemon whose VRFs wait for namespaces that never come, so that it needs no privilege.
class DaemonTest : public ::testing::Test {
 protected:
  DaemonTest() {
    options.config = directory.path() + "/c.json", options.socket = directory.path() + "/s";
    options.state = directory.path() + "/state";
  }

  void write(const std::string &text) { std::ofstream(options.config) << text; }
  void start() {
    const auto loaded = configurationFromFile(options.config, Pax::AddressFamily::ipv4);
    ASSERT_TRUE(loaded.good());
    daemon.emplace(Pax::AddressFamily::ipv4, options, loaded.configuration);
  }
  // Asks over the socket while the daemon's loop turns here. An error is a text; "bad: " leads one of a bad request.
  Rows ask(const Control::Request &request) {
    Rows answer;
    std::atomic<bool> done = false;
    std::thread client([&] {
      try {
        answer = Control::ask(options.socket, "the agent", request);
      } catch (const Control::AgentError &error) {
        answer = (error.kind == Control::ErrorKind::badRequest ? "bad: " : "") + std::string(error.what());
      }
      done = true;
      boost::asio::post(daemon->loop().context(), [] {});
    });
    while (!done) daemon->loop().turn();
    client.join();
    return answer;
  }
  std::string replyTo(const std::string &request) {
    std::string line;
    const Control::Reply reply = daemon->reply(request);
    for (bool more = true; more;) {
      reply([&](const std::string &piece) { more = !piece.empty(), line += piece; });
    }
    return line;
  }
  std::string told() {
    std::string kinds;
    for (const Rows &row : ask({"show", "events", "", ""})) {
      kinds += (kinds.empty() ? "" : " ") + row["kind"].get<std::string>();
    }
    return kinds;
  }
  std::vector<std::string> vrfs() {
    std::vector<std::string> names;
    for (const Rows &row : ask({"show", "bsr", "", ""})) names.push_back(row["vrf"]);
    return names;
  }

  ::Test::TemporaryDirectory directory;
  Options options;
  std::optional<Daemon> daemon;
};

TEST_F(DaemonTest, AReloadAppliesTheDifferenceAndABadFileChangesNothing) {
  write(R"({"pim": {"no-such-ns-a": {}, "no-such-ns-b": {}}})");
  start();
  const auto config = daemon->configColl().vrfConfig("no-such-ns-a");

  write(R"({"pim": {"no-such-ns-a": {"interfaces": ["eth0"]}, "no-such-ns-c": {}},
            "vrfConfig": {"no-such-ns-a": {"holdTime": 60, "szTimeout": 7}}})");
  EXPECT_EQ(ask({"check", "", "", ""})[0]["line"].get<std::string>().find("warning: " + options.config +
                                                                          ":/vrfConfig/no-such-ns-a/szTimeout: "),
            0u);
  EXPECT_EQ(vrfs(), (Names{"no-such-ns-a", "no-such-ns-b"})) << "nothing is loaded";
  EXPECT_EQ(ask({"reload", "", "", ""}), Rows::array());
  EXPECT_EQ(vrfs(), (Names{"no-such-ns-a", "no-such-ns-c"}));
  EXPECT_EQ(config->holdTime(), 60u);
  EXPECT_EQ(daemon->configuration().pim.at("no-such-ns-a").interfaces.size(), 1u);

  write(R"({"pim": {"no-such-ns-a": {"device": "no-such-dev"}, "no-such-ns-c": {}},
            "vrfConfig": {"no-such-ns-a": {"holdTime": 60}}})");
  EXPECT_EQ(ask({"reload", "", "", ""}), Rows::array());
  EXPECT_EQ(daemon->configColl().vrfConfig("no-such-ns-a")->holdTime(), 60u);
  EXPECT_NE(daemon->configColl().vrfConfig("no-such-ns-a"), config) << "elsewhere, nothing of it stays";

  write(R"({"pim": {"no-such-ns-d": {"hello": 1}}, "vrfConfig": {}})");
  for (const char *verb : {"check", "reload"}) {
    EXPECT_EQ(ask({verb, "", "", ""}),
              options.config + ":/pim/no-such-ns-d/hello: must be speak or listen, not 1 (line 1, column 27)");
  }
  EXPECT_EQ(vrfs(), (Names{"no-such-ns-a", "no-such-ns-c"}));

  write(R"({"pim": {}})");
  ::raise(SIGHUP);
  while (!daemon->configuration().pim.empty()) daemon->loop().turn();
  EXPECT_EQ(daemon->configColl().vrfConfig().size(), 0u);
  ::raise(SIGTERM);
  daemon->run();
}

TEST_F(DaemonTest, AReloadThatIsAskedForDuringAnotherOneHasTheNewestFile) {
  write("{}");
  start();
  Rows file{{"pim", {{"no-such-ns-a", {{"interfaces", {"eth0"}}}}}}};
  Rows &zones = file["vrfConfig"]["no-such-ns-a"]["bsrCandidateConfig"]["eth0"]["group"];
  for (int i = 0; i < 1000; ++i) {
    zones["239." + std::to_string(i / 256) + "." + std::to_string(i % 256) + ".0/24"] = Rows::object();
  }
  write(file.dump());
  int done = 0;
  std::vector<std::string> lines(3);
  const auto ask = [&](std::string &line) {
    daemon->reply(R"({"verb": "reload"})")([&](const std::string &piece) { line = piece, ++done; });
  };
  const auto turnUntil = [&](const auto &holds) {
    while (!holds()) daemon->loop().turn();
  };
  const auto zoneCount = [&] {
    const auto config = daemon->configColl().vrfConfig("no-such-ns-a");
    const auto candidate = config ? config->bsrCandidateConfig({"no-such-ns-a", "eth0"}) : nullptr;
    return candidate ? candidate->group().size() : 0;
  };
  ask(lines[0]);
  turnUntil([&] { return zoneCount() > 0; });
  EXPECT_LT(zoneCount(), 1000u);
  EXPECT_TRUE(daemon->configuration().pim.empty()) << "what is in force is the file before";
  write(R"({"pim": {"no-such-ns-b": {}}})");
  ask(lines[1]);
  ask(lines[2]);
  turnUntil([&] { return done > 0; });
  EXPECT_EQ(zoneCount(), 1000u);
  turnUntil([&] { return done == 3; });
  EXPECT_EQ(lines, std::vector<std::string>(3, R"({"rows":[]})"));
  EXPECT_EQ(vrfs(), Names{"no-such-ns-b"});
}

TEST_F(DaemonTest, ServesItsMetricsWhereTheConfigurationSays) {
  namespace ip = boost::asio::ip;
  const auto freePort = [] {
    boost::asio::io_context context;
    return ip::tcp::acceptor(context, {ip::make_address("127.0.77.1"), 0}).local_endpoint().port();
  };
  const auto get = [&](uint16_t port) {
    std::stringstream answer;
    std::atomic<bool> done = false;
    std::thread client([&] {
      ip::tcp::iostream stream(ip::tcp::endpoint(ip::make_address("127.0.77.1"), port));
      stream << "GET /metrics HTTP/1.0\r\n\r\n" << std::flush;
      answer << stream.rdbuf();
      done = true;
      boost::asio::post(daemon->loop().context(), [] {});
    });
    while (!done) daemon->loop().turn();
    client.join();
    return answer.str();
  };
  const auto listen = [&](const std::string &port) {
    write(R"({"pim": {"no-such-ns-a": {}}, "metrics": {"listen": "127.0.77.1:)" + port + "\"}}");
  };
  const uint16_t first = freePort();
  listen(std::to_string(first));
  start();
  EXPECT_NE(get(first).find("pimbsr_vrf_running{vrf=\"no-such-ns-a\"} 0\n"), std::string::npos);
  listen("0");
  ask({"reload", "", "", ""});
  EXPECT_NE(get(first).find("pimbsr_reload_failed 1\n"), std::string::npos);
  const uint16_t second = freePort();
  listen(std::to_string(second));
  EXPECT_EQ(ask({"reload", "", "", ""}), Rows::array());
  EXPECT_EQ(get(first), "");
  const std::string answer = get(second);
  const Rows rows = ask({"show", "metrics", "", ""});
  EXPECT_EQ(rows.front()["line"], "# TYPE pimbsr_build info");
  EXPECT_EQ(rows.back()["line"], "# EOF");
  EXPECT_EQ(static_cast<size_t>(std::count(answer.begin(), answer.end(), '\n')), rows.size() + 3) << answer;
  boost::asio::io_context context;
  const ip::tcp::acceptor taken(context, {ip::make_address("127.0.77.1"), 0});
  const std::string port = std::to_string(taken.local_endpoint().port());
  listen(port);
  EXPECT_EQ(ask({"reload", "", "", ""}), Rows::array());
  EXPECT_EQ(ask({"show", "summary", "", ""})[1]["text"],
            "metrics cannot be served on 127.0.77.1:" + port + ": Address already in use");
  write(R"({"oops": 1, "alas": 2})");
  ask({"reload", "", "", ""});
  const Rows refused = ask({"show", "summary", "", ""})[0];
  EXPECT_EQ(refused["state"], "problem");
  EXPECT_TRUE(std::regex_match(refused["text"].get<std::string>(),
                               std::regex("the last reload was refused: .+ and 1 more; see 'pimbsrctl check'")))
      << refused;
  write("{}");
  EXPECT_EQ(ask({"reload", "", "", ""}), Rows::array());
  EXPECT_EQ(get(second), "");
  EXPECT_EQ(ask({"show", "summary", "", ""}).back()["state"], "ok");
}

TEST_F(DaemonTest, ASecondAgentOfOneStateFileOrSocketIsRefused) {
  write("{}");
  start();
  const auto refusal = [](const Options &second) -> std::string {
    try {
      Daemon(Pax::AddressFamily::ipv4, second, {});
      return "none";
    } catch (const std::runtime_error &error) {
      return error.what();
    }
  };
  Options state = options, socket = options;
  state.socket += "2", socket.state += "2";
  EXPECT_EQ(refusal(state), options.state + " is in use by another agent");
  EXPECT_EQ(refusal(socket), options.socket + " is in use by another agent");
  daemon.reset();
  EXPECT_EQ(refusal(options), "none") << "the lock files are still there";
}

TEST_F(DaemonTest, TellsOfItselfAndOfEveryVrfAndTakesItsRoleAndStages) {
  write(R"({"pim": {"no-such-ns-a": {"namespace": "no-such-ns-a", "interfaces": ["e1"]},
                     "no-such-ns-b": {"namespace": "no-such-ns-b"}},
            "vrfConfig": {"no-such-ns-b": {"bsrCandidateConfig": {"e1": {"group": {"239.2.0.0/16": {}}}}}},
            "intfConfig": {"no-such-ns-a/e9": {"bsrBorderGrp": ["239.3.0.0/16"]}}})");
  start();
  const std::string good = replyTo(R"({"verb": "show", "noun": "agent"})");
  write("{");
  ask({"reload", "", "", ""});
  const std::string state = "routing/pim/bsr/config";
  struct Case {
    Control::Request request;
    std::string answer;  ///< as it begins
  };
  const Case cases[] = {
      {{"show", "vrf", "no-such-ns-b", ""},
       R"([{"vrf":"no-such-ns-b","namespace":"no-such-ns-b","device":"","state":"known","reason":"namespace no-such-ns-b"}])"},
      {{"show", "vrf", "red", ""}, "\"there is no VRF 'red'; known: no-such-ns-a, no-such-ns-b\""},
      {{"show", "bsr", "red", ""}, "\"there is no VRF 'red'; known: no-such-ns-a, no-such-ns-b\""},
      {{"show", "weather", "", ""}, "\"bad: there is no noun 'weather'\""},
      {{"show", "state", "", "[[[[[[[[[[[[[[[[[[[[\"[["}, "\"there is no state under '[[[[[[[[[[[[[[[[[[[[\\\"[['\""},
      {{"dance", "", "", ""}, "\"bad: there is no verb 'dance'\""},
      {{"hello", "", "", ""}, R"([{"protocol":1,"agent":"PimBsr","version":")"},
      {{"watch", "bsr", "", ""}, "\"bad: 'watch' is for pimbsrctl; see 'subscribe'\""},
      {{"subscribe", "bsr", "red", ""}, "\"there is no VRF 'red'; known: no-such-ns-a, no-such-ns-b\""},
      {{"", "bsr", "", ""}, "\"bad: a request needs a verb\""},
      {{"show", "config", "", ""}, R"([{"pim":{"no-such-ns-a":{"namespace":"no-such-ns-a",)"},
      {{"show", "events", "", "", "0", "", "notice", "agentStarted"}, R"([{"seq":2,"time":"20)"},
      {{"show", "summary", "", ""},
       R"([{"vrf":null,"subject":"agent","state":"problem","text":"the last reload was refused: )"},
      {{"show", "bsr", "", "", "", "239.2.0.0/16"}, "[]"},
      {{"show", "bsr", "", "", "", "239.1.0.0/16"},
       "\"there is no zone '239.1.0.0/16'; known: 224.0.0.0/4, 239.2.0.0/16\""},
      {{"show", "rp-set", "no-such-ns-a", "", "", "239.2.0.0/16"},
       "\"there is no zone '239.2.0.0/16'; known: 224.0.0.0/4\""},
      {{"show", "events", "", "", "", "239.1.0.0/16"}, "\"there is no zone '239.1.0.0/16'; known: 224.0.0.0/4, "},
      {{"show", "events", "red", ""}, "\"there is no VRF 'red'; known: "},
      {{"show", "interfaces", "", "no-such-ns-a/e9"}, R"([{"vrf":"no-such-ns-a","interface":"no-such-ns-a/e9",)"},
      {{"show", "neighbors", "", "no-such-ns-a/e1"}, "[]"},
      {{"show", "neighbors", "no-such-ns-b", "no-such-ns-a/e1"},
       "\"there is no interface 'no-such-ns-a/e1'; there is none\""},
      {{"show", "interfaces", "", "e1"}, "\"there is no interface 'e1'; known: no-such-ns-a/e1, no-such-ns-a/e9\""},
      {{"show", "bsr", "", "", "", "10.0.0.0/8"}, "\"bad: '10.0.0.0/8' is not a zone, as 224.0.0.0/4 is"},
      {{"show", "acl", "", "", "", "224.0.0.0/4"}, "\"bad: the rows of 'acl' have no zone\""},
      {{"explain", "weather", "", ""}, "\"bad: there is no noun 'weather'\""},
      {{"explain", "rp", "", "225.1.1.1"}, "\"bad: '225.1.1.1' is not the address of an RP\""},
      {{"explain", "bsr", "", "224.0.0.0/4"}, R"([{"vrf":"no-such-ns-a","zone":"224.0.0.0/4","about":"bsr",)"},
      {{"show", "events", "", "", "soon"}, "\"bad: 'soon' is no time, as in 2024-05-01T12:34:56Z\""},
      {{"show", "agent", "", "", "0"}, "\"bad: since, severity and kind are for 'events'\""},
      {{"show", "rp", "", ""}, "\"bad: 'rp' needs 'GROUP'\""},
      {{"explain", "group", "", ""}, "\"bad: 'group' needs 'GROUP'\""},
      {{"show", "rp", "", "10.0.0.1"},
       "\"bad: '10.0.0.1' is not a group of 224.0.0.0/4; see 'show rp-set 10.0.0.1' or 'explain rp 10.0.0.1'\""},
      {{"explain", "group", "", "ff0e::1"}, "\"bad: 'ff0e::1' is not a group of 224.0.0.0/4\""},
      {{"show", "drops", "", ""}, "[]"},
      {{"show", "drops", "red", ""}, "\"there is no VRF 'red'; known: no-such-ns-a, no-such-ns-b\""},
      {{"show", "agent", "", "now"}, "\"bad: 'agent' takes no argument\""},
      {{"show", "state", "", ""}, R"([{"path":"acl/config/cli","type":"Config"},)"},
      {{"show", "state", "", state + "/vrfConfig/no-such-ns-a/holdTime"}, "[130]"},
      {{"show", "state", "", state + "s"}, "\"there is no state under 'routing/pim/bsr/configs'\""},
      {{"redundancy", "", "", "standby"}, R"([{"redundancy":"standby"}])"},
      {{"show", "vrf", "no-such-ns-a", ""},
       R"([{"vrf":"no-such-ns-a","namespace":"no-such-ns-a","device":"","state":"unknown","reason":"namespace)"},
      {{"redundancy", "", "", "sleeping"}, "\"bad: 'redundancy' needs 'active|standby'\""},
      {{"show", "state", "", "redundancy/status"}, R"([{"mode":"standby","protocol":"hotStandby"}])"},
      {{"redundancy", "", "", "active"}, R"([{"redundancy":"active"}])"},
      {{"stage", "", "", "boot NetworkAgent"}, R"([{"kind":"boot","stage":"NetworkAgent","complete":true}])"},
      {{"clear", "", "no-such-ns-b", "counters"}, "[]"},
      {{"clear", "", "", "counters"}, "[]"},
      {{"show", "state", "", "routing/pim/bsr/clear/vrfClearConfig/no-such-ns-a/countersCount"}, "[1]"},
      {{"show", "state", "", "routing/pim/bsr/clear/vrfClearConfig/no-such-ns-b/countersCount"}, "[2]"},
      {{"clear", "", "red", "counters"}, "\"there is no VRF 'red'; known: no-such-ns-a, no-such-ns-b\""},
      {{"clear", "", "", "rps"}, "\"bad: 'clear' needs 'counters'\""},
      {{"reload", "", "", "now"}, "\"bad: 'reload' takes no argument\""},
      {{"stage", "", "", "boot Weather"}, "\"bad: there is no boot stage 'Weather'; the stages are: NetworkAgent\""},
      {{"show", "state", "", "stageInput/boot/PimBsr/stage"}, R"([["NetworkAgent"]])"},
      {{"stage", "", "", "shutdown NetworkAgent"}, "\"bad: there is no shutdown stage 'NetworkAgent'; the stages are:"},
      {{"trace", "", "", "Weather=1"}, "\"bad: there is no trace module 'Weather'; the modules are: "},
      {{"trace", "", "", "*=10"}, "\"bad: '*=10' is not MODULE=LEVEL with a level from 0 to 9\""},
      {{"stage", "", "", "shutdown"}, "\"bad: 'stage' needs 'boot|shutdown STAGE'\""},
      {{"stage", "", "", "reboot NetworkAgent"}, "\"bad: 'stage' needs 'boot|shutdown STAGE'\""},
      {{"stage", "", "", "shutdown NetworkAgentShutdown"}, R"([{"kind":"shutdown",)"},
      {{"stage", "", "", "shutdown NetworkAgentShutdown"},
       R"([{"kind":"shutdown","stage":"NetworkAgentShutdown","complete":true}])"},
  };
  const std::string deep(60000, '[');
  for (const std::string &bad : Names{"7", R"({"verb": 1})", R"({"verbs": "show"})", "\xff{\"verb\"",
                                      "{\"verb\": \"\xc3\x28\"}", deep.c_str(), ""}) {
    EXPECT_TRUE(replyTo(bad).starts_with(R"({"error":")")) << bad;
  }
  for (const Case &one : cases) {
    EXPECT_EQ(ask(one.request).dump().substr(0, one.answer.size()), one.answer) << Control::toLine(one.request);
  }
  EXPECT_EQ(
      told(),
      "configurationLoaded agentStarted configurationRefused roleChanged roleChanged stageComplete stageComplete");
  for (const char *noun : {"agent", "vrf", "state"}) {
    Names names, columns;
    const Rows rows = ask({"show", noun, "", ""});
    for (const auto &member : rows[0].items()) names.push_back(member.key());
    for (const Control::Column &column : Control::nounOf(noun)->columns) columns.emplace_back(column.name);
    EXPECT_EQ(names, columns);
  }
  const std::string started = ask({"hello", "", "", ""})[0]["started"];
  EXPECT_EQ(ask({"show", "events", "", "", started, "", "", "agentStarted"}).size(), 1u) << started;
  const Rows agent = ask({"show", "agent", "", ""})[0];
  EXPECT_EQ(agent["redundancy"], "active");
  EXPECT_EQ(agent["shutdown"], true);
  EXPECT_EQ(agent["pendingVrfs"], Rows::array());
  EXPECT_EQ(agent["lastError"].get<std::string>().find(options.config + ":1:"), 0u) << agent;
  EXPECT_NE(good.find(R"("shutdown":false)"), good.npos);
  EXPECT_NE(good.find(R"("lastError":null)"), good.npos);
}

TEST_F(DaemonTest, ManyEventsAreShownInOrderAndEachOnce) {
  write("{}");
  start();
  for (int i = 0; i < 225; ++i) {
    for (const char *role : {"standby", "active"}) ask({"redundancy", "", "", role});
  }
  const Rows rows = ask({"show", "events", "", "", "", "", "", "roleChanged"});
  ASSERT_EQ(rows.size(), 450u);
  for (size_t i = 1; i < rows.size(); ++i) EXPECT_EQ(rows[i]["seq"], rows[i - 1]["seq"].get<uint64_t>() + 1);
}

}  // namespace
}  // namespace Routing::Pim::Bsr
