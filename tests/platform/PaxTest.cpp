#include <gtest/gtest.h>

#include "platform/ip/IntfStatus.h"
#include "platform/pax/IntfId.h"
#include "platform/pax/IpGenPrefix.h"
#include "platform/pim/Types.h"

namespace {

using Pax::AddressFamily;
using Pax::IntfId;
using Pax::IpGenAddr;
using Pax::IpGenPrefix;

template <class T>
std::string text(const T &value) {
  std::ostringstream out;
  out << value;
  return out.str();
}

// What reading the text and writing it again gives; "refused" where it is no value.
template <class T>
std::string again(std::string_view given) {
  try {
    return text(T::fromText(given));
  } catch (const Kiv::RangeError &) {
    return "refused";
  }
}

TEST(Pax, TextIsReadStrictlyAndWrittenInOneForm) {
  using namespace std::string_view_literals;
  const struct {
    std::string (*again)(std::string_view);
    std::vector<std::pair<std::string_view, const char *>> texts;
    std::vector<std::string_view> refused;
  } types[] = {
      {again<IpGenAddr>,
       {{"10.0.0.1", "10.0.0.1"}, {"FE80:0:0::1", "fe80::1"}, {"::", "::"}, {"0.0.0.0", "0.0.0.0"}},
       {"", "10.0.0.256", "fe80::1%eth0", " 10.0.0.1", "10.0.0.1\0x"sv, "1::2::3"}},
      {again<IpGenPrefix>,
       {{"239.1.2.3/8", "239.0.0.0/8"}, {"0.0.0.0/0", "0.0.0.0/0"}, {"2001:db8::ffff/127", "2001:db8::fffe/127"}},
       {"10.0.0.0", "10.0.0.0/33", "::/129", "10.0.0.0/", "10.0.0.0/-1", "10.0.0.0/264", "10.0.0.0/08", "::/00", "/8"}},
      {again<IntfId>,
       {{"eth0", "eth0"}, {"default/eth0", "eth0"}, {"blue/lo", "blue/lo"}, {"", ""}},
       {"/lo", "blue/", "a/b/c"}},
      {again<Routing::Pim::Mode>, {{"sparsemode", "sparsemode"}, {"bidir", "bidir"}}, {"Bidir", "", "sparse"}},
  };
  for (const auto &[again, texts, refused] : types) {
    for (const auto &[given, expected] : texts) EXPECT_EQ(again(given), expected);
    for (const auto given : refused) EXPECT_EQ(again(given), "refused") << given;
  }
}

TEST(Pax, InterfacesAreEqualByTheirNamesWheneverTheyWereNamed) {
  auto one = std::make_unique<IntfId>("blue", "eth0");
  const IntfId same("blue", "eth0"), other("blue", "eth1"), elsewhere("", "eth0");
  const auto hash = std::hash<IntfId>()(same);
  one.reset();
  EXPECT_EQ(same, IntfId::fromText("blue/eth0"));
  EXPECT_EQ(std::hash<IntfId>()(IntfId::fromText("blue/eth0")), hash);
  EXPECT_TRUE(same != other && same != elsewhere && same != IntfId() && other > same && elsewhere > other);
  IntfId last("red", "eth7");
  EXPECT_EQ(last, IntfId("red", "eth7"));
  last = same;
  EXPECT_EQ(text(IntfId("red", "eth7")), "red/eth7") << "made anew";
}

TEST(Pax, NoPrefixCoversNothing) {
  const IpGenPrefix none, all4 = IpGenPrefix::fromText("0.0.0.0/0"), all6 = IpGenPrefix::fromText("::/0");
  EXPECT_FALSE(none.covers(none) || none.covers(all4) || all4.covers(none) || all4.covers(all6) || all6.covers(all4));
  EXPECT_EQ(IpGenPrefix(IpGenAddr::v4(0x0a000001), 200), IpGenPrefix::fromText("10.0.0.1/32"));
}

TEST(ChosenAddresses, TheFirstFitOneIsChosenAndStaysWhileItFits) {
  using Ip::AddressInfo;
  const auto at = IpGenAddr::fromText;
  const auto intf = Kiv::make<Ip::IntfStatus>(IntfId("", "eth0"));
  const auto chosen = [&](AddressFamily family) {
    Ip::chooseAddresses(*intf, family);
    return text(intf->ipAddr()) + " " + text(intf->pimAddr());
  };
  EXPECT_EQ(chosen(AddressFamily::ipv4), "unset unset");
  intf->addressIs(at("127.0.0.1"), {.global = false});
  intf->addressIs(at("10.0.0.2"), {.secondary = true});
  intf->addressIs(at("10.0.0.1"), {});
  intf->addressIs(at("2001:db8::1"), {.usable = false});
  intf->addressIs(at("2001:db8::2"), {});
  intf->addressIs(at("fe80::1"), {.global = false, .usable = false});
  intf->addressIs(at("fe80::2"), {.global = false});
  EXPECT_EQ(chosen(AddressFamily::ipv4), "unset 127.0.0.1") << "it is down";
  intf->adminUpIs(true);
  EXPECT_EQ(chosen(AddressFamily::ipv4), "10.0.0.2 127.0.0.1");
  EXPECT_EQ(chosen(AddressFamily::ipv6), "2001:db8::2 fe80::2") << "tentative ones are passed over";
  intf->addressIs(at("2001:db8::1"), {});
  intf->addressIs(at("fe80::1"), {.global = false});
  EXPECT_EQ(chosen(AddressFamily::ipv6), "2001:db8::2 fe80::1");
  intf->adminUpIs(false);
  EXPECT_EQ(chosen(AddressFamily::ipv6), "unset fe80::1");
  intf->adminUpIs(true);
  EXPECT_EQ(chosen(AddressFamily::ipv6), "2001:db8::1 fe80::1");
  intf->addressIs(at("2001:db8::1"), {.usable = false});
  EXPECT_EQ(chosen(AddressFamily::ipv6), "2001:db8::2 fe80::1");
  intf->addressDel(at("2001:db8::2"));
  EXPECT_EQ(chosen(AddressFamily::ipv6), "unset fe80::1");
}

}  // namespace
