/// Who may refuse a Bootstrap message before the agent sees it, and why.
#pragma once

#include <cstdint>

#include "platform/pim/Packet.h"

namespace Routing::Pim::IO {

enum class BootstrapRefusal : uint8_t {
  none,
  contradiction,  ///< a piece of a group is at odds with the pieces of its message that arrived before
  memory,         ///< there is no room to collect the groups that the message begins
};

/// Asked by the packet port for each Bootstrap message that nothing else speaks against. It judges the message as a
/// whole and changes nothing: what it refuses is neither stored nor flooded.
class BootstrapAdmission {
 public:
  virtual ~BootstrapAdmission() = default;
  virtual BootstrapRefusal refusal(const Packet::BootstrapMessage &message) const = 0;
};

}  // namespace Routing::Pim::IO
