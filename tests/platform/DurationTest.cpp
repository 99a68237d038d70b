#include "platform/orb/Duration.h"

#include <gtest/gtest.h>

#include <limits>

namespace Orb {
namespace {

TEST(Duration, ReadsAsTwoUnitsAtMost) {
  const std::pair<double, const char *> cases[] = {
      {-1, "0s"},
      {0, "0s"},
      {0.0004, "0s"},
      {0.25, "250ms"},
      {1, "1s"},
      {59.999, "59s"},
      {60, "1m00s"},
      {123.4, "2m03s"},
      {3599.9, "59m59s"},
      {3600 + 120, "1h02m"},
      {86399, "23h59m"},
      {86400, "1d00h"},
      {3.2 * 86400, "3d04h"},
      {std::numeric_limits<double>::infinity(), "ever"},
  };
  for (const auto &[seconds, text] : cases) EXPECT_EQ(durationText(seconds), text) << seconds;
}

}  // namespace
}  // namespace Orb
