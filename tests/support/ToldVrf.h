/// A VRF without an agent that tells what happens there.
#pragma once

#include "tests/support/TestVrf.h"
#include "view/VrfReporter.h"

namespace Test {

/// It has a neighbor on eth1 from the start, which is no news.
class ToldVrf : public TestVrf {
 public:
  explicit ToldVrf(const Addresses &addresses) : TestVrf(addresses) {}

  /// The sentences told since, a line each.
  std::string told() {
    advance(0.1);
    std::string lines;
    for (; next_ < log.events().size(); ++next_) lines += log.events()[next_].text + "\n";
    return lines;
  }

  const Pax::IntfId eth1 = intfIs(1);
  std::vector<Pax::IntfId> pimInterfaces{eth1};  // as configured; handleConfig tells the reporter
  Bsr::EventLog log{[] { return 0.0; }};
  Bsr::Drops drops;
  Bsr::VrfReporter reporter{log, drops, Kiv::make<Orb::TimerWheel>(time, time), *sm,
                            [this] { return viewOf(system, "default", sm.get(), time.now(), pimInterfaces); }};

 private:
  size_t next_ = 0;
};

}  // namespace Test
