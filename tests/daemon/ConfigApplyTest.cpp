#include "daemon/file/ConfigApply.h"

#include <gtest/gtest.h>

#include "platform/tracelet/Sinks.h"
#include "tests/daemon/RandomFile.h"
#include "view/EntityJson.h"

namespace Routing::Pim::Bsr {
namespace {

using namespace ::Test;

// ACLs of one rule each, and what names them: "" stands for an explicit entry of `prefix`.
struct Said {
  std::map<std::string, std::string> acls;
  Texts sources;
  uint16_t priority = 10;
};

// A file by which "a" is a candidate BSR of the zone and a candidate RP of the range, from the same sources.
Json fileOf(const std::string &prefix, const Said &said) {
  Json file = Json::parse(R"({"pim": {"default": {}, "blue": {}}})");
  for (const auto &[acl, permitted] : said.acls) file["acl"][acl] = {{{"permit", permitted}}};
  Json &settings = file["vrfConfig"]["default"];
  const Json values = {{"priority", said.priority}};
  for (const std::string &source : said.sources) {
    settings["bsrCandidateConfig"]["a"][source.empty() ? "group" : "acl"][source.empty() ? prefix : source] = values;
    settings["rpCandidateConfig"]["a"][source.empty() ? "groupRange" : "acl"][source.empty() ? prefix : source] =
        values;
  }
  return file;
}

// Of interfaces with one address, the one that serves it goes on to do so; who would be the first of a start is
// another matter.
Json asServed(Json file, Box &box) {
  for (const std::string &vrf : vrfs) {
    for (const std::string intf : {"a", "b", "c"}) {
      const auto crp = box.status(vrf).crp(box.addressOf(vrf, intf));
      if (crp && crp->intfId().name() != intf) file["vrfConfig"][vrf]["rpCandidateConfig"].erase(intf);
    }
  }
  return file;
}

std::string difference(const Lines &is, const Lines &want) {
  std::string text;
  for (const auto &[sign, left, right] : {std::tuple("  is ", &is, &want), std::tuple("  wants ", &want, &is)}) {
    for (const auto &[at, value] : *left) {
      const auto found = right->find(at);
      if (found == right->end() || found->second != value) text += sign + at + " = " + value + "\n";
    }
  }
  return text;
}

// What differs from an agent that starts with the file.
std::string unlikeFresh(Box &box, const Json &file) {
  Box fresh(box.network.af(), true);
  for (const std::string &vrf : vrfs) {
    for (const std::string intf : {"a", "b", "c"}) {
      for (uint32_t n = 0; n <= 3; ++n) {
        if (n == 0 || box.addressOf(vrf, intf) == box.address(vrf, n)) fresh.addressIs(vrf, intf, n);
      }
    }
  }
  fresh.apply(asServed(file, box));
  fresh.own.start();
  std::string wrong = difference(box.configured(), fresh.configured());
  for (const std::string &vrf : vrfs) {
    const std::string named = file.at("vrfConfig").at(vrf).dump() + file.value("intfConfig", Json()).dump();
    for (const auto &[acl, kept] : box.configSm(vrf).bsrConfigAcl()) {
      if (named.find('"' + acl + '"') == named.npos) wrong += "  keeps ACL " + acl + " of " + vrf + "\n";
    }
  }
  return wrong;
}

// One random life of a file. Empty, or what went wrong.
std::string life(const Addresses &a, uint32_t seed) {
  RandomFile file(a, seed);
  Box box(a.af);
  std::vector<Texts> served(3);
  for (int step = 0; step < 40; ++step) {
    const std::string before = file.json.dump();
    file.change();
    const bool crashes = box.own.runs() && file.upTo(4) == 0;
    if (crashes) box.own.crash();
    const bool readdressed = file.upTo(3) == 0;
    if (readdressed) box.addressIs(vrfs[file.upTo(2)], std::string(1, "abc"[file.upTo(3)]), file.upTo(4));
    const Texts elected = crashes ? Texts() : box.elected();
    box.goodbyes.clear();
    box.apply(file.json);
    std::string wrong;
    if (!box.own.runs()) {
      box.own.start();
    } else {
      const Tracelet::CaptureSink traces;
      box.apply(file.json, 0);
      if (!traces.lines().empty()) wrong += "  not silent when applied again: " + traces.lines().front() + "\n";
    }
    wrong += unlikeFresh(box, file.json);
    box.network.time().runFor(40 + file.upTo(100));
    served.erase(served.begin());
    served.push_back(box.served());
    for (const std::string &goodbye : box.goodbyes) {
      for (const std::string &what : served.back()) {
        const bool stayed = std::all_of(served.begin(), served.end(), [&](const Texts &s) { return s.contains(what); });
        if (what.starts_with(goodbye) && stayed) wrong += "  goodbye of " + what + "\n";
      }
    }
    for (const std::string &zone : elected) {
      const auto goesOn = [&](const std::string &what) { return what.starts_with(zone); };
      if (readdressed || box.goodbyes.contains(zone)) continue;
      if (std::none_of(served.back().begin(), served.back().end(), goesOn)) wrong += "  no goodbye of " + zone + "\n";
    }
    if (!wrong.empty()) {
      return text(a.af, "seed", seed, "step", step) + ":\n" + wrong + "from\n" + before + "\nto\n" + file.json.dump();
    }
  }
  return "";
}

// Where sources differ, the last ACL stands.
TEST(ConfigApply, StatusSaysWhatTheFileSays) {
  Box box(Pax::AddressFamily::ipv4, true);
  Json file = Json::parse(R"({"pim": {"default": {"interfaces": ["eth0"]}, "blue": {}},
    "acl": {"A": [{"permit": "239.1.0.0/16"}, {"permit": "10.0.0.0/8"}],
            "B": [{"permit": "239.1.0.0/16"}, {"permit": "225.1.0.0/16"}], "C": [{"permit": "any"}],
            "D": [{"permit": "224.0.0.0/4"}, {"permit": "10.0.0.0/8"}]},
    "vrfConfig": {"default": {"holdTime": 100, "szTimeout": 900, "crpFilterAcl": ["A", "C", "D"],
      "mixedFragments": "stop", "limits": {"rps": 7, "keptBytes": 70000},
      "bsrCandidateConfig": {
        "a": {"group": {"239.1.0.0/16": {"priority": 1, "hashMaskLen": 10, "interval": 21}},
              "acl": {"A": {"priority": 2, "hashMaskLen": 11, "interval": 22},
                      "B": {"priority": 3, "hashMaskLen": 12, "interval": 23}}},
        "b": {"acl": {"C": {"priority": 5}}}},
      "rpCandidateConfig": {
        "a": {"groupRange": {"239.1.0.0/16": {"priority": 1}, "226.1.0.0/16": {"priority": 7}},
              "acl": {"A": {"priority": 2}, "B": {"priority": 3}}, "mode": "bidir", "advInterval": 33}}}},
    "intfConfig": {"eth0": {"bsrBorderGrp": ["239.2.0.0/16"], "bsrBorderAcl": ["C"]}}})");
  box.apply(file);
  box.own.start();
  Json status = toJson(box.status("default"));
  Json &prefixes = status["crp"]["10.1.0.1"]["prefixSet"];
  std::sort(prefixes.begin(), prefixes.end());
  const Json want = Json::parse(R"({"bsTimeout": 100, "szTimeout": 1000, "mixedFragments": "stop",
    "limits": "rps=7 zones=1000 ranges=4096 collectedRps=10000 rangesPerRp=1000 keptBytes=70000 openBytes=4194304 neighbors=256",
    "bsBorder": {"224.0.0.0/4": {"intfId": ["eth0"]}, "239.2.0.0/16": {"intfId": ["eth0"]}},
    "cbsr": {"224.0.0.0/4": {"address": "10.1.0.2", "intfId": "b", "priority": 5, "hashMaskLen": 30, "bsPeriod": 60},
             "225.1.0.0/16": {"address": "10.1.0.1", "intfId": "a", "priority": 3, "hashMaskLen": 12, "bsPeriod": 23},
             "239.1.0.0/16": {"address": "10.1.0.1", "intfId": "a", "priority": 3, "hashMaskLen": 12, "bsPeriod": 23}},
    "crp": {"10.1.0.1": {"intfId": "a", "mode": "bidir", "interval": 33,
      "prefixSet": ["225.1.0.0/16", "226.1.0.0/16", "239.1.0.0/16"],
      "prefixOptions": {"225.1.0.0/16": {"priority": 3}, "226.1.0.0/16": {"priority": 7},
                        "239.1.0.0/16": {"priority": 3}}}},
    "crpPermit": {"0.0.0.0/0": true, "10.0.0.0/8": true},
    "zoneAcl": {"A": "a", "B": "a", "C": "b"}, "zoneGroup": {"239.1.0.0/16": "a"}})");
  Json patched = status;
  patched.merge_patch(want);
  EXPECT_EQ(patched, status) << status;
  const Lines before = box.configured();
  for (const char *role : {"bsrCandidateConfig", "rpCandidateConfig"}) {
    Json &candidate = file["vrfConfig"]["default"][role]["a"];
    candidate[role[0] == 'b' ? "group" : "groupRange"]["239.1.0.0/16"]["priority"] = 8;
    candidate["acl"]["A"]["priority"] = 9;
  }
  file["vrfConfig"]["default"]["crpFilterAcl"] = {"C", "D"};
  box.apply(file);
  EXPECT_EQ(difference(box.configured(), before), "");
  for (const char *name : {"bsBorder", "cbsr", "crp", "crpPermit"}) EXPECT_EQ(status[name].size(), want[name].size());
}

