#include "daemon/show/Show.h"

#include <gtest/gtest.h>

#include "daemon/control/Nouns.h"
#include "tests/support/TestVrf.h"

namespace Routing::Pim::Bsr {
namespace {

using ::Test::Addresses;
using ::Test::Bsm;
using ::Test::ipv4;
using ::Test::ipv6;
using ::Test::TestVrf;

VrfView viewOf(const TestVrf &vrf) {
  return {"default",
          vrf.a.af,
          vrf.time.now(),
          vrf.status,
          vrf.pimStatus,
          vrf.sm ? &vrf.sm->bsrSm() : nullptr,
          &vrf.port->counters(),
          vrf.sm ? &vrf.sm->rpHashSm() : nullptr,
          vrf.sm ? &vrf.sm->bidirRpHashSm() : nullptr};
}

std::vector<std::string> namesOf(const Rows &row) {
  std::vector<std::string> names;
  for (const auto &member : row.items()) names.push_back(member.key());
  return names;
}

/// A VRF with a neighbour, a BSR of the global zone and RPs of two groups, learned 10 s ago.
void learn(TestVrf &vrf) {
  vrf.intfIs(1);
  vrf.hear(Bsm(vrf.a.host(1), 70)
               .group(vrf.a.group(2), {{vrf.a.host(20), 150, 5}, {vrf.a.host(3), 100, 192}})
               .group(vrf.a.group(1), {{vrf.a.host(9), 150, 0}}));
  vrf.time.advanceTo(vrf.time.now() + 10);
}

TEST(Show, RowsHaveTheColumnsOfTheirNounInOrder) {
  TestVrf vrf(ipv4);
  learn(vrf);
  for (const Control::Noun &noun : Control::nouns()) {
    if (std::string(noun.name) == "log") continue;  // has no rows by VRF
    const Rows rows = rowsOf(noun.name, {viewOf(vrf)}, *noun.operand ? "225.1.0.1" : "");
    ASSERT_FALSE(rows.empty()) << noun.name;
    std::vector<std::string> columns;
    for (const Control::Column &column : noun.columns) columns.push_back(column.name);
    std::vector<std::string> names = namesOf(rows[0]);
    if (noun.hasMore) names.erase(names.begin() + 1, names.end() - static_cast<long>(columns.size()) + 1);
    EXPECT_EQ(names, columns) << noun.name;
  }
  EXPECT_THROW(rowsOf("weather", {viewOf(vrf)}), std::invalid_argument);
}

TEST(Show, TheElectedBsrAndTheSortedRpSet) {
  for (const Addresses &a : {ipv4, ipv6}) {
    TestVrf vrf(a);
    EXPECT_EQ(rowsOf("bsr", {viewOf(vrf)}),
              Rows::parse(R"([{"vrf": "default", "zone": ")" + Kiv::toText(Kiv::toValue(a.global())) +
                          R"(", "address": null, "priority": null, "hashMaskLen": null, "state": "noInfo",
          "elected": false, "upTime": null, "expires": null}])"));
    learn(vrf);
    const Rows bsr = rowsOf("bsr", {viewOf(vrf)});
    ASSERT_EQ(bsr.size(), 1u);
    EXPECT_EQ(bsr[0]["address"], Kiv::toText(Kiv::toValue(a.host(1))));
    EXPECT_EQ(bsr[0]["priority"], 70);
    EXPECT_EQ(bsr[0]["state"], "acceptPreferred");
    EXPECT_EQ(bsr[0]["upTime"], 10);
    EXPECT_EQ(bsr[0]["expires"], 120);

    std::vector<std::string> rps;
    for (const Rows &row : rowsOf("rp-set", {viewOf(vrf)})) {
      rps.push_back(row["rp"].get<std::string>() + " " + row["priority"].dump() + " " + row["expires"].dump() + " " +
                    row["published"].dump());
    }
    const auto text = [&](uint32_t host) { return Kiv::toText(Kiv::toValue(a.host(host))); };
    EXPECT_EQ(rps, (std::vector<std::string>{text(9) + " 0 140.0 true", text(3) + " 192 90.0 true",
                                             text(20) + " 5 140.0 true"}));
  }
}

