#include "daemon/ServiceManager.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <fstream>

#include "daemon/Daemon.h"
#include "daemon/ServiceStatus.h"
#include "daemon/file/ConfigFile.h"
#include "platform/linux/Descriptor.h"
#include "platform/linux/EventLoop.h"
#include "tests/daemon/Box.h"
#include "tests/daemon/TemporaryDirectory.h"
#include "tests/support/ManualClock.h"

namespace Routing::Pim::Bsr {
namespace {

using Texts = std::vector<std::string>;

// What systemd is told, in the environment that it gives a service.
class Manager : public ::testing::Test {
 protected:
  Manager() {
    sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
    const std::string path = directory.path() + "/notify";
    path.copy(address.sun_path, path.size());
    EXPECT_EQ(::bind(socket.number(), reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
    ::setenv("NOTIFY_SOCKET", path.c_str(), 1);
  }
  ~Manager() override {
    for (const char *variable : {"NOTIFY_SOCKET", "WATCHDOG_USEC"}) ::unsetenv(variable);
  }

  // Since it was asked last; times are left out.
  Texts told() {
    Texts texts;
    char text[4096];
    for (ssize_t size; (size = ::recv(socket.number(), text, sizeof text, 0)) >= 0;) {
      texts.emplace_back(text, static_cast<size_t>(size));
      if (const size_t number = texts.back().find("_USEC="); number != std::string::npos) {
        EXPECT_NE(std::stoull(texts.back().substr(number + 6)), 0u);
        texts.back().resize(number + 6);
      }
    }
    return texts;
  }

  ::Test::TemporaryDirectory directory;
  const Linux::Descriptor socket{::socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0)};
};

TEST_F(Manager, IsFedByTheLoopAndToldAStatusWhereItChanges) {
  ::setenv("WATCHDOG_USEC", "30000000", 1);
  ::Test::ManualTime time;
  const auto wheel = Kiv::make<Orb::TimerWheel>(time, time);
  EventLog events{[] { return 0.0; }};
  std::string status = "BSR\nREADY=1";
  ServiceManager manager(wheel, events, [&] { return status; });
  const auto eventAt = [&](double at) {
    time.advanceTo(at);
    events.tell({});
  };
  eventAt(1000);
  manager.started();
  eventAt(1000.5);
  EXPECT_EQ(told(), (Texts{"READY=1", "WATCHDOG=1"}));
  time.advanceTo(1001);
  EXPECT_EQ(told(), Texts{"STATUS=BSR?READY=1"}) << "one for both events";
  eventAt(1002);
  time.advanceTo(1004);
  EXPECT_EQ(told(), Texts{}) << "it is the same";
  status.assign(1000, 'x');
  eventAt(1005);
  time.advanceTo(1014);
  EXPECT_EQ(told(), Texts{"STATUS=" + std::string(ServiceManager::longestStatus - 3, 'x') + "..."});
  time.advanceTo(1045);
  EXPECT_EQ(told(), (Texts{"WATCHDOG=1", "WATCHDOG=1", "WATCHDOG=1"}));
  ::unsetenv("NOTIFY_SOCKET");
  ServiceManager nobodys(wheel, events, [] { return std::string("never asked"); });
  eventAt(1046);
  time.advanceTo(1059);
  EXPECT_EQ(told(), Texts{});
}

TEST_F(Manager, IsToldWhenTheDaemonIsReadyReloadsAndStops) {
  Options options;
  options.config = directory.path() + "/c.json", options.socket = directory.path() + "/s";
  options.state = directory.path() + "/state";
  const auto write = [&](const std::string &text) { std::ofstream(options.config) << text; };
  std::optional<Daemon> daemon;
  const auto reload = [&](int times) {
    int answers = 0;
    std::vector<Control::Reply> replies;
    for (int i = 0; i < times; ++i) replies.push_back(daemon->reply(R"({"verb": "reload"})"));
    for (const auto &reply : replies) reply([&](const std::string &) { ++answers; });
    while (answers < times) daemon->loop().turn();
  };
  write(R"({"pim": {"no-such-ns-a": {}}})");
  const auto loaded = configurationFromFile(options.config, Pax::AddressFamily::ipv4);
  daemon.emplace(Pax::AddressFamily::ipv4, options, loaded.configuration);
  EXPECT_EQ(told(), Texts{"READY=1"});
  const Texts reloaded{"RELOADING=1\nMONOTONIC_USEC=", "READY=1"};
  write("{");
  reload(1);
  EXPECT_EQ(told(), reloaded) << "refused, and ready as before";
  write(R"({"pim": {"no-such-ns-b": {}}})");
  reload(3);
  const Texts all = told();
  EXPECT_EQ(Texts(all.begin(), all.begin() + 1), Texts{reloaded.front()});
  EXPECT_EQ(all.back(), reloaded.back());
  for (size_t i = 1; i < all.size(); ++i) EXPECT_NE(all[i], all[i - 1]);
  daemon.reset();
  EXPECT_EQ(told(), Texts{"STOPPING=1"});
}

TEST(ServiceStatus, NamesTheBsrOfEachZoneAndWhatAVrfWaitsFor) {
  ::Test::Box box(Pax::AddressFamily::ipv4);
  ::Test::Json groups{{"224.0.0.0/4", {{"priority", 0}}}};
  const auto status = [&](std::map<L3::VrfName, std::string> awaited) {
    box.apply({{"pim", {{"default", ::Test::Json::object()}}},
               {"vrfConfig", {{"default", {{"bsrCandidateConfig", {{"a", {{"group", groups}}}}}}}}}});
    box.network.time().runFor(30);
    return serviceStatus(box.own.system(), awaited);
  };
  groups["239.1.0.0/16"] = ::Test::Json::object();
  const std::string zones = "BSR of 224.0.0.0/4 is 10.0.0.2; BSR of 239.1.0.0/16 is this router, 10.1.0.1";
  EXPECT_EQ(status({{"default", ""}}), zones);
  box.addressIs("default", "a", 0);
  EXPECT_EQ(status({{"blue", "namespace blue"}, {"default", ""}}),
            "VRF blue: waits for namespace blue; VRF default: BSR of 224.0.0.0/4 is 10.0.0.2");
  for (int i = 0; i < 20; ++i) groups["239.2." + std::to_string(i) + ".0/24"] = ::Test::Json::object();
  box.addressIs("default", "a", 1);
  const std::string many = status({{"default", ""}});
  EXPECT_TRUE(many.starts_with(zones + "; BSR of 239.2.0.0/24 is this router")) << many;
  EXPECT_TRUE(many.ends_with("; and 14 more")) << many;
  EXPECT_TRUE(status({{"default", ""}, {"red", "namespace red"}}).ends_with("; and 15 more"));
  box.own.system().standbyIs(true);
  EXPECT_EQ(serviceStatus(box.own.system(), {{"default", ""}}), "Standby, which sends nothing");
}

}  // namespace
}  // namespace Routing::Pim::Bsr
