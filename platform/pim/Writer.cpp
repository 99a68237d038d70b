#include "platform/pim/Writer.h"

#include <algorithm>
#include <cstring>

#include "platform/pim/Wire.h"

namespace Routing::Pim::Packet {

namespace {

// Writes into room that was made before: checking the size for each byte would take most of the time.
class Writer {
 public:
  Writer(std::vector<uint8_t> &bytes, Pax::AddressFamily family) : bytes_(bytes), at_(bytes.data()), family_(family) {}
  // The message ends where writing has come to.
  ~Writer() { bytes_.resize(written()); }
  Writer(const Writer &) = delete;
  Writer &operator=(const Writer &) = delete;

  // Makes room for `size` more bytes. To be called before anything is written.
  Writer &room(size_t size) {
    const size_t before = written();
    if (bytes_.size() < before + size) bytes_.resize(before + size);
    at_ = bytes_.data() + before;
    return *this;
  }
  Writer &u8(uint8_t number) {
    *at_++ = number;
    return *this;
  }
  Writer &u16(uint16_t number) { return numberBytes(static_cast<uint16_t>(number >> 8 | number << 8)); }
  Writer &u32(uint32_t number) { return numberBytes(__builtin_bswap32(number)); }
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
  size_t written() const { return static_cast<size_t>(at_ - bytes_.data()); }
  template <class Number>
  Writer &numberBytes(Number inNetworkOrder) {
    std::memcpy(at_, &inNetworkOrder, sizeof inNetworkOrder);
    at_ += sizeof inNetworkOrder;
    return *this;
  }
  Writer &addressBytes(const Pax::IpGenAddr &address) {
    if (family_ == Pax::AddressFamily::ipv4) return u32(address.v4());
    return numberBytes(__builtin_bswap64(address.high())).numberBytes(__builtin_bswap64(address.low()));
  }

  std::vector<uint8_t> &bytes_;
  uint8_t *at_;
  const Pax::AddressFamily family_;
};

void write(Writer &out, const HelloMessage &hello, Pax::AddressFamily family) {
  const size_t listSize = hello.addressList.size() * Wire::unicastSize(family);
  out.room(Wire::headerSize + 6 + 8 + 8 + 4 + listSize).header(MessageType::hello);
  out.u16(Wire::holdTime).u16(2).u16(hello.holdTime());
  if (hello.drPriority()) out.u16(Wire::drPriority).u16(4).u32(*hello.drPriority());
  if (hello.generationId()) out.u16(Wire::generationId).u16(4).u32(*hello.generationId());
  if (hello.addressList.empty()) return;
  out.u16(Wire::addressList).u16(static_cast<uint16_t>(listSize));
  for (const Pax::IpGenAddr &address : hello.addressList) out.unicast(address);
}

void write(Writer &out, const BootstrapMessage &message, Pax::AddressFamily family) {
  out.room(Wire::headerSize + 4 + Wire::unicastSize(family));
  out.header(MessageType::bootstrap, message.forward() ? 0 : Wire::noForward);
  out.u16(message.fragmentTag()).u8(message.hashMaskLen()).u8(message.priority()).unicast(message.bsrAddress());
  for (const auto &block : message.groupData()) {
    // Never announce RPs that do not follow.
    const size_t count = std::min<size_t>(block->fragmentRpCount(), block->rpList().size());
    out.room(Wire::groupSize(family) + 4 + count * Wire::rpSize(family));
    out.group(block->prefix(), block->adminScope(), block->bidir());
    out.u8(block->rpCount()).u8(static_cast<uint8_t>(count)).u16(0);
    for (const BootstrapRpData &rp : std::span(block->rpList()).first(count)) {
      out.unicast(rp.address).u16(rp.holdTime).u8(rp.priority).u8(0);
    }
  }
}

void write(Writer &out, const CrpAdvMessage &message, Pax::AddressFamily family) {
  const std::vector<CrpGroup> &groups = message.groupData()->groupInfo()->group;
  out.room(Wire::headerSize + 4 + Wire::unicastSize(family) + groups.size() * Wire::groupSize(family));
  out.header(MessageType::crpAdv);
  out.u8(message.prefixCount()).u8(static_cast<uint8_t>(std::min<RpPriority>(message.priority(), 255)));
  out.u16(message.holdTime()).unicast(message.rpAddress());
  for (const CrpGroup &group : groups) out.group(group.prefix, group.adminScope, group.bidir);
}

}  // namespace

void write(const Message &message, Pax::AddressFamily family, std::vector<uint8_t> &bytes) {
  Writer out(bytes, family);
  switch (message.type()) {
    case MessageType::hello: write(out, static_cast<const HelloMessage &>(message), family); break;
    case MessageType::bootstrap: write(out, static_cast<const BootstrapMessage &>(message), family); break;
    case MessageType::crpAdv: write(out, static_cast<const CrpAdvMessage &>(message), family); break;
  }
}

}  // namespace Routing::Pim::Packet
