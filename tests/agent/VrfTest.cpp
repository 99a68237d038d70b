// VRFs that come, wait, run, stop and go.
#include <gtest/gtest.h>

#include "tests/agent/World.h"
#include "tests/support/EntityLines.h"

namespace Test {
namespace {

using VrfLife = BothFamilies;
using Action = std::function<void()>;

TEST_P(VrfLife, AVrfRunsExactlyWhileEverythingItNeedsIsThere) {
  const PlatformVrf &blue = add("blue");
  const auto interfaces = *system.allIntfStatusDir->vrfIntfStatus("blue");
  struct Row {
    const char *reason;
    Action take, give;
    bool stops = true;  // a VRF that runs
  };
  const Row rows[] = {
      {"PIM is not enabled", [&] { system.pimGlobalStatus->enabledVrfDel("blue"); },
       [&] { system.pimGlobalStatus->enabledVrfIs("blue"); }},
      {"missing in vrfIpIntfStatus", [&] { system.allIntfStatusDir->vrfIntfStatusDel("blue"); },
       [&] { system.allIntfStatusDir->vrfIntfStatusIs("blue", interfaces); }},
      {"missing in Group MRT status", [&] { system.groupStatusColl->vrfStatusDel("blue"); },
       [&] { system.groupStatusColl->vrfStatusIs("blue"); }},
      {"missing in Bidir Group MRT status", [&] { system.bidirGroupStatusColl->vrfStatusDel("blue"); },
       [&] { system.bidirGroupStatusColl->vrfStatusIs("blue"); }},
      {"missing in Mrib status", [&] { system.mribStatusColl->vrfStatusDel("blue"); },
       [&] { system.mribStatusColl->vrfStatusIs("blue"); }},
      {"missing in Rp Config", [&] { system.rpConfigColl->vrfConfigDel("blue"); },
       [&] { system.rpConfigColl->vrfConfigIs("blue"); }},
      {"missing in Bidir Rp Config", [&] { system.bidirRpConfigColl->vrfConfigDel("blue"); },
       [&] { system.bidirRpConfigColl->vrfConfigIs("blue"); }},
      {"netns doesn't exist", [&] { system.namespaceExistsIs("blue", false); },
       [&] { system.namespaceExistsIs("blue", true); }},
      {"missing in Config", [&] { system.configColl->vrfConfigDel("blue"); },
       [&] { system.configColl->vrfConfigIs("blue"); }, false},
      {"missing in ClearConfig", [&] { system.clearConfigColl->vrfClearConfigDel("blue"); },
       [&] { system.clearConfigColl->vrfClearConfigIs("blue"); }, false},
      {"missing in Pim status", [&] { system.pimStatusColl->vrfStatusDel("blue"); },
       [&] { system.pimStatusColl->vrfStatusIs("blue", blue.pimStatus); }, false},
  };
  Tracelet::CaptureSink log;
  const auto expectWaiting = [&](const Row &row) {
    EXPECT_EQ(agent->rootSm()->reason("blue"), row.reason);
    EXPECT_FALSE(runs("blue")) << row.reason;
    log.clear();
  };
  const auto expectRunning = [&] {
    EXPECT_TRUE(runs("blue"));
    EXPECT_EQ(log.count("<Vrf:blue>Initializing ContainerSm"), 1u);
    EXPECT_EQ(agent->rootSm()->reason("blue"), "");
    log.clear();
  };
  for (const Row &row : rows) row.take();
  start();
  for (const Row &row : rows) {
    expectWaiting(row);
    row.give();
  }
  expectRunning();
  const auto kept = status("blue");
  const Bsr::Container *container = agent->container("blue");
  for (const Row &row : rows) {
    if (!row.stops) continue;
    row.take();
    expectWaiting(row);
    row.give();
    expectRunning();
  }
  EXPECT_EQ(status("blue"), kept);
  EXPECT_EQ(agent->container("blue"), container);
  agent->doInit();  // once more does no harm
  system.aclCli->aclIs("A");
  EXPECT_TRUE(container->ipAclConfig->acl("A"));
}

TEST_P(VrfLife, TheDefaultVrfNeedsNoNamespaceAndNobodyTakesItsPath) {
  add("default");
  system.namespaceExistsIs("default", false);
  system.vrfIs("blue", "default");
  system.namespaceExistsIs("blue", true);
  pimIs("blue");
  start();
  EXPECT_TRUE(runs("default") && runs("blue"));
}

// Does something as soon as the machines of a VRF begin to write.
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
  for (const char *name : {"blue", "default"}) add(name);
  const Meddler meddler(system.statusColl->vrfStatusIs("blue"), [&] { standbyIs(true); });
  Tracelet::CaptureSink log;
  start();
  EXPECT_EQ(log.count("Initializing ContainerSm"), 2u);
  EXPECT_FALSE(agent->rootSm());
  standbyIs(false);
  EXPECT_TRUE(runs("blue") && runs("default"));
}

TEST_P(VrfLife, AnAgentRemembersWhoStandsByWhileItsMountsArePending) {
  add("blue");
  const std::string path = Bsr::MountPaths(a.af).pimGlobalStatus();
  store.withdraw(path);
  start();
  stop();
  start();
  standbyIs(true);
  store.publish(path, system.pimGlobalStatus);
  EXPECT_FALSE(agent->rootSm());
  standbyIs(false);
  EXPECT_TRUE(runs("blue"));
}

TEST_P(VrfLife, WhatStopsKeepsStillAndWhatReturnsWorks) {
  struct Row {
    const char *name;
    Action leave, come;
    bool keepsStatus = true;  // and says nothing; what leaves the configuration says goodbye
    bool ages = false;        // what it keeps
  };
  const auto configure = [&] {
    candidateIs("blue", a.scope(5), 50);
    candidateRpIs("blue", a.group(1), 51);
  };
  const Row rows[] = {
      {"PIM off", [&] { system.pimDel("blue"); }, [&] { pimIs("blue"); }, true, true},
      {"namespace gone", [&] { system.namespaceExistsIs("blue", false); },
       [&] { system.namespaceExistsIs("blue", true); }, true, true},
      {"VRF gone", [&] { system.vrfDel("blue"); }, [&] { add("blue"), configure(); }, false},
      {"agent stopped", [&] { stop(); }, [&] { start(); }},
      {"standby", [&] { standbyIs(true); }, [&] { standbyIs(false); }},
      {"standby from its start", [&] { stop(), standbyIs(true), start(); }, [&] { standbyIs(false); }},
  };
  const Pax::IpGenPrefix scope = a.scope(5);
  PlatformVrf &blue = add("blue");
  configure();
  start();
  for (const Row &row : rows) {
    SCOPED_TRACE(row.name);
    const Bsm whole = Bsm(a.host(60)).group(a.group(1), {{a.host(70), 150, 1}});
    const Bsm part = Bsm(a.host(60)).tag(7).piece(a.group(2), 2, {{a.host(70), 150, 1}});
    const auto hear = [&] { blue.hear(whole), blue.hear(part); };
    hear();
    advance(20);
    blue.hear(part);  // timers run, and half a group waits for the rest
    ASSERT_TRUE(status("blue")->cbsr(scope)->elected());
    const Kiv::Ptr<Bsr::Status> kept = status("blue");
    const Lines before = linesOf(*kept);
    blue.port->sent.clear(), blue.port->advertised.clear();
    row.leave();
    hear();
    advance(row.ages ? 100 : 500);
    if (row.keepsStatus) {
      EXPECT_EQ(blue.sent(), 0u);
      EXPECT_EQ(linesOf(*kept), before);
    } else {
      ASSERT_TRUE(blue.port->sent.size() == 1 && blue.port->advertised.size() == 1);
      EXPECT_EQ(blue.port->sent[0].bsm->priority(), 0);
      EXPECT_EQ(blue.port->advertised[0]->holdTime(), 0);
    }
    EXPECT_NE(time.idle(), row.ages);
    EXPECT_EQ(status("blue"), row.keepsStatus ? kept : nullptr);
    EXPECT_EQ(system.rpCandidateStatusColl->vrfStatus("blue") != nullptr, row.keepsStatus);
    row.come();
    EXPECT_EQ(status("blue") == kept, row.keepsStatus);
    EXPECT_EQ(status("blue")->cbsr(scope)->elected(), row.keepsStatus);
    hear();
    advance(20);
    EXPECT_TRUE(status("blue")->cbsr(scope)->elected());
    EXPECT_EQ(bsr("blue")->ipAddr(), a.host(60));
    EXPECT_GE(blue.port->sent.size(), 3u) << "passed on, and announced";
    EXPECT_GE(blue.port->advertised.size(), 1u);
  }
}

TEST_P(VrfLife, TheKernelsInterfacesStayWhileAnyVrfOfTheirNamespaceRuns) {
  const std::string path = "kni/ns/netns/status";
  for (const char *name : {"blue", "red"}) {
    system.vrfIs(name, std::string("netns"), name);
    system.namespaceExistsIs(name, true);
    pimIs(name);
  }
  start();
  EXPECT_TRUE(runs("blue") && runs("red"));
  system.pimDel("blue");
  EXPECT_TRUE(store.entity(path));
  pimIs("blue");
  EXPECT_TRUE(runs("blue"));
  system.pimDel("blue"), system.pimDel("red");
  EXPECT_FALSE(store.entity(path));
}

TEST_P(VrfLife, BorderConfigurationFollowsAnInterfaceFromVrfToVrf) {
  std::map<std::string, PlatformVrf *> vrf;
  for (const char *name : {"default", "blue"}) vrf[name] = &add(name);
  const auto come = [&](const char *name) { vrf[name]->interfaces->intfStatusIs(vrf[name]->intf(5)); };
  const auto go = [&](const char *name) { vrf[name]->interfaces->intfStatusDel(vrf[name]->intf(5)); };
  const auto borderIs = [&](const char *name) {
    system.configColl->intfConfigIs(vrf[name]->intf(5))->bsrBorderGrpIs(a.scope(6));
  };
  const auto borderDel = [&](const char *name) { system.configColl->intfConfigDel(vrf[name]->intf(5)); };
  const Action pimOff = [&] { system.pimGlobalStatus->enabledVrfDel("blue"); };
  const Action pimOn = [&] { system.pimGlobalStatus->enabledVrfIs("blue"); };
  struct Row {
    const char *what;
    Action action;
    std::string borders, known;  // VRFs where it is a border; VRFs that know of its configuration
  };
  const Row rows[] = {
      {"configured before it is there", [&] { borderIs("default"), borderIs("blue"); }, "", ""},
      {"comes", [&] { come("default"); }, "default ", "default "},
      {"moves", [&] { go("default"), come("blue"); }, "blue ", "blue "},
      {"is stopped", [&] { system.pimDel("blue"); }, "blue ", "blue "},
      {"is no border while stopped", [&] { borderDel("blue"); }, "blue ", ""},
      {"starts", [&] { pimIs("blue"); }, "", ""},
      {"is a border again", [&] { borderIs("blue"); }, "blue ", "blue "},
      {"goes while stopped", [&] { pimOff(), go("blue"), pimOn(); }, "", ""},
      {"comes while stopped", [&] { pimOff(), come("blue"), pimOn(); }, "blue ", "blue "},
      {"VRF deleted", [&] { system.vrfDel("blue"); }, "", ""},
      {"re-created, with its interfaces and PIM to come",
       [&] { system.vrfIs("blue"), system.allIntfStatusDir->vrfIntfStatusIs("blue", vrf["blue"]->interfaces); }, "",
       "blue "},
      {"agent restarts while it waits", [&] { stop(), start(); }, "", "blue "},
      {"PIM comes", [&] { add("blue"); }, "blue ", "blue "},
  };
  start();
  for (const Row &row : rows) {
    row.action();
    std::string borders, known;
    for (const char *name : {"default", "blue"}) {
      if (!agent->container(name)) continue;
      if (Bsr::isBorder(*status(name), a.scope(6), vrf[name]->intf(5))) borders += std::string(name) + ' ';
      if (!agent->container(name)->vrfIntfConfig->intfConfig().empty()) known += std::string(name) + ' ';
    }
    EXPECT_EQ(borders, row.borders) << row.what;
    EXPECT_EQ(known, row.known) << row.what;
  }
}

FOR_BOTH_FAMILIES(VrfLife);

}  // namespace
}  // namespace Test
