// VRFs that come, wait, run, stop and go.
#include <gtest/gtest.h>

#include "tests/agent/World.h"
#include "tests/support/EntityLines.h"

namespace Test {
namespace {

using VrfLife = BothFamilies;
using Action = std::function<void()>;

TEST_P(VrfLife, AVrfRunsExactlyWhileEverythingItNeedsIsThere) {
  const PlatformVrf &blue = world.add("blue");
  Bsr::SystemState &s = world.system;
  const auto interfaces = *s.allIntfStatusDir->vrfIntfStatus("blue");
  struct Row {
    const char *reason;
    Action take, give;
    bool stops = true;  // a VRF that runs
  };
  const Row rows[] = {
      {"PIM is not enabled", [&] { s.pimGlobalStatus->enabledVrfDel("blue"); },
       [&] { s.pimGlobalStatus->enabledVrfIs("blue"); }},
      {"missing in vrfIpIntfStatus", [&] { s.allIntfStatusDir->vrfIntfStatusDel("blue"); },
       [&] { s.allIntfStatusDir->vrfIntfStatusIs("blue", interfaces); }},
      {"missing in Group MRT status", [&] { s.groupStatusColl->vrfStatusDel("blue"); },
       [&] { s.groupStatusColl->vrfStatusIs("blue"); }},
      {"missing in Bidir Group MRT status", [&] { s.bidirGroupStatusColl->vrfStatusDel("blue"); },
       [&] { s.bidirGroupStatusColl->vrfStatusIs("blue"); }},
      {"missing in Mrib status", [&] { s.mribStatusColl->vrfStatusDel("blue"); },
       [&] { s.mribStatusColl->vrfStatusIs("blue"); }},
      {"missing in Rp Config", [&] { s.rpConfigColl->vrfConfigDel("blue"); },
       [&] { s.rpConfigColl->vrfConfigIs("blue"); }},
      {"missing in Bidir Rp Config", [&] { s.bidirRpConfigColl->vrfConfigDel("blue"); },
       [&] { s.bidirRpConfigColl->vrfConfigIs("blue"); }},
      {"netns doesn't exist", [&] { s.namespaceExistsIs("blue", false); }, [&] { s.namespaceExistsIs("blue", true); }},
      {"missing in Config", [&] { s.configColl->vrfConfigDel("blue"); }, [&] { s.configColl->vrfConfigIs("blue"); },
       false},
      {"missing in ClearConfig", [&] { s.clearConfigColl->vrfClearConfigDel("blue"); },
       [&] { s.clearConfigColl->vrfClearConfigIs("blue"); }, false},
      {"missing in Pim status", [&] { s.pimStatusColl->vrfStatusDel("blue"); },
       [&] { s.pimStatusColl->vrfStatusIs("blue", blue.pimStatus); }, false},
  };
  Tracelet::CaptureSink log;
  const auto expectWaiting = [&](const Row &row) {
    EXPECT_TRUE(log.contains(std::string("( blue ), ") + row.reason)) << row.reason;
    EXPECT_EQ(world.agent->rootSm()->reason("blue"), row.reason);
    EXPECT_FALSE(world.runs("blue")) << row.reason;
    log.clear();
  };
  const auto expectRunning = [&](size_t starts) {
    EXPECT_TRUE(log.contains("( blue ), all mounts available"));
    EXPECT_TRUE(world.runs("blue"));
    EXPECT_EQ(log.count("Pim is enabled for vrf blue"), starts);
    EXPECT_EQ(log.count("<Vrf:blue>Initializing ContainerSm"), starts);
    EXPECT_EQ(world.agent->rootSm()->reason("blue"), "");
    log.clear();
  };
  for (const Row &row : rows) row.take();
  world.start();
  for (const Row &row : rows) {
    expectWaiting(row);
    row.give();
  }
  expectRunning(1);
  const auto status = world.status("blue");
  const Bsr::Container *container = world.agent->container("blue");
  for (const Row &row : rows) {
    if (!row.stops) continue;
    row.take();
    EXPECT_TRUE(log.contains("Pim is disabled for vrf blue")) << row.reason;
    expectWaiting(row);
    row.give();
    expectRunning(1);
  }
  EXPECT_EQ(world.status("blue"), status);
  EXPECT_EQ(world.agent->container("blue"), container);
  world.agent->doInit();  // once more does no harm
  world.system.aclCli->aclIs("A");
  EXPECT_TRUE(container->ipAclConfig->acl("A"));
}

TEST_P(VrfLife, TheDefaultVrfNeedsNoNamespaceAndNobodyTakesItsPath) {
  world.add("default");
  world.system.namespaceExistsIs("default", false);
  world.system.vrfIs("blue", "default");
  world.system.namespaceExistsIs("blue", true);
  world.pimIs("blue");
  world.start();
  EXPECT_TRUE(world.runs("default") && world.runs("blue"));
}

/// Does something as soon as the machines of a VRF begin to write.
struct Meddler : Bsr::Status::Notifiee {
  Meddler(const Kiv::Ptr<Bsr::Status> &status, Action action) : meddle(std::move(action)) { notifierIs(status); }
  void onAf() override { meddle(); }
  const Action meddle;
};

TEST_P(VrfLife, AStartThatWaitsOrIsDisturbedHappensOnce) {
  const auto lookAgain = [](World &world) {
    world.system.mribStatusColl->vrfStatusDel("blue");
    world.system.mribStatusColl->vrfStatusIs("blue");
  };
  const std::function<void(World &)> disturbances[] = {
      [](World &) {},
      lookAgain,
      [](World &world) { world.system.pimDel("blue"); },
      [](World &world) { world.system.vrfDel("blue"); },
      [](World &world) { world.standbyIs(true), world.standbyIs(false); },
      [](World &world) { world.standbyIs(true); }};
  for (const auto &disturbance : disturbances) {
    SCOPED_TRACE(&disturbance - disturbances);
    World world(GetParam());
    world.add("blue");
    const std::string path = Bsr::MountPaths(a.af).channelStatus("blue");
    const Kiv::Ptr<Pim::IO::ChannelStatus> channel(
        static_cast<Pim::IO::ChannelStatus *>(world.store.entity(path).get()));
    world.store.withdraw(path);
    world.start();
    world.stop();  // while it waits
    world.start();
    world.system.mribStatusColl->vrfStatusDel("blue");
    world.store.publish(path, channel);
    EXPECT_FALSE(world.runs("blue")) << "waits for something else now";
    world.store.withdraw(path);
    lookAgain(world);
    EXPECT_FALSE(world.runs("blue"));
    const Meddler meddler(world.status("blue"), [&] { disturbance(world); });
    Tracelet::CaptureSink log;
    world.store.publish(path, channel);
    EXPECT_EQ(log.count("Initializing ContainerSm"), 1u);
    EXPECT_EQ(world.runs("blue"), !world.agent->standbyMode() && world.system.pimGlobalStatus->enabledVrf("blue"));
    EXPECT_EQ(world.agent->rootSm() == nullptr, world.agent->standbyMode());
    EXPECT_EQ(world.agent->container("blue") != nullptr,
              !world.agent->standbyMode() && world.system.allVrfStatusLocal->vrfStatus("blue"));
  }
}

TEST_P(VrfLife, AStandbyInsideTheFirstStartWaitsForTheOtherVrfs) {
  for (const char *name : {"blue", "default"}) world.add(name);
  const Meddler meddler(world.system.statusColl->vrfStatusIs("blue"), [&] { world.standbyIs(true); });
  Tracelet::CaptureSink log;
  world.start();
  EXPECT_EQ(log.count("Initializing ContainerSm"), 2u);
  EXPECT_FALSE(world.agent->rootSm());
  world.standbyIs(false);
  EXPECT_TRUE(world.runs("blue") && world.runs("default"));
}

TEST_P(VrfLife, AnAgentRemembersWhoStandsByWhileItsMountsArePending) {
  world.add("blue");
  const std::string path = Bsr::MountPaths(a.af).pimGlobalStatus();
  world.store.withdraw(path);
  world.start();
  world.stop();
  world.start();
  world.standbyIs(true);
  world.store.publish(path, world.system.pimGlobalStatus);
  EXPECT_FALSE(world.agent->rootSm());
  world.standbyIs(false);
  EXPECT_TRUE(world.runs("blue"));
}

TEST_P(VrfLife, WhatStopsKeepsStillAndWhatReturnsWorks) {
  struct Row {
    const char *name;
    Action leave, come;
    bool keepsStatus = true;  // and says nothing; what leaves the configuration says goodbye
  };
  const auto configure = [&] {
    world.candidateIs("blue", a.scope(5), 50);
    world.candidateRpIs("blue", a.group(1), 51);
  };
  const Row rows[] = {
      {"PIM off", [&] { world.system.pimDel("blue"); }, [&] { world.pimIs("blue"); }},
      {"namespace gone", [&] { world.system.namespaceExistsIs("blue", false); },
       [&] { world.system.namespaceExistsIs("blue", true); }},
      {"VRF gone", [&] { world.system.vrfDel("blue"); }, [&] { world.add("blue"), configure(); }, false},
      {"agent stopped", [&] { world.stop(); }, [&] { world.start(); }},
      {"standby", [&] { world.standbyIs(true); }, [&] { world.standbyIs(false); }},
      {"standby from its start", [&] { world.stop(), world.standbyIs(true), world.start(); },
       [&] { world.standbyIs(false); }},
  };
  const Pax::IpGenPrefix scope = a.scope(5);
  PlatformVrf &blue = world.add("blue");
  configure();
  world.start();
  for (const Row &row : rows) {
    SCOPED_TRACE(row.name);
    const Bsm whole = Bsm(a.host(60)).group(a.group(1), {{a.host(70), 150, 1}});
    const Bsm part = Bsm(a.host(60)).tag(7).piece(a.group(2), 2, {{a.host(70), 150, 1}});
    const auto hear = [&] { blue.hear(whole), blue.hear(part); };
    hear();
    world.advance(20);
    blue.hear(part);  // timers run, and half a group waits for the rest
    ASSERT_TRUE(world.status("blue")->cbsr(scope)->elected());
    const Kiv::Ptr<Bsr::Status> status = world.status("blue");
    const Lines before = linesOf(*status);
    blue.port->sent.clear(), blue.port->advertised.clear();
    row.leave();
    hear();
    world.advance(500);
    if (row.keepsStatus) {
      EXPECT_EQ(blue.sent(), 0u);
      EXPECT_EQ(linesOf(*status), before);
    } else {
      ASSERT_TRUE(blue.port->sent.size() == 1 && blue.port->advertised.size() == 1);
      EXPECT_EQ(blue.port->sent[0].bsm->priority(), 0);
      EXPECT_EQ(blue.port->advertised[0]->holdTime(), 0);
    }
    EXPECT_TRUE(world.time.idle());
    EXPECT_EQ(world.status("blue"), row.keepsStatus ? status : nullptr);
    EXPECT_EQ(world.system.rpCandidateStatusColl->vrfStatus("blue") != nullptr, row.keepsStatus);
    row.come();
    EXPECT_EQ(world.status("blue") == status, row.keepsStatus);
    EXPECT_EQ(world.status("blue")->cbsr(scope)->elected(), row.keepsStatus);
    hear();
    world.advance(20);
    EXPECT_TRUE(world.status("blue")->cbsr(scope)->elected());
    EXPECT_EQ(world.bsr("blue")->ipAddr(), a.host(60));
    EXPECT_GE(blue.port->sent.size(), 3u) << "passed on, and announced";
    EXPECT_GE(blue.port->advertised.size(), 1u);
  }
}

TEST_P(VrfLife, BorderConfigurationFollowsAnInterfaceFromVrfToVrf) {
  std::map<std::string, PlatformVrf *> vrf;
  for (const char *name : {"default", "blue"}) vrf[name] = &world.add(name);
  const auto come = [&](const char *name) { vrf[name]->interfaces->intfStatusIs(vrf[name]->intf(5)); };
  const auto go = [&](const char *name) { vrf[name]->interfaces->intfStatusDel(vrf[name]->intf(5)); };
  const auto borderIs = [&](const char *name) {
    world.system.configColl->intfConfigIs(vrf[name]->intf(5))->bsrBorderGrpIs(a.scope(6));
  };
  const auto borderDel = [&](const char *name) { world.system.configColl->intfConfigDel(vrf[name]->intf(5)); };
  const Action pimOff = [&] { world.system.pimGlobalStatus->enabledVrfDel("blue"); };
  const Action pimOn = [&] { world.system.pimGlobalStatus->enabledVrfIs("blue"); };
  struct Row {
    const char *what;
    Action action;
    std::string borders, known;  // VRFs where it is a border; VRFs that know of its configuration
  };
  const Row rows[] = {
      {"configured before it is there", [&] { borderIs("default"), borderIs("blue"); }, "", ""},
      {"comes", [&] { come("default"); }, "default ", "default "},
      {"moves", [&] { go("default"), come("blue"); }, "blue ", "blue "},
      {"is stopped", [&] { world.system.pimDel("blue"); }, "blue ", "blue "},
      {"is no border while stopped", [&] { borderDel("blue"); }, "blue ", ""},
      {"starts", [&] { world.pimIs("blue"); }, "", ""},
      {"is a border again", [&] { borderIs("blue"); }, "blue ", "blue "},
      {"goes while stopped", [&] { pimOff(), go("blue"), pimOn(); }, "", ""},
      {"comes while stopped", [&] { pimOff(), come("blue"), pimOn(); }, "blue ", "blue "},
      {"VRF deleted", [&] { world.system.vrfDel("blue"); }, "", ""},
      {"re-created, with its interfaces and PIM to come",
       [&] {
         world.system.vrfIs("blue"), world.system.allIntfStatusDir->vrfIntfStatusIs("blue", vrf["blue"]->interfaces);
       },
       "", "blue "},
      {"agent restarts while it waits", [&] { world.stop(), world.start(); }, "", "blue "},
      {"PIM comes", [&] { world.add("blue"); }, "blue ", "blue "},
  };
  world.start();
  for (const Row &row : rows) {
    row.action();
    std::string borders, known;
    for (const char *name : {"default", "blue"}) {
      if (!world.agent->container(name)) continue;
      if (Bsr::isBorder(*world.status(name), a.scope(6), vrf[name]->intf(5))) borders += std::string(name) + ' ';
      if (!world.agent->container(name)->vrfIntfConfig->intfConfig().empty()) known += std::string(name) + ' ';
    }
    EXPECT_EQ(borders, row.borders) << row.what;
    EXPECT_EQ(known, row.known) << row.what;
  }
}

FOR_BOTH_FAMILIES(VrfLife);

}  // namespace
}  // namespace Test
