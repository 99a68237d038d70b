/// Traces of a run.
#pragma once

#include <cstdlib>
#include <iostream>

#include "platform/tracelet/Tracelet.h"

namespace Fuzz {

/// Has them formatted up to this level and thrown away, or all of them printed, to find out what happened:
/// FUZZ_TRACE=1.
inline void traceAtLevel(int level) {
  struct Traces : Tracelet::Sink {
    Traces() { Tracelet::Registry::instance().sinkAdd(*this); }
    void line(std::string_view module, int, std::string_view text) override {
      if (isWanted) std::cerr << module << ' ' << text << '\n';
    }
    const bool isWanted = std::getenv("FUZZ_TRACE");
  };
  static const Traces traces;
  Tracelet::Registry::instance().levelIs("*", traces.isWanted ? 9 : level);
}

}  // namespace Fuzz
