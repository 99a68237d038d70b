#include "view/RpOptions.h"

#include <gtest/gtest.h>

#include "tests/support/ToldVrf.h"

namespace Routing::Pim::Bsr {
namespace {

RpOptions options(Mode mode, uint16_t priority, uint16_t holdTime) {
  const auto rp = Kiv::make<Pim::RpCandidate>();
  rp->pimModeIs(mode);
  rp->priorityIs(priority);
  rp->holdTimeIs(holdTime);
  rp->hashMaskLenIs(30);
  return RpOptions(*rp);
}

TEST(RpOptions, OfAChangeWhatDiffersIsNamed) {
  const RpOptions before = options(Mode::sparse, 7, 180);
  const std::pair<RpOptions, const char *> changes[] = {
      {options(Mode::sparse, 9, 180), "now has priority 9; it had priority 7"},
      {options(Mode::sparse, 9, 150), "now has priority 9, holdTime 150; it had priority 7, holdTime 180"},
      {options(Mode::bidir, 7, 180), "is now bidir; it was sparsemode"},
      {options(Mode::bidir, 9, 180), "is now bidir with priority 9; it was sparsemode with priority 7"},
      {options(Mode::sparse, 7, 0), ""},
      {before, ""},
  };
  for (const auto &[now, words] : changes) EXPECT_EQ(changeInWords(now, before), words);
  EXPECT_EQ(textOf(before), "sparsemode priority 7 holdTime 180 hashMaskLen 30");
  EXPECT_EQ(textOf(options(Mode::bidir, 9, 0)), "bidir priority 9 hashMaskLen 30");
}

TEST(RpOptions, ThatAreAsTheyWereAreNoNews) {
  ::Test::ToldVrf vrf(::Test::ipv4);
  const auto hear = [&](uint8_t priority) {
    vrf.hear(::Test::Bsm(vrf.a.host(1)).group(vrf.a.group(1), {{vrf.a.host(9), 150, priority}}));
  };
  hear(5);
  EXPECT_NE(vrf.told(), "");
  hear(7);
  hear(5);
  EXPECT_EQ(vrf.told(), "");
}

}  // namespace
}  // namespace Routing::Pim::Bsr