TEST(Show, AnRpThatAnInnerZoneHidesIsNotPublished) {
  TestVrf vrf(ipv4);
  vrf.intfIs(1);
  vrf.hear(Bsm(vrf.a.host(1)).group(vrf.a.inScope(1, 1), {{vrf.a.host(9), 150, 0}}));
  EXPECT_EQ(rowsOf("rp-set", {viewOf(vrf)})[0]["published"], true);
  vrf.hear(Bsm(vrf.a.host(2)).scope(vrf.a.scope(1)));
  EXPECT_EQ(rowsOf("bsr", {viewOf(vrf)}).size(), 2u);
  EXPECT_EQ(rowsOf("rp-set", {viewOf(vrf)})[0]["published"], false);
}

TEST(Show, TheRpOfAGroupComesFromTheZoneThatDecidesForIt) {
  TestVrf vrf(ipv4);
  vrf.intfIs(1);
  vrf.hear(Bsm(vrf.a.host(1))
               .group(vrf.a.group(1), {{vrf.a.host(1), 150, 0}, {vrf.a.host(2), 150, 0}, {vrf.a.host(3), 150, 9}})
               .group(vrf.a.group(2), {{vrf.a.host(4), 150, 0}})
               .bidir()
               .group(vrf.a.global(), {{vrf.a.host(9), 150, 0}}));
  vrf.hear(Bsm(vrf.a.host(8)).scope(vrf.a.scope(1)).group(vrf.a.inScope(1, 1), {{vrf.a.host(5), 150, 0}}));
  EXPECT_EQ(rowsOf("rp", {viewOf(vrf)}, "225.1.2.3"),
            Rows::parse(R"([{"vrf": "default", "group": "225.1.2.3", "zone": "224.0.0.0/4", "bsr": "10.0.0.1",
      "prefix": "225.1.0.0/16", "rp": "10.0.0.2", "mode": "sparsemode", "priority": 0, "hash": 1913029976, "candidates":
      [{"rp": "10.0.0.2", "priority": 0, "hash": 1913029976}, {"rp": "10.0.0.1", "priority": 0, "hash": 749967889},
       {"rp": "10.0.0.3", "priority": 9, "hash": 809514731}]}])"));
  const struct {
    const char *group, *answer;
  } cases[] = {
      {"225.2.0.1", "225.2.0.0/16 bidir 10.0.0.4 of 10.0.0.1 in 224.0.0.0/4"},
      {"238.0.0.1", "224.0.0.0/4 sparsemode 10.0.0.9 of 10.0.0.1 in 224.0.0.0/4"},
      {"239.1.1.1", "239.1.1.0/24 sparsemode 10.0.0.5 of 10.0.0.8 in 239.1.0.0/16"},
      {"239.1.2.1", ""},
  };
  for (const auto &c : cases) {
    std::string answer;
    for (const Rows &row : rowsOf("rp", {viewOf(vrf)}, c.group)) {
      const auto text = [&](const char *name) { return row[name].get<std::string>(); };
      answer += text("prefix") + " " + text("mode") + " " + text("rp") + " of " + text("bsr") + " in " + text("zone");
    }
    EXPECT_EQ(answer, c.answer) << c.group;
  }
  for (const char *bad : {"", "225.1.0.0/16", "10.0.0.1", "ff0e::1", "rp"}) {
    EXPECT_THROW(rowsOf("rp", {viewOf(vrf)}, bad), std::invalid_argument) << bad;
  }
  EXPECT_THROW(rowsOf("bsr", {viewOf(vrf)}, "225.1.0.1"), std::invalid_argument);
  vrf.stop();
  EXPECT_TRUE(rowsOf("rp", {viewOf(vrf)}, "225.1.2.3").empty());
}

}  // namespace
}  // namespace Routing::Pim::Bsr
