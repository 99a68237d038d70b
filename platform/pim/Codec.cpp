#include "platform/pim/Codec.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>

#include "platform/pim/Wire.h"
#include "platform/pim/Writer.h"

namespace Routing::Pim::Packet {

const char *toText(DecodeError error) {
  static constexpr std::array<const char *, decodeErrors> texts{
      "none",  "truncated", "version",  "checksum",   "type",   "family",        "encoding", "mask length",
      "group", "unicast",   "loopback", "link-local", "counts", "partial twice", "source"};
  return texts.at(static_cast<size_t>(error));
}

namespace {

// Whether the address can be one of a router.
DecodeError judged(const Pax::IpGenAddr &address) {
  if (address.isZero() || address.isMulticast() || address.isBroadcast()) return DecodeError::unicast;
  return address.isLoopback() ? DecodeError::loopback : DecodeError::none;
}

}  // namespace

// The place in a message. Whoever reads asks with has() first: the reading functions check no size.
class Cursor {
 public:
  Cursor(std::span<const uint8_t> bytes, Pax::AddressFamily family)
      : at_(bytes.data()), end_(bytes.data() + bytes.size()), family_(family) {}

  Pax::AddressFamily family() const { return family_; }
  size_t left() const { return static_cast<size_t>(end_ - at_); }
  bool has(size_t size) const { return left() >= size; }
  std::span<const uint8_t> rest() const { return {at_, left()}; }
  // The next `size` bytes, to be read on their own.
  Cursor part(size_t size) {
    at_ += size;
    return {{at_ - size, size}, family_};
  }
  void skip(size_t size) { at_ += size; }
  uint8_t u8() { return *at_++; }
  uint16_t u16() {
    at_ += 2;
    return Wire::load16(at_ - 2);
  }
  uint32_t u32() {
    at_ += 4;
    return Wire::load32(at_ - 4);
  }
  // The family with which an encoded address begins.
  Pax::AddressFamily announcedFamily() const { return Pax::AddressFamily{*at_}; }

  DecodeError unicast(Pax::IpGenAddr &address) {
    if (const DecodeError error = encoding(); error != DecodeError::none) return error;
    address = addressBytes();
    return judged(address);
  }
  // The address of a BSR or an RP.
  DecodeError routable(Pax::IpGenAddr &address) {
    const DecodeError error = unicast(address);
    return error == DecodeError::none && address.isLinkLocal() ? DecodeError::linkLocal : error;
  }
  // Writes the fields in place: copying what was just written byte by byte would stall.
  DecodeError group(Pax::IpGenPrefix &prefix, bool &adminScope, bool &bidir) {
    if (const DecodeError error = encoding(); error != DecodeError::none) return error;
    const uint8_t flags = u8();
    const uint8_t length = u8();
    if (length > Pax::addressBits(family_)) return DecodeError::maskLength;
    adminScope = (flags & Wire::adminScopeBit) != 0;
    bidir = (flags & Wire::bidirBit) != 0;
    const Pax::IpGenAddr address = addressBytes();
    std::construct_at(&prefix, address, length);
    const bool isGroup = length >= (family_ == Pax::AddressFamily::ipv4 ? 4 : 8) && address.isMulticast();
    return isGroup ? DecodeError::none : DecodeError::group;
  }

 private:
  DecodeError encoding() {
    if (announcedFamily() != family_) return DecodeError::family;
    if (at_[1] != 0) return DecodeError::encoding;
    at_ += 2;
    return DecodeError::none;
  }
  Pax::IpGenAddr addressBytes() {
    const uint8_t *at = at_;
    at_ += Wire::addressSize(family_);
    return family_ == Pax::AddressFamily::ipv4 ? Pax::IpGenAddr::v4(Wire::load32(at))
                                               : Pax::IpGenAddr::v6(Wire::load64(at), Wire::load64(at + 8));
  }

