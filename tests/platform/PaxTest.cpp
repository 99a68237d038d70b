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

/// What reading the text and writing it again gives; "refused" where it is no value.
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
  const std::pair<std::string_view, const char *> addresses[] = {
      {"10.0.0.1", "10.0.0.1"},
      {"FE80:0:0::1", "fe80::1"},
      {"::", "::"},
      {"0.0.0.0", "0.0.0.0"},
      {"", "refused"},
      {"10.0.0.256", "refused"},
      {"fe80::1%eth0", "refused"},
      {" 10.0.0.1", "refused"},
      {"10.0.0.1\0x"sv, "refused"},
      {"1::2::3", "refused"},
  };
  for (const auto &[given, expected] : addresses) EXPECT_EQ(again<IpGenAddr>(given), expected) << given;
  const std::pair<std::string_view, const char *> prefixes[] = {
      {"239.1.2.3/8", "239.0.0.0/8"},
      {"0.0.0.0/0", "0.0.0.0/0"},
      {"ff3e:ffff::/31", "ff3e:fffe::/31"},
      {"2001:db8::ffff/127", "2001:db8::fffe/127"},
      {"10.0.0.0", "refused"},
      {"10.0.0.0/33", "refused"},
      {"::/129", "refused"},
      {"10.0.0.0/", "refused"},
      {"10.0.0.0/-1", "refused"},
      {"10.0.0.0/264", "refused"},
      {"/8", "refused"},
  };
  for (const auto &[given, expected] : prefixes) EXPECT_EQ(again<IpGenPrefix>(given), expected) << given;
  const std::pair<std::string_view, const char *> interfaces[] = {
      {"eth0", "eth0"},   {"default/eth0", "eth0"}, {"blue/lo", "blue/lo"}, {"", ""},
      {"/lo", "refused"}, {"blue/", "refused"},     {"a/b/c", "refused"},
  };
  for (const auto &[given, expected] : interfaces) EXPECT_EQ(again<IntfId>(given), expected) << given;
  const std::pair<std::string_view, const char *> modes[] = {
      {"sparsemode", "sparsemode"}, {"bidir", "bidir"}, {"Bidir", "refused"}, {"", "refused"}, {"sparse", "refused"},
  };
  for (const auto &[given, expected] : modes) EXPECT_EQ(again<Routing::Pim::Mode>(given), expected) << given;
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
  EXPECT_EQ(chosen(AddressFamily::ipv4), "10.0.0.2 127.0.0.1");
  EXPECT_EQ(chosen(AddressFamily::ipv6), "2001:db8::2 fe80::2") << "tentative ones are passed over";
  intf->addressIs(at("2001:db8::1"), {});
  intf->addressIs(at("fe80::1"), {.global = false});
  EXPECT_EQ(chosen(AddressFamily::ipv6), "2001:db8::2 fe80::1");
  intf->addressIs(at("2001:db8::2"), {.usable = false});
  EXPECT_EQ(chosen(AddressFamily::ipv6), "2001:db8::1 fe80::1");
  intf->addressDel(at("2001:db8::1"));
  EXPECT_EQ(chosen(AddressFamily::ipv6), "unset fe80::1");
}

}  // namespace
