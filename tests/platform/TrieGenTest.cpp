#include "platform/routing/TrieGen.h"

#include <gtest/gtest.h>

#include <random>
#include <set>

namespace {

using Pax::AddressFamily;
using Pax::IpGenAddr;
using Pax::IpGenPrefix;

struct Listener : Routing::TrieGen::Notifiee {
  explicit Listener(const Kiv::Ptr<Routing::TrieGen> &trie) { notifierIs(trie); }
  void onRoute(const IpGenPrefix &prefix) override { told.push_back(prefix); }
  std::vector<IpGenPrefix> told;
};

// Short ones, and such as share long beginnings.
IpGenPrefix anyPrefix(std::mt19937 &random, AddressFamily family) {
  const uint64_t high =
      (uint64_t{random()} << 32 | random()) & (random() % 2 ? 0x8000000000000003 : 0xf00000ff0000f0ff);
  const uint64_t low = uint64_t{random()} << 62 | (random() & 7);
  const auto length = static_cast<uint8_t>(random() % (Pax::addressBits(family) + 1));
  return family == AddressFamily::ipv4 ? IpGenPrefix(IpGenAddr::v4(static_cast<uint32_t>(high >> 32 | high)), length)
                                       : IpGenPrefix(IpGenAddr::v6(high, low), length);
}

TEST(TrieGen, AgreesWithASearchThroughAllPrefixesAndTellsOfRealChanges) {
  const unsigned seed = std::random_device()();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(seed);
  for (const AddressFamily family : {AddressFamily::ipv4, AddressFamily::ipv6}) {
    const auto trie = Kiv::make<Routing::TrieGen>("test", family);
    Listener listener(trie);
    std::set<IpGenPrefix> model;
    const auto any = [&] {  // of the other family now and then, or none
      const bool isOther = random() % 8 == 0;
      const auto other = family == AddressFamily::ipv4 ? AddressFamily::ipv6 : AddressFamily::ipv4;
      return random() % 50 == 0 ? IpGenPrefix() : anyPrefix(random, isOther ? other : family);
    };
    const auto longest = [&](const IpGenPrefix &asked, int most) {
      IpGenPrefix best;
      for (const IpGenPrefix &each : model) {
        if (each.covers(asked) && each.length() <= most && (best.isEmpty() || each.length() > best.length()))
          best = each;
      }
      return best;
    };
    for (int round = 0; round < 6000; ++round) {
      const bool filling = round / 1500 % 2 == 0;
      const IpGenPrefix given = any();
      const bool adds = random() % 4 != 0 == filling;
      const bool isThere = !adds && !model.empty() && random() % 8 != 0;
      const IpGenPrefix changed = isThere ? *std::next(model.begin(), random() % model.size()) : given;
      const uint64_t before = trie->version();
      const bool changes = changed.af() == family && (adds ? model.insert(changed).second : model.erase(changed) > 0);
      adds ? trie->routeIs(changed) : trie->routeDel(changed);
      ASSERT_EQ(trie->version() - before, changes ? 1 : 0);
      ASSERT_EQ(std::exchange(listener.told, {}), std::vector<IpGenPrefix>(changes, changed));
      const IpGenPrefix asked = any();
      ASSERT_EQ(trie->size(), model.size());
      ASSERT_EQ(trie->longestMatch(asked), longest(asked, 128)) << asked;
      ASSERT_EQ(trie->findParent(asked), longest(asked, asked.length() - 1)) << asked;
      ASSERT_EQ(trie->route(asked), model.contains(asked)) << asked;
      trie->changedRouteIs(asked);
      ASSERT_EQ(std::exchange(listener.told, {}), std::vector<IpGenPrefix>(model.contains(asked), asked));
      if (round % 100 == 0) ASSERT_EQ(trie->routes(), std::vector(model.begin(), model.end()));
    }
    for (const IpGenPrefix &each : trie->routes()) trie->routeDel(each);
    EXPECT_TRUE(trie->routes().empty());
  }
}

}  // namespace
