// VRFs that come, wait, run, stop and go.
#include <gtest/gtest.h>

#include "tests/agent/World.h"
#include "tests/support/EntityLines.h"

namespace Test {
namespace {

using VrfLife = BothFamilies;
using Action = std::function<void()>;

TEST_P(VrfLife, AVrfRunsExactlyWhileEverythingItNeedsIsThere) {
  const World::Vrf &blue = w.add("blue");
  Bsr::SystemState &s = w.system;
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
    EXPECT_EQ(w.agent->rootSm()->reason("blue"), row.reason);
    EXPECT_FALSE(w.runs("blue")) << row.reason;
    log.clear();
  };
  const auto expectRunning = [&](size_t starts) {
    EXPECT_TRUE(log.contains("( blue ), all mounts available"));
    EXPECT_TRUE(w.runs("blue"));
    EXPECT_EQ(log.count("Pim is enabled for vrf blue"), starts);
    EXPECT_EQ(log.count("<Vrf:blue>Initializing ContainerSm"), starts);
    EXPECT_EQ(w.agent->rootSm()->reason("blue"), "");
    log.clear();
  };
  for (const Row &row : rows) row.take();
  w.start();
  for (const Row &row : rows) {
    expectWaiting(row);
    row.give();
  }
  expectRunning(1);
  const auto status = w.status("blue");
  const Bsr::Container *container = w.agent->container("blue");
  for (const Row &row : rows) {
    if (!row.stops) continue;
    row.take();
    EXPECT_TRUE(log.contains("Pim is disabled for vrf blue")) << row.reason;
    expectWaiting(row);
    row.give();
    expectRunning(1);
  }
  EXPECT_EQ(w.status("blue"), status);
  EXPECT_EQ(w.agent->container("blue"), container);
  w.agent->doInit();  // once more does no harm
  w.system.aclCli->aclIs("A");
  EXPECT_TRUE(container->ipAclConfig->acl("A"));
}

TEST_P(VrfLife, TheDefaultVrfNeedsNoNamespaceAndNobodyTakesItsPath) {
  w.add("default");
  w.system.namespaceExistsIs("default", false);
  w.system.vrfIs("blue", "default");
  w.system.namespaceExistsIs("blue", true);
  w.pimIs("blue");
  w.start();
  EXPECT_TRUE(w.runs("default") && w.runs("blue"));
}

/// Does something as soon as the machines of a VRF begin to write.
struct Meddler : Bsr::Status::Notifiee {
  Meddler(const Kiv::Ptr<Bsr::Status> &status, Action action) : meddle(std::move(action)) { notifierIs(status); }
  void onAf() override { meddle(); }
  const Action meddle;
};

TEST_P(VrfLife, AStartThatWaitsOrIsDisturbedHappensOnce) {
  const auto lookAgain = [](World &w) {
    w.system.mribStatusColl->vrfStatusDel("blue");
    w.system.mribStatusColl->vrfStatusIs("blue");
  };
  const std::function<void(World &)> disturbances[] = {[](World &) {},
                                                       lookAgain,
                                                       [](World &w) { w.system.pimDel("blue"); },
                                                       [](World &w) { w.system.vrfDel("blue"); },
                                                       [](World &w) { w.standbyIs(true), w.standbyIs(false); },
                                                       [](World &w) { w.standbyIs(true); }};
  for (const auto &disturbance : disturbances) {
    SCOPED_TRACE(&disturbance - disturbances);
    World w(GetParam());
    w.add("blue");
    const std::string path = Bsr::MountPaths(a.af).channelStatus("blue");
    const Kiv::Ptr<Pim::IO::ChannelStatus> channel(static_cast<Pim::IO::ChannelStatus *>(w.store.entity(path).get()));
    w.store.withdraw(path);
    w.start();
    w.stop();  // while it waits
    w.start();
    w.system.mribStatusColl->vrfStatusDel("blue");
    w.store.publish(path, channel);
    EXPECT_FALSE(w.runs("blue")) << "waits for something else now";
    w.store.withdraw(path);
    lookAgain(w);
    EXPECT_FALSE(w.runs("blue"));
    const Meddler meddler(w.status("blue"), [&] { disturbance(w); });
    Tracelet::CaptureSink log;
    w.store.publish(path, channel);
    EXPECT_EQ(log.count("Initializing ContainerSm"), 1u);
    EXPECT_EQ(w.runs("blue"), !w.agent->standbyMode() && w.system.pimGlobalStatus->enabledVrf("blue"));
    EXPECT_EQ(w.agent->rootSm() == nullptr, w.agent->standbyMode());
    EXPECT_EQ(w.agent->container("blue") != nullptr,
              !w.agent->standbyMode() && w.system.allVrfStatusLocal->vrfStatus("blue"));
  }
}

TEST_P(VrfLife, AStandbyInsideTheFirstStartWaitsForTheOtherVrfs) {
  for (const char *name : {"blue", "default"}) w.add(name);
  const Meddler meddler(w.system.statusColl->vrfStatusIs("blue"), [&] { w.standbyIs(true); });
  Tracelet::CaptureSink log;
  w.start();
  EXPECT_EQ(log.count("Initializing ContainerSm"), 2u);
  EXPECT_FALSE(w.agent->rootSm());
  w.standbyIs(false);
  EXPECT_TRUE(w.runs("blue") && w.runs("default"));
}

TEST_P(VrfLife, AnAgentRemembersWhoStandsByWhileItsMountsArePending) {
  w.add("blue");
  const std::string path = Bsr::MountPaths(a.af).pimGlobalStatus();
  w.store.withdraw(path);
  w.start();
  w.stop();
  w.start();
  w.standbyIs(true);
  w.store.publish(path, w.system.pimGlobalStatus);
  EXPECT_FALSE(w.agent->rootSm());
  w.standbyIs(false);
  EXPECT_TRUE(w.runs("blue"));
}

TEST_P(VrfLife, WhatStopsKeepsStillAndWhatReturnsWorks) {
  struct Row {
    const char *name;
    Action leave, come;
    bool keepsStatus = true;  // and says nothing; what leaves the configuration says goodbye
  };
  const auto configure = [&] {
    w.candidateIs("blue", a.scope(5), 50);
    w.candidateRpIs("blue", a.group(1), 51);
  };
  const Row rows[] = {
      {"PIM off", [&] { w.system.pimDel("blue"); }, [&] { w.pimIs("blue"); }},
      {"namespace gone", [&] { w.system.namespaceExistsIs("blue", false); },
       [&] { w.system.namespaceExistsIs("blue", true); }},
      {"VRF gone", [&] { w.system.vrfDel("blue"); }, [&] { w.add("blue"), configure(); }, false},
      {"agent stopped", [&] { w.stop(); }, [&] { w.start(); }},
      {"standby", [&] { w.standbyIs(true); }, [&] { w.standbyIs(false); }},
      {"standby from its start", [&] { w.stop(), w.standbyIs(true), w.start(); }, [&] { w.standbyIs(false); }},
  };
  const Pax::IpGenPrefix scope = a.scope(5);
  World::Vrf &blue = w.add("blue");
  configure();
  w.start();
  for (const Row &row : rows) {
    SCOPED_TRACE(row.name);
    const Bsm whole = Bsm(a.host(60)).group(a.group(1), {{a.host(70), 150, 1}});
    const Bsm part = Bsm(a.host(60)).tag(7).piece(a.group(2), 2, {{a.host(70), 150, 1}});
    const auto hear = [&] { blue.hear(whole), blue.hear(part); };
    hear();
    w.advance(20);
    blue.hear(part);  // timers run, and half a group waits for the rest
    ASSERT_TRUE(w.status("blue")->cbsr(scope)->elected());
    const Kiv::Ptr<Bsr::Status> status = w.status("blue");
    const Lines before = linesOf(*status);
    blue.port->sent.clear(), blue.port->advertised.clear();
    row.leave();
    hear();
    w.advance(500);
    if (row.keepsStatus) {
      EXPECT_EQ(blue.sent(), 0u);
      EXPECT_EQ(linesOf(*status), before);
    } else {
      ASSERT_TRUE(blue.port->sent.size() == 1 && blue.port->advertised.size() == 1);
      EXPECT_EQ(blue.port->sent[0].bsm->priority(), 0);
      EXPECT_EQ(blue.port->advertised[0]->holdTime(), 0);
    }
    EXPECT_TRUE(w.time.idle());
    EXPECT_EQ(w.status("blue"), row.keepsStatus ? status : nullptr);
    EXPECT_EQ(w.system.rpCandidateStatusColl->vrfStatus("blue") != nullptr, row.keepsStatus);
    row.come();
    EXPECT_EQ(w.status("blue") == status, row.keepsStatus);
    EXPECT_EQ(w.status("blue")->cbsr(scope)->elected(), row.keepsStatus);
    hear();
    w.advance(20);
    EXPECT_TRUE(w.status("blue")->cbsr(scope)->elected());
    EXPECT_EQ(w.bsr("blue")->ipAddr(), a.host(60));
    EXPECT_GE(blue.port->sent.size(), 3u) << "passed on, and announced";
    EXPECT_GE(blue.port->advertised.size(), 1u);
  }
}

TEST_P(VrfLife, BorderConfigurationFollowsAnInterfaceFromVrfToVrf) {
  std::map<std::string, World::Vrf *> vrf;
  for (const char *name : {"default", "blue"}) vrf[name] = &w.add(name);
  const auto come = [&](const char *name) { vrf[name]->interfaces->intfStatusIs(vrf[name]->intf("eth5")); };
  const auto go = [&](const char *name) { vrf[name]->interfaces->intfStatusDel(vrf[name]->intf("eth5")); };
  const auto borderIs = [&](const char *name) {
    w.system.configColl->intfConfigIs(vrf[name]->intf("eth5"))->bsrBorderGrpIs(a.scope(6));
  };
  const auto borderDel = [&](const char *name) { w.system.configColl->intfConfigDel(vrf[name]->intf("eth5")); };
  const Action pimOff = [&] { w.system.pimGlobalStatus->enabledVrfDel("blue"); };
  const Action pimOn = [&] { w.system.pimGlobalStatus->enabledVrfIs("blue"); };
  struct Row {
    const char *what;
    Action action;
    std::string borders, known;  // VRFs where it is a border; VRFs that know of its configuration
  };
  const Row rows[] = {
      {"configured before it is there", [&] { borderIs("default"), borderIs("blue"); }, "", ""},
      {"comes", [&] { come("default"); }, "default ", "default "},
      {"moves", [&] { go("default"), come("blue"); }, "blue ", "blue "},
      {"is stopped", [&] { w.system.pimDel("blue"); }, "blue ", "blue "},
      {"is no border while stopped", [&] { borderDel("blue"); }, "blue ", ""},
      {"starts", [&] { w.pimIs("blue"); }, "", ""},
      {"is a border again", [&] { borderIs("blue"); }, "blue ", "blue "},
      {"goes while stopped", [&] { pimOff(), go("blue"), pimOn(); }, "", ""},
      {"comes while stopped", [&] { pimOff(), come("blue"), pimOn(); }, "blue ", "blue "},
      {"VRF deleted", [&] { w.system.vrfDel("blue"); }, "", ""},
      {"re-created, with its interfaces and PIM to come",
       [&] { w.system.vrfIs("blue"), w.system.allIntfStatusDir->vrfIntfStatusIs("blue", vrf["blue"]->interfaces); }, "",
       "blue "},
      {"agent restarts while it waits", [&] { w.stop(), w.start(); }, "", "blue "},
      {"PIM comes", [&] { w.add("blue"); }, "blue ", "blue "},
  };
  w.start();
  for (const Row &row : rows) {
    row.action();
    std::string borders, known;
    for (const char *name : {"default", "blue"}) {
      if (!w.agent->container(name)) continue;
      if (Bsr::isBorder(*w.status(name), a.scope(6), vrf[name]->intf("eth5"))) borders += std::string(name) + ' ';
      if (!w.agent->container(name)->vrfIntfConfig->intfConfig().empty()) known += std::string(name) + ' ';
    }
    EXPECT_EQ(borders, row.borders) << row.what;
    EXPECT_EQ(known, row.known) << row.what;
  }
}

FOR_BOTH_FAMILIES(VrfLife);

}  // namespace
}  // namespace Test
