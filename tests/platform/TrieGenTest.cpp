#include "platform/routing/TrieGen.h"

#include <gtest/gtest.h>

#include <random>
#include <set>

namespace {

using Pax::AddressFamily;
using Pax::IpGenAddr;
using Pax::IpGenPrefix;

IpGenPrefix prefix(const char *text) { return IpGenPrefix::fromText(text); }

struct Listener : Routing::TrieGen::Notifiee {
  explicit Listener(const Kiv::Ptr<Routing::TrieGen> &trie) { notifierIs(trie); }
  void onRoute(const IpGenPrefix &prefix) override { told.push_back(prefix); }
  std::vector<IpGenPrefix> told;
};

TEST(TrieGen, TellsItsReadersOfRealChangesOnly) {
  const auto trie = Kiv::make<Routing::TrieGen>("test", AddressFamily::ipv4);
  Listener listener(trie);
  const IpGenPrefix one = prefix("239.0.0.0/8"), other = prefix("239.0.0.0/9");
  trie->changedRouteIs(one);
  trie->routeDel(one);
  trie->routeIs(prefix("ff00::/8"));
  EXPECT_TRUE(listener.told.empty());
  EXPECT_EQ(trie->version(), 0u);
  trie->routeIs(one);
  trie->routeIs(one);
  trie->changedRouteIs(one);
  trie->changedRouteIs(other);
  trie->routeDel(other);
  EXPECT_EQ(trie->version(), 1u);
  trie->routeDel(one);
  trie->routeDel(one);
  EXPECT_EQ(listener.told, (std::vector{one, one, one}));
  EXPECT_EQ(trie->version(), 2u);
  EXPECT_EQ(trie->size(), 0u);
}

/// Short ones, and such as share long beginnings.
IpGenPrefix anyPrefix(std::mt19937 &random, AddressFamily family) {
  const uint64_t high =
      (uint64_t{random()} << 32 | random()) & (random() % 2 ? 0x8000000000000003 : 0xf00000ff0000f0ff);
  const uint64_t low = uint64_t{random()} << 62 | (random() & 7);
  const auto length = static_cast<uint8_t>(random() % (Pax::addressBits(family) + 1));
  return family == AddressFamily::ipv4 ? IpGenPrefix(IpGenAddr::v4(static_cast<uint32_t>(high >> 32 | high)), length)
                                       : IpGenPrefix(IpGenAddr::v6(high, low), length);
}

TEST(TrieGen, AgreesWithASearchThroughAllPrefixes) {
  const unsigned seed = std::random_device()();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(seed);
  for (const AddressFamily family : {AddressFamily::ipv4, AddressFamily::ipv6}) {
    Routing::TrieGen trie("test", family);
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
      const IpGenPrefix changed = any();
      if (random() % 4 != 0 == filling) {
        trie.routeIs(changed);
        if (changed.af() == family) model.insert(changed);
      } else if (!model.empty()) {
        const IpGenPrefix gone = random() % 8 ? *std::next(model.begin(), random() % model.size()) : changed;
        trie.routeDel(gone);
        model.erase(gone);
      }
      const IpGenPrefix asked = any();
      ASSERT_EQ(trie.size(), model.size());
      ASSERT_EQ(trie.longestMatch(asked), longest(asked, 128)) << asked;
      ASSERT_EQ(trie.findParent(asked), longest(asked, asked.length() - 1)) << asked;
      ASSERT_EQ(trie.route(asked), model.contains(asked)) << asked;
      if (round % 100 == 0) ASSERT_EQ(trie.routes(), std::vector(model.begin(), model.end()));
    }
    for (const IpGenPrefix &each : trie.routes()) trie.routeDel(each);
    EXPECT_TRUE(trie.routes().empty());
  }
}

}  // namespace
