#include "platform/pim/RpHash.h"

#include <gtest/gtest.h>

namespace {

using namespace Routing::Pim;

// The values were computed with numbers of any size, by the formula of RFC 7761 section 4.7.2.
TEST(RpHash, IsWhatEveryRouterComputes) {
  const struct {
    const char *group;
    const char *rp;
    uint32_t hash;
    uint8_t hashMaskLen;
  } cases[] = {
      {"225.1.2.3", "10.0.0.1", 749967889, 30},
      {"225.1.2.3", "10.0.0.2", 1913029976, 30},
      {"225.1.2.4", "10.0.0.1", 54395829, 30},
      {"239.255.255.255", "192.168.255.254", 396969859, 126},
      {"224.1.1.1", "10.0.0.1", 1410713617, 0},
      {"ff3e::1:2:3", "2001:db8::1", 1469425260, 126},
      {"ff0e:1:2:3:4:5:6:7", "2001:db8:aaaa:bbbb:cccc:dddd:eeee:ffff", 15228529, 128},
      {"ff0e:1:2:3:4:5:6:7", "2001:db8:aaaa:bbbb:cccc:dddd:eeee:ffff", 1963746947, 64},
  };
  const auto address = Pax::IpGenAddr::fromText;
  for (const auto &[group, rp, hash, hashMaskLen] : cases) {
    EXPECT_EQ(rpHash(address(group), hashMaskLen, address(rp)), hash) << group << '/' << +hashMaskLen;
  }
}

}  // namespace
