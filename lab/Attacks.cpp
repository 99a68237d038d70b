#include "lab/Attacks.h"

#include <algorithm>
#include <array>
#include <random>

#include "platform/pim/Wire.h"

namespace Lab {

namespace {

using namespace Routing::Pim::Packet;
using Pax::AddressFamily;
using Pax::IpGenAddr;
using Pax::IpGenPrefix;

constexpr uint16_t longest = 0xffff;      // hold time
constexpr size_t room = 1400;             // bytes of a message that fits every link
constexpr unsigned announcedMost = 0xff;  // RPs of a group

// The ranges that the attacks use, each its own: the second number of 224+N.0.0.0/8 and ff0e:N::/32.
enum Area : uint8_t {
  mixedArea = 15,  // 239.0.0.0/8
  poisonedArea = 1,
  poisonArea = 14,
  rpArea = 4,
  zoneArea,
  rangeArea,
  wholeArea,
  pieceArea,
  advertisedArea,
  malformedArea,
  rowArea,
};

IpGenPrefix rangeOf(AddressFamily family, Area area) {
  if (family == AddressFamily::ipv4) return {IpGenAddr::v4((224u + area) << 24), 8};
  return {IpGenAddr::v6(0xff0e'0000'0000'0000 | uint64_t{area} << 32, 0), 32};
}

// Group range `n` of an area, as long as an address; the first 2^24 differ.
IpGenPrefix groupOf(AddressFamily family, Area area, uint64_t n) {
  const IpGenAddr first = rangeOf(family, area).address();
  const auto low = static_cast<uint32_t>(n & 0xffffff);
  return IpGenPrefix::host(family == AddressFamily::ipv4 ? IpGenAddr::v4(first.v4() + low)
                                                         : IpGenAddr::v6(first.high(), low));
}

IpGenPrefix subrangeOf(AddressFamily family, Area area, uint8_t n) {
  const IpGenAddr first = rangeOf(family, area).address();
  if (family == AddressFamily::ipv4) return {IpGenAddr::v4(first.v4() + (uint32_t{n} << 16)), 16};
  return {IpGenAddr::v6(first.high() + (uint64_t{n} << 16), 0), 48};
}

// The first 2^23 differ.
IpGenAddr rpOf(AddressFamily family, uint64_t n) {
  const auto low = static_cast<uint32_t>(n & 0x7fffff) + 1;
  return family == AddressFamily::ipv4 ? IpGenAddr::v4(0x0b000000 + low) : IpGenAddr::v6(0xfd01'0000'0000'0000, low);
}

size_t blockSize(AddressFamily family) { return Wire::groupSize(family) + 4; }
size_t roomForBlocks(AddressFamily family) { return room - Wire::headerSize - 4 - Wire::unicastSize(family); }
size_t blocksMost(AddressFamily family) { return roomForBlocks(family) / (blockSize(family) + Wire::rpSize(family)); }
size_t rpsMost(AddressFamily family) { return (roomForBlocks(family) - blockSize(family)) / Wire::rpSize(family); }

Kiv::Ptr<BootstrapMessage> messageOf(const HostileNeighbor &neighbor, uint64_t tag, uint8_t priority = 64) {
  auto message = BootstrapMessageIs();
  message->fragmentTagIs(static_cast<uint16_t>(tag));
  message->bsrAddressIs(neighbor.parameters().bsr);
  message->priorityIs(priority);
  message->hashMaskLenIs(30);
  return message;
}

// `first` and the RPs after it, all of the group unless more are announced.
Kiv::Ptr<BootstrapGroupData> blockOf(const IpGenPrefix &prefix, uint64_t first, size_t count, size_t announced = 0) {
  auto block = BootstrapGroupDataIs(prefix);
  for (size_t i = 0; i < count; ++i) block->rpEnq({rpOf(prefix.af(), first + i), longest, 0});
  block->fragmentRpCountIs(static_cast<uint8_t>(count));
  block->rpCountIs(static_cast<uint8_t>(announced == 0 ? count : announced));
  return block;
}

void enqueue(BootstrapMessage &message, const Kiv::Ptr<BootstrapGroupData> &block) {
  message.optionalData()->groupDataEnq(block);
}

// Makes the message one of the scoped zone that its first block names.
void scope(const BootstrapMessage &message) { message.groupData().front()->adminScopeIs(true); }

// A scoped message of the area: `count` groups from `n` on, each with one RP.
Kiv::Ptr<BootstrapMessage> manyGroups(const HostileNeighbor &neighbor, Area area, uint64_t tag, uint64_t n,
                                      size_t announced = 0) {
  auto message = messageOf(neighbor, tag);
  enqueue(*message, blockOf(rangeOf(neighbor.family(), area), 0, 1));
  const size_t count = blocksMost(neighbor.family()) - 1;
  for (size_t i = 0; i < count; ++i) {
    enqueue(*message, blockOf(groupOf(neighbor.family(), area, n * count + i), 0, 1, announced));
  }
  scope(*message);
  return message;
}

// Two messages of one tag that announce three RPs of a group and have four.
void mixedFragments(HostileNeighbor &neighbor, uint64_t n) {
  const IpGenPrefix group = subrangeOf(neighbor.family(), mixedArea, 1);  // 239.1.0.0/16
  for (const uint64_t first : {0, 2}) {
    const auto message = messageOf(neighbor, n);
    enqueue(*message, blockOf(group, first, 2, 3));
    scope(*message);
    neighbor.send(*message);
  }
}

// Plays the BSR of all groups as well: the four RPs of the group, in two fragments, are what all must hold.
void poison(HostileNeighbor &neighbor, uint64_t n) {
  const IpGenPrefix group = subrangeOf(neighbor.family(), poisonedArea, 3);  // 225.3.0.0/16
  for (const uint64_t first : {0, 2}) {
    const auto fragment = messageOf(neighbor, n, 255);
    enqueue(*fragment, blockOf(group, first, 2, 4));
    neighbor.send(*fragment);
    if (first != 0) continue;
    const auto scoped = messageOf(neighbor, n);
    enqueue(*scoped, blockOf(rangeOf(neighbor.family(), poisonArea), 0, 1));
    enqueue(*scoped, blockOf(group, 8, 2, 4));
    scope(*scoped);
    neighbor.send(*scoped);
  }
}

void everNewRps(HostileNeighbor &neighbor, uint64_t n) {
  const size_t count = std::min<size_t>(rpsMost(neighbor.family()), announcedMost);
  const auto message = messageOf(neighbor, n);
  enqueue(*message, blockOf(rangeOf(neighbor.family(), rpArea), n * count, count));
  scope(*message);
  neighbor.send(*message);
}

void everNewZones(HostileNeighbor &neighbor, uint64_t n) {
  const auto message = messageOf(neighbor, n);
  enqueue(*message, blockOf(groupOf(neighbor.family(), zoneArea, n), 0, 1));
  scope(*message);
  neighbor.send(*message);
}

void everNewRanges(HostileNeighbor &neighbor, uint64_t n) { neighbor.send(*manyGroups(neighbor, rangeArea, n, n)); }

void everNewWholes(HostileNeighbor &neighbor, uint64_t n) { neighbor.send(*manyGroups(neighbor, wholeArea, 7, n)); }

void everNewPieces(HostileNeighbor &neighbor, uint64_t n) {
  neighbor.send(*manyGroups(neighbor, pieceArea, 7, n, announcedMost));
}

void advertisements(HostileNeighbor &neighbor, uint64_t n) {
  const size_t count = (room - 8 - Wire::unicastSize(neighbor.family())) / Wire::groupSize(neighbor.family());
  CrpAdvMessage message;
  message.rpAddressIs(rpOf(neighbor.family(), n));
  message.holdTimeIs(longest);
  for (size_t i = 0; i < std::min<size_t>(count, 100); ++i) {
    message.groupData()->groupInfo()->group.push_back({groupOf(neighbor.family(), advertisedArea, n * count + i)});
  }
  message.prefixCountIs(static_cast<uint8_t>(message.groupData()->groupInfo()->group.size()));
  neighbor.sendToTarget(message);
}

void everNewNeighbors(HostileNeighbor &neighbor, uint64_t n) {
  HelloMessage hello;
  hello.holdTimeIs(HelloMessage::holdTimeForEver);
  const auto low = static_cast<uint32_t>(n & 0xfffff);
  hello.sourceIs(neighbor.family() == AddressFamily::ipv4 ? IpGenAddr::v4(0xac100000 + low)
                                                          : IpGenAddr::v6(0xfe80'0000'0000'0000, 0x10000 + low));
  neighbor.send(hello);
}

// Whole messages cut short, with a bit changed, with or without a right checksum, or noise behind a header. Their
// priority is the lowest, so that none of them is the better BSR of all groups by accident.
// A range that no change of one bit makes a valid one that covers the ranges of the candidates.
IpGenPrefix apartOf(AddressFamily family, uint8_t n) {
  const IpGenPrefix range = subrangeOf(family, malformedArea, n);
  return family == AddressFamily::ipv4 ? range : IpGenPrefix(range.address(), 64);
}

void malformed(HostileNeighbor &neighbor, uint64_t n) {
  std::minstd_rand random(static_cast<uint32_t>(n) + 1);
  const auto message = messageOf(neighbor, n, 0);
  enqueue(*message, blockOf(apartOf(neighbor.family(), 1), 0, 5));
  enqueue(*message, blockOf(apartOf(neighbor.family(), 2), 0, 5, 9));
  scope(*message);
  std::vector<uint8_t> bytes = neighbor.encoded(*message);
  switch (n % 4) {
    case 0: bytes.resize(random() % bytes.size()); break;
    case 1:
    case 2: bytes[random() % bytes.size()] ^= static_cast<uint8_t>(1u << random() % 8); break;
    default:
      std::generate(bytes.begin() + Wire::headerSize, bytes.end(), [&] { return static_cast<uint8_t>(random()); });
      bytes[0] = static_cast<uint8_t>(Wire::version << 4 | std::array{0, 4, 8}[random() % 3]);
  }
  if (n % 4 != 1) neighbor.sign(bytes);
  neighbor.sendBytes(bytes);
}

void oversize(HostileNeighbor &neighbor, uint64_t n) {
  std::vector<uint8_t> bytes = neighbor.encoded(*manyGroups(neighbor, malformedArea, n, n));
  bytes.resize(2200 + n % 6000);
  neighbor.sign(bytes);
  neighbor.sendBytes(bytes);
}

// Not an attack by itself: 12,000 RPs, for the clients that ask for them.
void manyRows(HostileNeighbor &neighbor, uint64_t n) {
  constexpr size_t ofGroup = 240, groups = 50, most = 60;  // RPs, groups, RPs of a fragment
  const auto group = static_cast<uint8_t>(n / (ofGroup / most) % groups);
  const auto message = messageOf(neighbor, group);
  const auto first = group * ofGroup + n % (ofGroup / most) * most;
  enqueue(*message, blockOf(rangeOf(neighbor.family(), rowArea), 0, 1));
  enqueue(*message, blockOf(subrangeOf(neighbor.family(), rowArea, group), first, most, ofGroup));
  scope(*message);
  neighbor.send(*message);
}

constexpr std::array allAttacks{
    Attack{"mixed", "two fragments that together have more RPs than they announce", mixedFragments},
    Attack{"poison", "a scoped message with the tag of the global one between two fragments of it", poison},
    Attack{"rps", "ever-new RPs of one range", everNewRps},
    Attack{"zones", "ever-new scoped zones", everNewZones},
    Attack{"ranges", "ever-new ranges of one zone", everNewRanges},
    Attack{"wholes", "one tag with ever-new whole groups", everNewWholes},
    Attack{"pieces", "ever-new groups of which a piece is always missing", everNewPieces},
    Attack{"advertisements", "advertisements of ever-new RPs and ranges to the BSR", advertisements},
    Attack{"neighbors", "Hellos of ever-new neighbors that never expire", everNewNeighbors},
    Attack{"malformed", "malformed messages", malformed},
    Attack{"oversize", "messages over the receive limit", oversize},
    Attack{"rows", "12,000 RPs, which clients may ask for", manyRows},
};

}  // namespace

std::span<const Attack> attacks() { return allAttacks; }

const Attack *attackOf(std::string_view name) {
  const auto found =
      std::find_if(allAttacks.begin(), allAttacks.end(), [&](const auto &each) { return each.name == name; });
  return found == allAttacks.end() ? nullptr : &*found;
}

}  // namespace Lab
