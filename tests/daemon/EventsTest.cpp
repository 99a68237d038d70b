#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "daemon/EventLines.h"
#include "daemon/control/Nouns.h"
#include "daemon/file/ConfigFile.h"
#include "daemon/file/Difference.h"
#include "view/Drops.h"

namespace Routing::Pim::Bsr {
namespace {

TEST(Events, AreLinesWithTheTimeOrForTheJournal) {
  Event event{.kind = EventKind::bsrTimedOut, .severity = Severity::warning};
  event.time = 1714566896.789;
  event.text = "BSR \x1b[31m10.0.0.1\ntimed out \xc3\xa4";
  EXPECT_EQ(EventLines::lineOf(event, false), "2024-05-01T12:34:56.789Z warning BSR ?[31m10.0.0.1?timed out \xc3\xa4");
  EXPECT_EQ(EventLines::lineOf(event, true), "<4>BSR ?[31m10.0.0.1?timed out \xc3\xa4");
}

TEST(Events, TellInNumbersWhatAConfigurationChanges) {
  const auto configuration = [](const std::string &text) {
    const auto loaded = configurationFromText(text, Pax::AddressFamily::ipv4);
    EXPECT_TRUE(loaded.good()) << text;
    return loaded.configuration;
  };
  const auto first = configuration(R"({"pim": {"default": {"interfaces": ["eth0"]}, "red": {}},
      "vrfConfig": {"default": {"bsrCandidateConfig": {"lo": {"group": {"224.0.0.0/4": {}}}},
                                "rpCandidateConfig": {"lo": {"groupRange": {"225.0.0.0/8": {}}}}}},
      "acl": {"A": [], "B": []}})");
  const auto second = configuration(R"({"pim": {"default": {"interfaces": ["eth0", "eth1"]}, "blue": {}},
      "vrfConfig": {"default": {"bsrCandidateConfig": {"lo": {"group": {"224.0.0.0/4": {"priority": 9}}}},
                                "crpFilterAcl": ["A"]}},
      "intfConfig": {"eth0": {"bsrBorderGrp": ["239.0.0.0/8"]}, "eth1": {"bsrBorderGrp": ["239.0.0.0/8"]}},
      "acl": {"A": [{"permit": "any"}]}})");
  EXPECT_EQ(differenceOf(first, second),
            "1 VRF added, 1 VRF removed, 1 VRF changed, 1 VRF's settings changed, 1 candidate BSR changed, "
            "1 candidate RP removed, 2 interfaces with borders added, 1 ACL removed, 1 ACL changed");
  EXPECT_EQ(differenceOf(second, second), "nothing changed");
}

TEST(Drops, AreRowsOfTheirNounAndTheOneCountedLongestAgoGoes) {
  Drops drops;
  const auto key = [](uint32_t n) {
    return Drops::Key{.vrf = n % 2 == 0 ? "default" : "blue",
                      .intfId = {"default", "eth0"},
                      .neighbor = Pax::IpGenAddr::v4(n + 1),
                      .reason = IO::Refusal::rpfNeighbor};
  };
  for (uint32_t n = 0; n < Drops::most; ++n) drops.add(key(n), 1000 + n);
  drops.add(key(0), 3000);
  drops.add(key(Drops::most), 3000.5);
  const Rows rows = dropRows(drops, "", 3001);
  ASSERT_EQ(rows.size(), Drops::most);
  EXPECT_EQ(rows[1].dump(),
            R"({"vrf":"default","interface":"eth0","neighbor":"0.0.0.1","reason":"rpfNeighbor","bsr":null,"count":2,)"
            R"("last":1.0,"echo":false})");
  EXPECT_EQ(rows.back()["neighbor"], "0.0.0.3") << "the second one went";
  std::vector<std::string> names, columns;
  for (const auto &member : rows[0].items()) names.push_back(member.key());
  for (const Control::Column &column : Control::nounOf("drops")->columns) columns.emplace_back(column.name);
  EXPECT_EQ(names, columns);
  drops.clear("blue");
  EXPECT_EQ(dropRows(drops, "blue", 3001).size(), 0u);
  EXPECT_EQ(dropRows(drops, "default", 3001).size(), 501u);
}

}  // namespace
}  // namespace Routing::Pim::Bsr
