#include "platform/pim/Codec.h"

#include <gtest/gtest.h>

#include <random>

#include "tests/support/Addresses.h"
#include "tests/support/BsmBuilder.h"
#include "tests/support/PacketText.h"

namespace Test {
namespace {

using namespace Routing::Pim::Packet;

TEST(CodecTest, bytesAndRecordsAgreeBothWays) {
  const struct {
    Addresses a;
    const char *hex, *text;
  } cases[] = {
      {ipv4, "20006b8b000100020069001300040000000a00140004123456780018000601000a000005",
       "Hello from 192.168.0.1 holdTime 105 drPriority 10 generationId 305419896 10.0.0.5"},
      {ipv6, "2000b14d00010002ffff00180024020020010db80000000000000000000000050200fe800000000000000000000000000009",
       "Hello from fe80::1 holdTime 65535 2001:db8::5 fe80::9"},
      {ipv4, "24807f4e12341e4001000a00000101008108e10000000201000001000a0000090096c00001000010ef01000000000000",
       "BSM from 192.168.0.1 tag 4660 BSR 10.0.0.1 priority 64 hashMaskLen 30 no-forward; 225.0.0.0/8 scoped bidir "
       "RPs 1 of 2: 10.0.0.9 holdTime 150 priority 192; 239.1.0.0/16 RPs 0 of 0:"},
      {ipv6,
       "2400fc2400077eff020020010db800000000000000000000000102000110ff05000000000000000000000000000001010000020020010d"
       "b8000000000000000000000009ffff0000",
       "BSM from fe80::1 tag 7 BSR 2001:db8::1 priority 255 hashMaskLen 126; ff05::/16 scoped RPs 1 of 1: 2001:db8::9 "
       "holdTime 65535 priority 0"},
      {ipv4, "2800947503c0009601000a00000701000004e000000001008010e101000001000110ef050000",
       "C-RP from 10.0.0.7 count 3 priority 192 holdTime 150 RP 10.0.0.7 224.0.0.0/4 225.1.0.0/16 bidir 239.5.0.0/16 "
       "scoped"},
      {ipv6, "28004c4400000000020020010db8000000000000000000000007",
       "C-RP from 2001:db8::7 count 0 priority 0 holdTime 0 RP 2001:db8::7"},
  };
  for (const auto &c : cases) {
    const bool isAdvertisement = c.hex[1] == '8';
    const Pax::IpGenAddr source = isAdvertisement ? c.a.host(7) : c.a.onLink(1);
    const Pax::IpGenAddr destination = isAdvertisement ? c.a.host(1) : Pax::allPimRouters(c.a.af);
    Codec codec(c.a.af);
    const auto result = codec.decode(bytesOf(c.hex), source, destination);
    ASSERT_TRUE(result.message) << c.text << ": " << toText(result.error);
    EXPECT_EQ(textOf(*result.message), c.text);
    EXPECT_EQ(result.message->destination(), destination);
    std::vector<uint8_t> bytes{1, 2, 3};
    codec.encode(*result.message, source, destination, bytes);
    EXPECT_EQ(hexOf(bytes), c.hex);
  }
}

TEST(CodecTest, everyMalformedMessageIsToldByItsReasonAndWhatMayVaryIsAccepted) {
  const std::string bsr4 = "24000000 0000 1e40 01000a000001 ";
  const std::string bsr6 = "24000000 0000 7e40 020020010db8000000000000000000000001 ";
  const std::string group4 = "01000008e1000000 ", rp4 = "01000a000009 0096 c0 00 ";
  const std::string bsm4 = "BSM from 192.168.0.1 tag 0 BSR 10.0.0.1 priority 64 hashMaskLen ";
  const struct {
    Addresses a;
    std::string expected, hex;  // the reason, or the message
  } cases[] = {
      {ipv4, "truncated", "240000"},
      {ipv4, "truncated", "24000000 0000 1e40 01000a0000"},
      {ipv4, "truncated", bsr4 + group4 + "0100"},
      {ipv4, "truncated", bsr4 + group4 + "02020000" + rp4 + "01000a000008 0096 c0"},
      {ipv4, "truncated", "28000000 02c00096 01000a000007" + group4},
      {ipv4, "truncated", "28000000 02c00096 01000a00"},
      {ipv4, "truncated", "20000000 0001 0003 0069"},
      {ipv4, "truncated", "20000000 0001 0001 69"},
      {ipv4, "truncated", "20000000 0013 0002 0000"},
      {ipv4, "truncated", "20000000 0014 0003 000000"},
      {ipv4, "truncated", "20000000 0001 00"},
      {ipv4, "truncated", "20000000 0018 0007 01000a000005 01"},
      {ipv4, "version", "14000000 0000 1e40 01000a000001"},
      {ipv4, "type", "23000000 01000a000001"},
      {ipv4, "family", "24000000 0000 1e40 020020010db8000000000000000000000001"},
      {ipv6, "family", "24000000 0000 7e40 01000a000001 0000000000000000 00000000"},
      {ipv4, "family", bsr4 + "03000008e1000000 00000000"},
      {ipv4, "family", "20000000 0018 0006 03000a000005"},
      {ipv4, "encoding", "24000000 0000 1e40 01010a000001"},
      {ipv4, "encoding", bsr4 + "01020008e1000000 00000000"},
      {ipv4, "mask length", bsr4 + "01000021e1000000 00000000"},
      {ipv6, "mask length", bsr6 + "02000081ff050000000000000000000000000000 00000000"},
      {ipv4, "group", bsr4 + "01000018df000000 00000000"},
      {ipv4, "group", bsr4 + "01000003e0000000 00000000"},
      {ipv4, "group", "28000000 01c00096 01000a000007 01000000e0000000"},
      {ipv6, "group", bsr6 + "02000007ff000000000000000000000000000000 00000000"},
      {ipv6, "group", bsr6 + "02000010fe050000000000000000000000000000 00000000"},
      {ipv4, "unicast", "24000000 0000 1e40 010000000000"},
      {ipv4, "unicast", "24000000 0000 1e40 0100e0000001"},
      {ipv6, "unicast", "28000000 00c00096 0200ff020000000000000000000000000001"},
      {ipv4, "unicast", bsr4 + group4 + "01010000 010000000000 0096 c0 00"},
      {ipv4, "unicast", "24000000 0000 1e40 0100ffffffff"},
      {ipv4, "unicast", "28000000 00c00000 0100ffffffff"},
      {ipv4, "unicast", "20000000 0018 0006 0100ffffffff"},
      {ipv4, "loopback", "24000000 0000 1e40 01007f000001"},
      {ipv6, "loopback", "24000000 0000 7e40 020000000000000000000000000000000001"},
      {ipv4, "loopback", bsr4 + group4 + "01010000 01007fffffff 0000 c0 00"},
      {ipv6, "loopback", "28000000 00c00096 020000000000000000000000000000000001"},
      {ipv4, "loopback", "20000000 0018 000c 01000a000005 01007f000001"},
      {ipv4, "link-local", "24000000 0000 1e40 0100a9fe0001"},
      {ipv6, "link-local", "24000000 0000 7e40 0200fe800000000000000000000000000001"},
      {ipv4, "link-local", bsr4 + group4 + "01010000 0100a9fe0001 0096 c0 00"},
      {ipv4, "link-local", "28000000 00c00096 0100a9fe0001"},
      {ipv4, "counts", bsr4 + group4 + "01020000" + rp4 + rp4},
      {ipv4, "partial twice",
       bsr4 + group4 + "03010000" + rp4 + "01000009e1000000 02010000" + rp4 + "01000008e1ffffff 02010000" + rp4},
      {ipv4, "Hello from 192.168.0.1 holdTime 105", "20000000"},
      {ipv4, "Hello from 192.168.0.1 holdTime 10",
       "207f0000 0002 0004 01020304 fde8 0003 aabbcc 0016 0000 0001 0002 000a"},
      {ipv4, "Hello from 192.168.0.1 holdTime 105 10.0.0.5",
       "20000000 0018 0018 020020010db8000000000000000000000001 01000a000005"},
      {ipv4, "C-RP from 192.168.0.1 count 1 priority 192 holdTime 150 RP 10.0.0.7 225.1.0.0/16",
       "28000000 01c00096 01000a000007 01000010e101ffff 0102ff"},
      {ipv4, bsm4 + "255; 225.0.0.0/8 RPs 0 of 0:", "247f0000 0000 ff40 01000a000001 01007e08e1ffffff 0000ffff"},
      {ipv4,
       bsm4 + "30; 225.0.0.0/8 RPs 0 of 2:; 225.0.0.0/8 RPs 0 of 0:", bsr4 + group4 + "02000000" + group4 + "00000000"},
  };
  DecodedBlocks shared4, shared6;
  for (const auto &[a, expected, hex] : cases) {
    std::vector<uint8_t> bytes = bytesOf(hex);
    seal(bytes, a.onLink(1), Pax::allPimRouters(a.af));
    for (DecodedBlocks *shared :
         {static_cast<DecodedBlocks *>(nullptr), a.ipv4() ? &shared4 : &shared6, a.ipv4() ? &shared4 : &shared6}) {
      Codec codec(a.af);
      codec.decodedBlocksAre(shared);
      const auto result = codec.decode(bytes, a.onLink(1), Pax::allPimRouters(a.af));
      EXPECT_EQ(result.message ? textOf(*result.message) : toText(result.error), expected) << hex;
    }
  }
}

// A message with up to 11 groups of up to 29 RPs.
Kiv::Ptr<BootstrapMessage> anyMessage(const Addresses &a, std::mt19937 &random) {
  const auto number = [&](uint32_t below) { return static_cast<uint32_t>(random() % below); };
  Bsm bsm(a.host(1 + number(1000)), static_cast<uint8_t>(number(256)));
  bsm.tag(static_cast<uint16_t>(number(65536))).hashMaskLen(static_cast<uint8_t>(number(256)));
  if (number(2)) bsm.noForward();
  const uint32_t groups = number(12);
  for (uint32_t group = 0; group < groups; ++group) {
    std::vector<BootstrapRpData> rps(number(30));
    for (auto &rp : rps) {
      rp = {a.host(1 + number(1000)), static_cast<uint16_t>(number(65536)), static_cast<uint8_t>(number(256))};
    }
    const auto more = static_cast<uint8_t>(rps.size() + number(3));
    bsm.piece(a.group(group), more, std::move(rps));
    if (number(2)) bsm.bidir();
  }
  return bsm;
}

TEST(CodecTest, whatIsWrittenIsReadBackAndWhatIsHeldNeverChanges) {
  const uint32_t seed = std::random_device()();
  RecordProperty("seed", std::to_string(seed));
  SCOPED_TRACE("seed " + std::to_string(seed));
  for (const Addresses &a : {ipv4, ipv6}) {
    std::mt19937 random(seed);
    Codec codec(a.af), oneOfMany(a.af), another(a.af);
    DecodedBlocks shared;
    for (Codec *each : {&oneOfMany, &another}) each->decodedBlocksAre(&shared);
    std::vector<uint8_t> bytes;
    std::vector<std::pair<Kiv::Ptr<Message>, std::string>> held(100);
    std::vector<std::pair<Kiv::Ptr<BootstrapGroupData>, BootstrapGroupData::RpList>> heldBlocks;
    std::vector<std::pair<Kiv::Ptr<BootstrapOptionalData>, BootstrapOptionalData::GroupData>> heldLists;
    for (int round = 0; round < 1000; ++round) {
      const auto message = anyMessage(a, random);
      message->sourceIs(a.onLink(1));
      codec.encode(*message, a.onLink(1), a.host(1), bytes);
      const auto result = codec.decode(bytes, a.onLink(1), a.host(1));
      ASSERT_TRUE(result.message) << toText(result.error);
      ASSERT_EQ(textOf(*result.message), textOf(*message));
      for (Codec *each : {&oneOfMany, &another}) {
        const auto copy = each->decode(bytes, a.onLink(1), a.host(1)).message;
        ASSERT_EQ(textOf(*copy), textOf(*message));
        held[random() % held.size()] = {copy, textOf(*message)};
      }
      held[random() % held.size()] = {result.message, textOf(*message)};
      if (random() % 4) continue;
      const auto &list = static_cast<const BootstrapMessage &>(*result.message).optionalData();
      if (random() % 8 == 0) heldLists.emplace_back(list, list->groupData());
      for (const auto &block : list->groupData()) {
        if (random() % 4 == 0) heldBlocks.emplace_back(block, block->rpList());
      }
      for (Codec *each : {&codec, &another}) {
        each->decode(std::span(bytes).first(bytes.size() / 2), a.onLink(1), a.host(1));
      }
    }
    const auto blocksOf = [&](Codec &by) {
      const auto message = by.decode(bytes, a.onLink(1), a.host(1)).message;
      return static_cast<const BootstrapMessage &>(*message).optionalData();
    };
    for (uint32_t n = 0; n < 2; ++n) {  // of one size
      codec.encode(*Kiv::Ptr<BootstrapMessage>(Bsm(a.host(9)).group(a.group(n), {})), a.onLink(1), a.host(1), bytes);
      const auto blocks = blocksOf(oneOfMany);
      EXPECT_EQ(blocks->groupData().at(0)->prefix(), a.group(n));
      EXPECT_EQ(blocks, blocksOf(another));
    }
    HelloMessage hello;
    hello.sourceIs(a.onLink(1));
    for (uint32_t n = 1; n <= 100; ++n) hello.addressList.push_back(n % 2 ? a.host(n) : a.onLink(n));
    codec.encode(hello, a.onLink(1), a.host(1), bytes);
    EXPECT_EQ(textOf(*codec.decode(bytes, a.onLink(1), a.host(1)).message), textOf(hello));
    for (const auto &[message, text] : held) {
      if (message) EXPECT_EQ(textOf(*message), text);
    }
    for (const auto &[block, rpList] : heldBlocks) EXPECT_EQ(block->rpList(), rpList);
    for (const auto &[list, blocks] : heldLists) EXPECT_EQ(list->groupData(), blocks);
  }
}

}  // namespace
}  // namespace Test
