// A reload while the protocol runs: what is edited reaches every router, and nothing else moves.
#include <gtest/gtest.h>

#include "sim/Agreement.h"
#include "tests/sim/Story.h"

namespace Test {
namespace {

namespace Packet = Routing::Pim::Packet;

const std::vector<std::string> names{"r0", "r1", "r2", "r3", "r4"};
const Pax::IntfId loopback(L3::defaultVrf, "lo");

/// Two candidate BSRs of all groups, one of a scope, and three candidate RPs in a row of routers. No
/// priority is 0.
class Row {
 public:
  explicit Row(const Addresses &addresses) : story(addresses), global(addresses.global()), scope(addresses.scope(5)) {
    story.chain(names, {1500});
    story.host("r0").candidateBsrIs(global, 64);
    story.host("r4").candidateBsrIs(global, 50);
    story.host("r3").candidateBsrIs(scope, 30);
    story.host("r1").candidateRpIs(shared, 192);
    story.host("r2").candidateRpIs(shared, 10);
    story.host("r2").candidateRpIs(addresses.group(2), 10);
    story.host("r4").candidateRpIs(addresses.inScope(5, 1), 7);
    story.start(names);
  }

  /// When each router learned each BSR and each RP.
  std::map<std::string, double> setupTimes() {
    std::map<std::string, double> times;
    for (const std::string &name : names) {
      for (const auto &[zone, bsr] : story.host(name).status().bootstrapRouter()) {
        times[text(name, zone, bsr->ipAddr())] = bsr->setupTime();
      }
      for (const auto &[zone, learned] : story.host(name).status().crpStatus()) {
        for (const auto &[group, set] : learned->status()->crpSet()) {
          for (const auto &[rp, known] : set->rp()) times[text(name, zone, group, rp)] = known->setupTime();
        }
      }
    }
    return times;
  }
  /// Of r2 in the shared range, at each router; 0 where it is not known or not published.
  std::vector<unsigned> priorities() {
    std::vector<unsigned> all;
    for (const std::string &name : names) {
      const auto set = story.host(name).rpSet().crpSet(shared);
      const auto rp = set ? set->rp(story.network.router("r2").address()) : nullptr;
      all.push_back(rp ? unsigned{rp->priority()} : 0);
    }
    return all;
  }
  /// From now on, counts the messages sent and notes those with priority 0.
  void watch() {
    for (const auto &link : story.network.links()) {
      link->tapIs([this](const Sim::Packet &packet) {
        const auto result = Packet::Codec(story.addresses.af).decode(packet.payload, packet.source, packet.destination);
        if (const auto *bsm = dynamic_cast<const Packet::BootstrapMessage *>(result.message.get())) {
          ++messages;
          if (bsm->priority() == 0) ++unset;
        } else if (const auto *crp = dynamic_cast<const Packet::CrpAdvMessage *>(result.message.get())) {
          ++advertisements;
          if (crp->priority() == 0) ++unset;
        }
      });
    }
  }

  Story story;
  const Pax::IpGenPrefix global, scope;
  const Pax::IpGenPrefix shared = story.addresses.group(1);
  size_t messages = 0, advertisements = 0, unset = 0;

 private:
  template <class... Parts>
  static std::string text(const Parts &...parts) {
    std::ostringstream out;
    ((out << parts << ' '), ...);
    return out.str();
  }
};

TEST(Reload, AnRpsNewPriorityReachesAllAndNothingElseMoves) {
  for (const Addresses &addresses : {ipv4, ipv6}) {
    Row row(addresses);
    const size_t whole = names.size() * (2 + 4);  // two BSRs, and four RPs in their ranges
    ASSERT_TRUE(row.story.within(200, [&] { return row.setupTimes().size() == whole; }));
    row.story.within(200, [] { return false; });
    const auto before = row.setupTimes();
    ASSERT_EQ(before.size(), whole);
    ASSERT_EQ(row.priorities(), std::vector<unsigned>(names.size(), 10));

    row.watch();
    row.story.host("r2").config().rpCandidateConfig(loopback)->groupRangeOptions(row.shared)->priorityIs(20);
    bool gone = false;
    // The advertisement is sent within 3 s, and the BSR tells with its next message.
    EXPECT_TRUE(row.story.within(63, [&] {
      const std::vector<unsigned> now = row.priorities();
      gone |= std::count(now.begin(), now.end(), 0) > 0;
      return now == std::vector<unsigned>(names.size(), 20);
    }));
    EXPECT_FALSE(gone) << "the RP itself went out of use";
    row.story.within(300, [] { return false; });
    EXPECT_EQ(row.priorities(), std::vector<unsigned>(names.size(), 20));
    EXPECT_EQ(row.setupTimes(), before);
    EXPECT_GT(row.messages, 0u);
    EXPECT_GT(row.advertisements, 0u);
    EXPECT_EQ(row.unset, 0u);
  }
}

}  // namespace
}  // namespace Test
