/// What a hostile neighbor can send to do harm.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "lab/HostileNeighbor.h"

namespace Lab {

/// One attack. Its rounds differ from one another, so that it goes on doing harm. None says anything about the groups
/// 225.1.0.0/16 and 225.2.0.0/16 (ff0e:1:1::/48 and ff0e:1:2::/48), which are left to the lab's own candidate RPs.
struct Attack {
  const char *name;
  const char *help;
  /// Sends round `n`, of a few messages.
  void (*round)(HostileNeighbor &neighbor, uint64_t n);
};

std::span<const Attack> attacks();
/// Null when there is none of this name.
const Attack *attackOf(std::string_view name);

}  // namespace Lab
