#include "agent/RedundancyStatusSm.h"

#include <gtest/gtest.h>

namespace Test {
namespace {

namespace Bsr = Routing::Pim::Bsr;

TEST(RedundancyStatusSm, OnlyAHotStandbyControllerThatIsNotActiveStandsBy) {
  using Redundancy::ControllerMode;
  using Redundancy::Protocol;
  for (const auto protocol : {Protocol(0), Protocol(1), Protocol(3)}) {
    for (const auto mode : {ControllerMode(0), ControllerMode(4), ControllerMode(5)}) {
      const auto status = Kiv::make<Redundancy::RedundancyStatus>();
      std::vector<bool> told;
      const Bsr::RedundancyStatusSm sm(status, [&](bool standby) { told.push_back(standby); });
      EXPECT_EQ(told, std::vector<bool>{false});
      status->protocolIs(protocol);
      status->modeIs(mode);
      EXPECT_EQ(told.back(), uint8_t(protocol) == 3 && uint8_t(mode) != 5) << protocol << ' ' << mode;
    }
  }
}

}  // namespace
}  // namespace Test