  const uint8_t *at_;
  const uint8_t *const end_;
  const Pax::AddressFamily family_;
};

namespace {

// Entries of the other family are of no use here. Of an unknown family not even the size is known.
DecodeError readAddressList(Cursor in, std::vector<Pax::IpGenAddr> &list) {
  while (in.left() > 0) {
    const Pax::AddressFamily family = in.announcedFamily();
    if (family != Pax::AddressFamily::ipv4 && family != Pax::AddressFamily::ipv6) return DecodeError::family;
    if (!in.has(Wire::unicastSize(family))) return DecodeError::truncated;
    if (family != in.family()) {
      in.skip(Wire::unicastSize(family));
      continue;
    }
    Pax::IpGenAddr address;
    if (const DecodeError error = in.unicast(address); error != DecodeError::none) return error;
    list.push_back(address);
  }
  return DecodeError::none;
}

DecodeError readHello(Cursor &in, HelloMessage &hello) {
  while (in.left() > 0) {
    if (!in.has(4)) return DecodeError::truncated;
    const uint16_t type = in.u16();
    const uint16_t length = in.u16();
    if (!in.has(length)) return DecodeError::truncated;
    Cursor value = in.part(length);
    const size_t least = type == Wire::holdTime ? 2 : type == Wire::drPriority || type == Wire::generationId ? 4 : 0;
    if (!value.has(least)) return DecodeError::truncated;
    if (type == Wire::holdTime) hello.holdTimeIs(value.u16());
    if (type == Wire::drPriority) hello.drPriorityIs(value.u32());
    if (type == Wire::generationId) hello.generationIdIs(value.u32());
    if (type != Wire::addressList) continue;
    if (const auto error = readAddressList(value, hello.addressList); error != DecodeError::none) return error;
  }
  return DecodeError::none;
}

DecodeError readCrpAdv(Cursor &in, CrpAdvMessage &message) {
  if (!in.has(4 + Wire::unicastSize(in.family()))) return DecodeError::truncated;
  message.prefixCountIs(in.u8());
  message.priorityIs(in.u8());
  message.holdTimeIs(in.u16());
  Pax::IpGenAddr address;
  if (const DecodeError error = in.routable(address); error != DecodeError::none) return error;
  message.rpAddressIs(address);
  if (!in.has(message.prefixCount() * Wire::groupSize(in.family()))) return DecodeError::truncated;
  std::vector<CrpGroup> &group = message.groupData()->groupInfo()->group;
  group.resize(message.prefixCount());
  for (CrpGroup &range : group) {
    if (const DecodeError error = in.group(range.prefix, range.adminScope, range.bidir); error != DecodeError::none)
      return error;
  }
  return DecodeError::none;
}

}  // namespace

Kiv::Ptr<BootstrapMessage> Codec::recycled() {
  for (size_t tried = 0; tried < std::min(pool_.size(), triesMost); ++tried) {
    if (++lastTaken_ >= pool_.size()) lastTaken_ = 0;
    if (pool_[lastTaken_]->refCount() == 1) return pool_[lastTaken_];
  }
  const Kiv::Ptr<BootstrapMessage> fresh = BootstrapMessageIs();
  if (pool_.size() < poolMost) {
    lastTaken_ = pool_.size();
    pool_.push_back(fresh);
  }
  return fresh;
}

DecodeError Codec::readBlock(Cursor &in, BootstrapGroupData &block) {
  if (!in.has(Wire::groupSize(family_) + 4)) return DecodeError::truncated;
  const DecodeError error = in.group(block.prefix_, block.adminScope_, block.bidir_);
  if (error != DecodeError::none) return error;
  block.rpCount_ = in.u8();
  block.fragmentRpCount_ = in.u8();
  in.skip(2);
  if (block.fragmentRpCount_ > block.rpCount_) return DecodeError::counts;
  if (!in.has(block.fragmentRpCount_ * Wire::rpSize(family_))) return DecodeError::truncated;
  block.rpList_.resize(block.fragmentRpCount_);
  for (BootstrapRpData &rp : block.rpList_) {
    if (const DecodeError error = in.routable(rp.address); error != DecodeError::none) return error;
    rp.holdTime = in.u16();
    rp.priority = in.u8();
    in.skip(1);
  }
  return DecodeError::none;
}

DecodeError Codec::readBootstrap(Cursor &in, bool forward, BootstrapMessage &message) {
  if (!in.has(4 + Wire::unicastSize(family_))) return DecodeError::truncated;
  message.forward_ = forward;
  message.fragmentTag_ = in.u16();
  message.hashMaskLen_ = in.u8();
  message.priority_ = in.u8();
  if (const DecodeError error = in.routable(message.bsrAddress_); error != DecodeError::none) return error;
  if (!decodedBlocks_) return readBlocks(in, message);
  const std::span<const uint8_t> bytes = in.rest();
  if (const auto known = decodedBlocks_->find(bytes)) {
    message.optionalData_ = known;
    return DecodeError::none;
  }
  const DecodeError error = readBlocks(in, message);
  if (error == DecodeError::none) decodedBlocks_->add(bytes, message.optionalData_);
  return error;
}

DecodeError Codec::readBlocks(Cursor &in, BootstrapMessage &message) {
  if (message.optionalData_->refCount() > 1) message.optionalData_ = Kiv::make<BootstrapOptionalData>();
  BootstrapOptionalData &blocks = *message.optionalData_;
  partial_.clear();
  size_t count = 0;
  while (in.left() > 0) {
    BootstrapGroupData &block = blocks.refill(count++);
    if (const DecodeError error = readBlock(in, block); error != DecodeError::none) return error;
    if (block.isPiece()) partial_.push_back(block.prefix_);
  }
  blocks.refilled(count);
  std::sort(partial_.begin(), partial_.end());
  const bool isTwice = std::adjacent_find(partial_.begin(), partial_.end()) != partial_.end();
  return isTwice ? DecodeError::partialTwice : DecodeError::none;
}

Codec::Result Codec::decode(std::span<const uint8_t> payload, const Pax::IpGenAddr &source,
                            const Pax::IpGenAddr &destination) {
  if (payload.size() < Wire::headerSize) return {nullptr, DecodeError::truncated};
  if (payload[0] >> 4 != Wire::version) return {nullptr, DecodeError::version};
  const MessageType type{static_cast<uint8_t>(payload[0] & 0xf)};
  if (type != MessageType::hello && type != MessageType::bootstrap && type != MessageType::crpAdv) {
    return {nullptr, DecodeError::type};
  }
  if (Wire::checksumOf(payload, source, destination) != 0xffff) return {nullptr, DecodeError::checksum};
  if (judged(source) != DecodeError::none) return {nullptr, DecodeError::source};

  Cursor in(payload.subspan(Wire::headerSize), family_);
  Result result;
  if (type == MessageType::bootstrap) {
    const auto message = recycled();
    result.error = readBootstrap(in, (payload[1] & Wire::noForward) == 0, *message);
    result.message = message;
  } else if (type == MessageType::hello) {
    const auto message = Kiv::make<HelloMessage>();
    result.error = readHello(in, *message);
    result.message = message;
  } else {
    const auto message = Kiv::make<CrpAdvMessage>();
    result.error = readCrpAdv(in, *message);
    result.message = message;
  }
  if (result.error != DecodeError::none) return {nullptr, result.error};
  result.message->sourceIs(source);
  result.message->destinationIs(destination);
  return result;
}

void Codec::encode(const Message &message, const Pax::IpGenAddr &source, const Pax::IpGenAddr &destination,
                   std::vector<uint8_t> &bytes) const {
  write(message, family_, bytes);
  const auto checksum = static_cast<uint16_t>(~Wire::checksumOf(bytes, source, destination));
  std::memcpy(bytes.data() + Wire::checksumOffset, &checksum, sizeof checksum);
}

}  // namespace Routing::Pim::Packet
