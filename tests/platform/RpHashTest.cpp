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

}  // namespace
