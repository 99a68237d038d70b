#include "platform/pim/RpHash.h"

#include <gtest/gtest.h>

namespace {

using namespace Routing::Pim;

Pax::IpGenAddr address(const char *text) { return Pax::IpGenAddr::fromText(text); }

// The values were computed with numbers of any size, by the formula of RFC 7761 section 4.7.2.
TEST(RpHash, IsWhatEveryRouterComputes) {
  const struct {
    const char *group;
    uint8_t hashMaskLen;
    const char *rp;
    uint32_t hash;
  } cases[] = {
      {"225.1.2.3", 30, "10.0.0.1", 749967889},
      {"225.1.2.3", 30, "10.0.0.2", 1913029976},
      {"225.1.2.0", 30, "10.0.0.1", 749967889},
      {"225.1.2.4", 30, "10.0.0.1", 54395829},
      {"239.255.255.255", 32, "192.168.255.254", 396969859},
      {"239.255.255.255", 126, "192.168.255.254", 396969859},
      {"224.1.1.1", 0, "10.0.0.1", 1410713617},
      {"232.0.0.0", 4, "255.255.255.254", 1277446644},
      {"ff3e::1:2:3", 126, "2001:db8::1", 1469425260},
      {"ff3e::1:2:0", 126, "2001:db8::1", 1469425260},
      {"ff0e:1:2:3:4:5:6:7", 128, "2001:db8:aaaa:bbbb:cccc:dddd:eeee:ffff", 15228529},
      {"ff0e:1:2:3:4:5:6:7", 64, "2001:db8:aaaa:bbbb:cccc:dddd:eeee:ffff", 1963746947},
      {"ff0e::", 0, "::1", 303417361},
  };
  for (const auto &c : cases) {
    EXPECT_EQ(rpHash(address(c.group), c.hashMaskLen, address(c.rp)), c.hash) << c.group << '/' << +c.hashMaskLen;
  }
}

TEST(RpHash, LongestPrefixThenLowestPriorityThenHighestHash) {
  const auto published = Kiv::make<RpCandidateStatus>("");
  const auto rpIs = [&](const char *prefix, const char *rp, RpPriority priority, Mode mode, uint64_t hashMaskLen = 30) {
    const auto entry = published->crpSetIs(Pax::IpGenPrefix::fromText(prefix))->rpIs(address(rp));
    entry->priorityIs(priority);
    entry->pimModeIs(mode);
    entry->hashMaskLenIs(hashMaskLen);
  };
  for (const char *rp : {"10.0.0.1", "10.0.0.2"}) rpIs("224.0.0.0/4", rp, 192, Mode::sparse);
  rpIs("225.0.0.0/8", "10.0.0.2", 10, Mode::sparse);
  for (const char *rp : {"10.0.0.1", "10.0.0.3"}) rpIs("225.0.0.0/8", rp, 5, Mode::sparse);
  rpIs("225.0.0.0/8", "10.0.0.4", 20, Mode::bidir);
  rpIs("226.1.1.1/32", "10.0.0.9", 1, Mode::bidir);
  // A mask of no bits and addresses that differ in the top bit only: one hash, in 31 bits.
  for (const char *rp : {"10.0.0.1", "138.0.0.1"}) rpIs("227.0.0.0/8", rp, 5, Mode::sparse, 0);
  published->crpSetIs(Pax::IpGenPrefix::fromText("239.1.0.0/16"));  // a scope without an RP

  const RpHashSm sparse(published, Mode::sparse), bidir(published, Mode::bidir);
  const struct {
    const char *what, *group, *sparse, *bidir;
  } cases[] = {
      {"the highest hash of the lowest priority", "225.1.2.3", "10.0.0.3", "10.0.0.4"},
      {"another group hashes to another RP", "224.1.1.5", "10.0.0.1", nullptr},
      {"next to a longer prefix", "226.1.1.2", "10.0.0.1", nullptr},
      {"the longest prefix decides the mode", "226.1.1.1", nullptr, "10.0.0.9"},
      {"equal hashes, the highest address", "227.1.1.1", "138.0.0.1", nullptr},
      {"a scope does not fall back", "239.1.2.3", nullptr, nullptr},
      {"not published", "10.0.0.1", nullptr, nullptr},
      {"of the other family", "ff0e::1", nullptr, nullptr},
  };
  for (const auto &c : cases) {
    const auto check = [&](const RpHashSm &machine, const char *expected) {
      const auto answer = machine.rpOf(address(c.group));
      ASSERT_EQ(bool(answer), expected != nullptr) << c.what;
      if (answer) EXPECT_EQ(answer->best().rp, address(expected)) << c.what << ' ' << answer->prefix;
    };
    check(sparse, c.sparse);
    check(bidir, c.bidir);
  }
  const auto answer = sparse.rpOf(address("225.1.2.3"));
  EXPECT_EQ(answer->prefix, Pax::IpGenPrefix::fromText("225.0.0.0/8"));
  EXPECT_EQ(answer->candidates, (std::vector<RpHashSm::Candidate>{{address("10.0.0.3"), 5, 809514731},
                                                                  {address("10.0.0.1"), 5, 749967889},
                                                                  {address("10.0.0.2"), 10, 1913029976}}));
}

}  // namespace