TEST(ConfigApply, ANeighborKeepsBsrAndRpWhileTheirSourcesMove) {
  const std::string zone = "239.1.0.0/16", other = "239.2.0.0/16";
  const struct {
    Said before, after;
  } moves[] = {
      {{{}, {""}}, {{{"A", zone}}, {"A"}}},
      {{{{"A", zone}}, {"A"}}, {{}, {""}}},
      {{{{"A", zone}}, {"A"}}, {{{"B", zone}}, {"B"}}},
      {{{{"B", zone}}, {"B"}}, {{{"A", zone}}, {"A"}}},
      {{{{"B", zone}}, {"B"}}, {{{"A", zone}, {"B", other}}, {"A"}}},
      {{{{"B", zone}}, {"B"}}, {{{"A", zone}, {"B", other}}, {"A", "B"}}},
      {{{{"A", zone}}, {"A"}}, {{{"A", other}, {"B", zone}}, {"B"}}},
      {{{{"A", zone}, {"B", other}}, {"A", "B"}}, {{{"A", other}, {"B", zone}}, {"A", "B"}}},
      {{{{"A", other}, {"B", zone}}, {"A", "B"}}, {{{"A", zone}, {"B", other}}, {"A", "B"}}},
      {{{{"A", zone}}, {"A"}, 10}, {{{"A", other}, {"B", zone}}, {"A", "B"}, 20}},
      {{{{"A", other}}, {"A", ""}, 10}, {{{"A", zone}}, {"A"}, 20}},
      {{{{"A", "any"}}, {"A"}}, {{{"A", "224.0.0.0/4"}}, {"A"}}},
      {{{{"A", "224.0.0.0/3"}}, {"A"}}, {{{"B", "any"}}, {"B"}}},
  };
  for (const auto &[before, after] : moves) {
    const bool all = before.acls.contains("A") && !before.acls.at("A").starts_with("239.");
    const auto prefix = Pax::IpGenPrefix::fromText(all ? "224.0.0.0/4" : zone);
    Box box(Pax::AddressFamily::ipv4);
    box.apply(fileOf(zone, before));
    const Pax::IpGenAddr us = box.address("default", 1);
    const auto known = [&] {
      const auto bsr = box.other.status().bootstrapRouter(prefix);
      const auto rps = box.other.rpSet().crpSet(prefix);
      return bsr && bsr->ipAddr() == us && bsr->priority() != 0 && rps && rps->rp(us);
    };
    const std::string move = fileOf(zone, before).dump() + " -> " + fileOf(zone, after).dump();
    auto &time = box.network.time();
    EXPECT_TRUE(time.runUntil(known, time.now() + 100)) << move;
    box.apply(fileOf(zone, after));
    EXPECT_FALSE(time.runUntil([&] { return !known(); }, time.now() + 400)) << move;
  }
}

TEST(ConfigApply, StatusIsThatOfAFreshStartAndNothingThatStaysSaysGoodbye) {
  for (const Addresses &addresses : {ipv4, ipv6}) {
    for (uint32_t seed = 1; seed <= 8; ++seed) {
      const std::string wrong = life(addresses, seed + (addresses.ipv4() ? 0 : 100));
      EXPECT_TRUE(wrong.empty()) << wrong;
    }
  }
}

}  // namespace
}  // namespace Routing::Pim::Bsr
