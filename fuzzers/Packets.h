/// PIM packets from the fuzzer's bytes: valid ones, changed ones and any bytes at all.
#pragma once

#include <string>
#include <vector>

#include "fuzzers/Bytes.h"
#include "platform/pim/Codec.h"
#include "tests/support/Addresses.h"
#include "tests/support/BsmBuilder.h"
#include "tests/support/PacketText.h"

namespace Fuzz {

/// Group prefixes, zones and RPs are few, so that messages meet.
class Packets {
 public:
  Packets(const Test::Addresses &a, std::vector<Pax::IpGenAddr> routers) : a_(a), routers_(std::move(routers)) {}

  Pax::IpGenAddr router(Bytes &in) const { return routers_[in.upTo(routers_.size())]; }
  /// One that a router has, or a host of its own.
  Pax::IpGenAddr rp(Bytes &in) const {
    const uint32_t n = in.upTo(32);
    return n < routers_.size() ? routers_[n] : a_.host(0x800000 + n);
  }
  Pax::IpGenPrefix zone(Bytes &in) const {
    switch (in.upTo(5)) {
      case 0: return a_.global();
      case 1: return a_.scope(1);
      case 2: return a_.scope(2);
      case 3: return a_.inScope(1, 1);
      default: return {a_.scope(0).address(), static_cast<uint8_t>(a_.ipv4() ? 8 : 12)};
    }
  }
  Pax::IpGenPrefix group(Bytes &in) const {
    const uint32_t n = in.upTo(16);
    if (n < 6) return a_.group(n);
    if (n < 10) return a_.inScope(1, n - 6);
    if (n < 12) return a_.inScope(2, n - 10);
    return n == 12 ? Pax::IpGenPrefix::host(a_.group(1).address()) : zone(in);
  }

  Kiv::Ptr<Routing::Pim::Packet::Message> hello(Bytes &in) const {
    const auto hello = Kiv::make<Routing::Pim::Packet::HelloMessage>();
    const uint8_t what = in.u8();
    if (what & 1) hello->holdTimeIs(in.u16());
    if (what & 2) hello->drPriorityIs(in.u8());
    if (!(what & 4)) hello->generationIdIs(what & 8 ? in.u8() : 1);
    for (uint32_t n = what >> 4; n > 0; --n) hello->addressList.push_back(rp(in));
    return hello;
  }
  Kiv::Ptr<Routing::Pim::Packet::Message> bootstrap(Bytes &in) const {
    const uint8_t what = in.u8();
    Test::Bsm bsm(router(in), in.u8());
    bsm.tag(in.upTo(3)).hashMaskLen(what & 1 ? in.u8() : 30);
    if (what & 2) bsm.noForward();
    if (what & 4) bsm.scope(zone(in), rps(in));
    for (uint32_t groups = what >> 5; groups > 0; --groups) {
      const Pax::IpGenPrefix prefix = group(in);
      auto list = rps(in);
      const auto count = static_cast<uint8_t>(list.size() + (in.oneIn(3) ? in.upTo(4) : 0));
      bsm.piece(prefix, count, std::move(list)).bidir(in.oneIn(4));
    }
    return Kiv::Ptr<Routing::Pim::Packet::BootstrapMessage>(bsm);
  }
  Kiv::Ptr<Routing::Pim::Packet::Message> advertisement(Bytes &in) const {
    const auto message = Kiv::make<Routing::Pim::Packet::CrpAdvMessage>();
    const uint8_t what = in.u8();
    message->rpAddressIs(rp(in));
    message->priorityIs(in.u8());
    message->holdTimeIs(holdTime(in));
    auto &groups = message->groupData()->groupInfo()->group;
    for (uint32_t n = what % 6; n > 0; --n) groups.push_back({group(in), in.oneIn(4), in.oneIn(4)});
    message->prefixCountIs(static_cast<uint8_t>(groups.size()));
    return message;
  }

  /// A message of any type as bytes, often changed somewhere, or bytes from the input. What is to arrive as it is has
  /// a good checksum.
  std::vector<uint8_t> any(Bytes &in, const Pax::IpGenAddr &source, const Pax::IpGenAddr &destination) const {
    std::vector<uint8_t> bytes;
    const uint32_t kind = in.upTo(8);
    if (kind == 7) {
      const auto raw = in.take(in.u16() % 2100);
      bytes.assign(raw.begin(), raw.end());
    } else {
      const auto message = kind < 4 ? bootstrap(in) : kind < 6 ? hello(in) : advertisement(in);
      Routing::Pim::Packet::Codec(a_.af).encode(*message, source, destination, bytes);
    }
    const uint32_t changes = in.upTo(8);
    for (uint32_t n = 4; n < changes && !bytes.empty(); ++n) bytes[in.u16() % bytes.size()] = in.u8();
    if (!in.oneIn(64)) Test::seal(bytes, source, destination);
    return bytes;
  }

 private:
  static uint16_t holdTime(Bytes &in) {
    const uint32_t choice = in.upTo(6);
    return choice == 0 ? 0 : choice == 1 ? in.u16() : static_cast<uint16_t>(30 * choice);
  }
  Test::Bsm::Rp anRp(Bytes &in) const { return {rp(in), holdTime(in), in.u8()}; }
  std::vector<Test::Bsm::Rp> rps(Bytes &in) const {
    std::vector<Test::Bsm::Rp> rps(in.upTo(6));
    for (auto &one : rps) one = anRp(in);
    return rps;
  }

  const Test::Addresses a_;
  const std::vector<Pax::IpGenAddr> routers_;
};

}  // namespace Fuzz
