#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>

#include "platform/acl/AclToPrefix.h"
#include "tests/support/Addresses.h"

namespace {

using AclPrefix::permittedPrefixes;
using Pax::IpGenAddr;
using Pax::IpGenPrefix;

// An address like `address` in its first `same` bits, and in all others when it is `flipped` there.
IpGenAddr near(const IpGenAddr &address, unsigned same, bool flipped) {
  auto bytes = address.bytes();
  const unsigned bits = Pax::addressBits(address.af());
  if (same < bits) bytes[same / 8] ^= static_cast<uint8_t>(0x80 >> same % 8);
  for (unsigned bit = same + 1; flipped && bit < bits; ++bit) bytes[bit / 8] ^= static_cast<uint8_t>(0x80 >> bit % 8);
  return IpGenAddr::fromBytes(std::span(bytes).first(bits / 8));
}

// Rules of both families whose bases are all zero, all one or in between, so that they meet and overlap
// at every length.
std::vector<Acl::IpRule> anyRules(std::mt19937 &random) {
  std::vector<Acl::IpRule> rules;
  for (const ::Test::Addresses &addresses : {::Test::ipv4, ::Test::ipv6}) {
    const unsigned bits = Pax::addressBits(addresses.af);
    IpGenAddr base = random() % 2 ? addresses.host(random()) : IpGenPrefix(addresses.host(0), 0).address();
    for (unsigned i = 0; i < 12; ++i) {
      base = near(base, random() % bits, random() % 2);
      rules.push_back({random() % 2 ? Acl::Action::permit : Acl::Action::deny,
                       {IpGenPrefix(base, static_cast<uint8_t>(random() % (bits + 1)))}});
    }
  }
  return rules;
}

TEST(AclToPrefix, TheFirstRuleDecidesEveryAddressInAsFewPrefixesAsCanBe) {
  for (uint32_t seed = 1; seed <= 200; ++seed) {
    std::mt19937 random(seed);
    const auto config = Kiv::make<Acl::AclConfig>("acl");
    EXPECT_TRUE(permittedPrefixes(*config, Pax::AddressFamily::ipv4).empty());
    config->currCfgIs(Kiv::make<Acl::AclSubConfig>());
    std::map<uint32_t, Acl::IpRule> rules;
    for (const Acl::IpRule &rule : anyRules(random)) {
      const uint32_t sequence = random();  // only it counts, not who comes first
      rules[sequence] = rule;
      config->currCfg()->ruleBySequenceIs(sequence, rule);
    }
    const auto permitted4 = permittedPrefixes(*config, Pax::AddressFamily::ipv4);
    const auto permitted6 = permittedPrefixes(*config, Pax::AddressFamily::ipv6);
    for (const auto &permitted : {permitted4, permitted6}) {
      EXPECT_TRUE(std::ranges::is_sorted(permitted));
      for (const IpGenPrefix &prefix : permitted) {
        const IpGenPrefix twin(near(prefix.address(), prefix.length() - 1u, false), prefix.length());
        if (prefix.length() > 0) EXPECT_EQ(std::ranges::count(permitted, twin), 0) << "would be one with " << prefix;
      }
    }
    for (const auto &[sequence, rule] : rules) {
      const IpGenAddr &base = rule.filter.source.address();
      for (unsigned sample = 0; sample < 20; ++sample) {
        const IpGenPrefix host =
            IpGenPrefix::host(near(base, random() % (Pax::addressBits(base.af()) + 1), sample % 2));
        const auto first =
            std::ranges::find_if(rules, [&](const auto &each) { return each.second.filter.source.covers(host); });
        const auto &permitted = base.af() == Pax::AddressFamily::ipv4 ? permitted4 : permitted6;
        const auto holding =
            std::ranges::count_if(permitted, [&](const IpGenPrefix &prefix) { return prefix.covers(host); });
        ASSERT_EQ(holding, first != rules.end() && first->second.action == Acl::Action::permit)
            << host << " seed " << seed << ": " << testing::PrintToString(permitted);
      }
    }
  }
}

}  // namespace
