/// Packets that go no further, told one by one to whoever explains them to operators. Counters and traces are written
/// where the packet is dropped, whether anybody is told or not.
#pragma once

#include <cstdint>

#include "platform/pax/IntfId.h"
#include "platform/pax/IpGenAddr.h"

namespace Routing::Pim::IO {

enum class Refusal : uint8_t {
  // Of the port.
  wrongFamily,
  pimOff,
  malformed,
  tooLong,
  badHello,
  noHello,  ///< a no-forward Bootstrap message from a source without Hello state
  ownBsr,   ///< a no-forward Bootstrap message that names us as BSR
  contradiction,
  openBytes,  ///< incomplete groups would take too much memory
  // Of the gates for Bootstrap messages and advertisements.
  unicast,
  destination,
  noForward,
  noRoute,      ///< toward the BSR there is no RPF neighbor
  rpfNeighbor,  ///< it is another one
  border,
  filter,
  notBsr,
};

/// One packet; what is not known of it is unset.
struct Refused {
  Refusal reason;
  Pax::IntfId intfId{};
  Pax::IpGenAddr source{};
  Pax::IpGenAddr bsr{};       ///< that it is of, or for
  Pax::IpGenAddr neighbor{};  ///< from which it should have come
  bool isBootstrap = false;
  uint16_t fragmentTag = 0;      ///< of a Bootstrap message
  const char *detail = nullptr;  ///< what is malformed
};

class RefusalWatcher {
 public:
  virtual ~RefusalWatcher() = default;
  /// In the middle of the handling of the packet: it only takes note.
  virtual void refused(const Refused &refused) = 0;
};

}  // namespace Routing::Pim::IO
