#include <gtest/gtest.h>

#include <random>

#include "platform/acl/AclToPrefix.h"
#include "tests/support/Addresses.h"

namespace {

using AclPrefix::permittedPrefixes;
using Pax::IpGenAddr;
using Pax::IpGenPrefix;

std::string text(const std::vector<IpGenPrefix> &prefixes) {
  std::ostringstream out;
  for (const IpGenPrefix &prefix : prefixes) out << (out.tellp() > 0 ? " " : "") << prefix;
  return out.str();
}

/// An ACL from "+PREFIX" (permit) and "-PREFIX" (deny), one a word.
Kiv::Ptr<Acl::AclConfig> acl(const std::string &rules) {
  const auto config = Kiv::make<Acl::AclConfig>("acl");
  const auto current = Kiv::make<Acl::AclSubConfig>();
  config->currCfgIs(current);
  std::istringstream words(rules);
  // Later rules are inserted first: only the sequence numbers count.
  uint32_t sequence = 100;
  std::vector<Acl::IpRule> all;
  for (std::string word; words >> word;)
    all.push_back({word[0] == '+' ? Acl::Action::permit : Acl::Action::deny, {IpGenPrefix::fromText(word.substr(1))}});
  for (auto rule = all.rbegin(); rule != all.rend(); ++rule) current->ruleBySequenceIs(--sequence, *rule);
  return config;
}

TEST(AclToPrefix, RulesBecomeTheFewestPrefixesThatHoldWhatTheyPermit) {
  const struct {
    const char *rules, *ipv4, *ipv6;
  } cases[] = {
      {"", "", ""},
      {"+239.0.0.0/16 +239.1.0.0/16", "239.0.0.0/15", ""},
      {"+239.1.0.0/16 +239.2.0.0/16", "239.1.0.0/16 239.2.0.0/16", ""},
      {"-239.1.0.0/16 +239.0.0.0/14", "239.0.0.0/16 239.2.0.0/15", ""},
      {"+239.0.0.0/14 -239.1.0.0/16", "239.0.0.0/14", ""},
      {"+255.255.255.255/32 -255.255.255.255/32", "255.255.255.255/32", ""},
      {"-255.255.255.255/32 +255.255.255.254/31", "255.255.255.254/32", ""},
      {"+0.0.0.0/0 +::/0", "0.0.0.0/0", "::/0"},
      {"-ff00::/9 +ff00::/8", "", "ff80::/9"},
      {"+ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff/128 +::/128", "",
       "::/128 ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff/128"},
      {"-2001:db8::/64 +2001:db8::/63", "", "2001:db8:0:1::/64"},
  };
  for (const auto &[rules, ipv4, ipv6] : cases) {
    EXPECT_EQ(text(permittedPrefixes(*acl(rules), Pax::AddressFamily::ipv4)), ipv4) << rules;
    EXPECT_EQ(text(permittedPrefixes(*acl(rules), Pax::AddressFamily::ipv6)), ipv6) << rules;
  }
  EXPECT_EQ(text(permittedPrefixes(*Kiv::make<Acl::AclConfig>("none"), Pax::AddressFamily::ipv4)), "");
}

/// An address like `address` in its first `same` bits, and in all others when it is `flipped` there.
IpGenAddr near(const IpGenAddr &address, unsigned same, bool flipped) {
  auto bytes = address.bytes();
  const unsigned bits = Pax::addressBits(address.af());
  if (same < bits) bytes[same / 8] ^= static_cast<uint8_t>(0x80 >> same % 8);
  for (unsigned bit = same + 1; flipped && bit < bits; ++bit) bytes[bit / 8] ^= static_cast<uint8_t>(0x80 >> bit % 8);
  return IpGenAddr::fromBytes(std::span(bytes).first(bits / 8));
}

TEST(AclToPrefix, EveryAddressIsDecidedByTheFirstRuleThatCoversIt) {
  for (uint32_t seed = 1; seed <= 200; ++seed) {
    std::mt19937 random(seed);
    const ::Test::Addresses &addresses = seed % 2 ? ::Test::ipv4 : ::Test::ipv6;
    const unsigned bits = Pax::addressBits(addresses.af);
    AclPrefix::AclToPrefix converter(addresses.af);
    std::vector<Acl::IpRule> rules;
    // Bases whose bits are all zero, all one or in between, so that rules meet and overlap at every length.
    IpGenAddr base = random() % 2 ? addresses.host(random()) : IpGenPrefix(addresses.host(0), 0).address();
    for (unsigned i = 0; i < 12; ++i) {
      base = near(base, random() % bits, random() % 2);
      rules.push_back({random() % 2 ? Acl::Action::permit : Acl::Action::deny,
                       {IpGenPrefix(base, static_cast<uint8_t>(random() % (bits + 1)))}});
      converter.handleRule(rules.back());
    }
    const std::vector<IpGenPrefix> permitted = converter.PermittedPrefixes();
    for (const Acl::IpRule &rule : rules) {
      for (unsigned sample = 0; sample < 20; ++sample) {
        const IpGenPrefix host =
            IpGenPrefix::host(near(rule.filter.source.address(), random() % (bits + 1), sample % 2));
        const auto covers = [&](const Acl::IpRule &any) { return any.filter.source.covers(host); };
        const auto first = std::find_if(rules.begin(), rules.end(), covers);
        const auto holding = std::count_if(permitted.begin(), permitted.end(),
                                           [&](const IpGenPrefix &prefix) { return prefix.covers(host); });
        ASSERT_EQ(holding, first != rules.end() && first->action == Acl::Action::permit)
            << host << " seed " << seed << ": " << text(permitted);
      }
    }
  }
}

}  // namespace
