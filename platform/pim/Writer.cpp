#include "platform/pim/Writer.h"

#include <algorithm>

#include "platform/pim/Wire.h"

namespace Routing::Pim::Packet {

namespace {

class Writer {
 public:
  Writer(std::vector<uint8_t> &bytes, Pax::AddressFamily family) : bytes_(bytes), family_(family) {}

  Writer &u8(uint8_t number) {
    bytes_.push_back(number);
    return *this;
  }
  Writer &u16(uint16_t number) { return u8(static_cast<uint8_t>(number >> 8)).u8(static_cast<uint8_t>(number)); }
  Writer &u32(uint32_t number) { return u16(static_cast<uint16_t>(number >> 16)).u16(static_cast<uint16_t>(number)); }
  Writer &header(MessageType type, uint8_t flags = 0) {
    return u8(static_cast<uint8_t>(Wire::version << 4 | static_cast<uint8_t>(type))).u8(flags).u16(0);
  }
  Writer &unicast(const Pax::IpGenAddr &address) {
    return u8(static_cast<uint8_t>(family_)).u8(0).addressBytes(address);
  }
  Writer &group(const Pax::IpGenPrefix &prefix, bool adminScope, bool bidir) {
    u8(static_cast<uint8_t>(family_)).u8(0);
    u8(static_cast<uint8_t>((adminScope ? Wire::adminScopeBit : 0) | (bidir ? Wire::bidirBit : 0)));
    return u8(prefix.length()).addressBytes(prefix.address());
  }

 private:
  Writer &addressBytes(const Pax::IpGenAddr &address) {
    const auto bytes = address.bytes();
    bytes_.insert(bytes_.end(), bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(Wire::addressSize(family_)));
    return *this;
  }

  std::vector<uint8_t> &bytes_;
  const Pax::AddressFamily family_;
};

void write(Writer &out, const HelloMessage &hello, Pax::AddressFamily family) {
  out.header(MessageType::hello);
  out.u16(Wire::holdTime).u16(2).u16(hello.holdTime());
  if (hello.drPriority()) out.u16(Wire::drPriority).u16(4).u32(*hello.drPriority());
  if (hello.generationId()) out.u16(Wire::generationId).u16(4).u32(*hello.generationId());
  if (hello.addressList.empty()) return;
  out.u16(Wire::addressList).u16(static_cast<uint16_t>(hello.addressList.size() * Wire::unicastSize(family)));
  for (const Pax::IpGenAddr &address : hello.addressList) out.unicast(address);
}

void write(Writer &out, const BootstrapMessage &message) {
  out.header(MessageType::bootstrap, message.forward() ? 0 : Wire::noForward);
  out.u16(message.fragmentTag()).u8(message.hashMaskLen()).u8(message.priority()).unicast(message.bsrAddress());
  for (const auto &block : message.groupData()) {
    // Never announce RPs that do not follow.
    const size_t count = std::min<size_t>(block->fragmentRpCount(), block->rpList().size());
    out.group(block->prefix(), block->adminScope(), block->bidir());
    out.u8(block->rpCount()).u8(static_cast<uint8_t>(count)).u16(0);
    for (const BootstrapRpData &rp : std::span(block->rpList()).first(count)) {
      out.unicast(rp.address).u16(rp.holdTime).u8(rp.priority).u8(0);
    }
  }
}

void write(Writer &out, const CrpAdvMessage &message) {
  out.header(MessageType::crpAdv);
  out.u8(message.prefixCount()).u8(static_cast<uint8_t>(std::min<RpPriority>(message.priority(), 255)));
  out.u16(message.holdTime()).unicast(message.rpAddress());
  for (const CrpGroup &group : message.groupData()->groupInfo()->group) {
    out.group(group.prefix, group.adminScope, group.bidir);
  }
}

}  // namespace

void write(const Message &message, Pax::AddressFamily family, std::vector<uint8_t> &bytes) {
  bytes.clear();
  Writer out(bytes, family);
  switch (message.type()) {
    case MessageType::hello: write(out, static_cast<const HelloMessage &>(message), family); break;
    case MessageType::bootstrap: write(out, static_cast<const BootstrapMessage &>(message)); break;
    case MessageType::crpAdv: write(out, static_cast<const CrpAdvMessage &>(message)); break;
  }
}

}  // namespace Routing::Pim::Packet
