#include <gtest/gtest.h>

#include "ctl/Options.h"
#include "ctl/Table.h"
#include "daemon/Options.h"

namespace {

using Control::Rows;

TEST(CommandLine, TheClientTakesVerbNounAndOptionsInAnyOrder) {
  const auto options = Control::optionsFrom({"watch", "--json", "rp-set", "-6", "--vrf=blue"});
  EXPECT_EQ(options.action, Control::Options::Action::watch);
  EXPECT_EQ(Control::toLine(options.request), R"({"verb":"show","noun":"rp-set","vrf":"blue"})");
  EXPECT_EQ(options.socket, "/run/pimbsr/PimBsr6.sock");
  EXPECT_TRUE(options.json);
  EXPECT_EQ(Control::optionsFrom({"trace", "*=9"}).request.argument, "*=9");
  EXPECT_EQ(Control::optionsFrom({"clear", "counters"}).request.argument, "counters");
  EXPECT_EQ(Control::toLine(Control::optionsFrom({"show", "events", "--since=7", "--zone=239.0.0.0/8",
                                                  "--severity=error", "--kind=bsrLost"}).request),
            R"({"verb":"show","noun":"events","since":"7","zone":"239.0.0.0/8","severity":"error","kind":"bsrLost"})");
  EXPECT_EQ(Control::optionsFrom({"show", "rp", "225.1.1.1"}).request.argument, "225.1.1.1");
  EXPECT_EQ(Control::optionsFrom({"stage", "boot", "NetworkAgent"}).request.argument, "boot NetworkAgent");
  EXPECT_EQ(Control::optionsFrom({"show", "state"}).noun->layout, Control::Noun::Layout::table);
  EXPECT_EQ(Control::optionsFrom({"show", "state", "a/b"}).noun->layout, Control::Noun::Layout::file);
  EXPECT_EQ(Control::optionsFrom({"show", "state", "a/b"}).request.argument, "a/b");
  EXPECT_EQ(Control::optionsFrom({"reload"}).socket, "/run/pimbsr/PimBsr.sock");

  const std::vector<std::vector<std::string>> bad{
      {},
      {"show"},
      {"show", "weather"},
      {"dance", "bsr"},
      {"show", "bsr", "more"},
      {"show", "rp"},
      {"reload", "now"},
      {"clear"},
      {"stage", "boot"},
      {"show", "bsr", "-4", "-6"},
      {"show", "bsr", "--js"},
      {"show", "bsr", "--socket"},
  };
  for (const auto &arguments : bad) EXPECT_THROW(Control::optionsFrom(arguments), Control::UsageError);
}

TEST(CommandLine, TheAgentHasTheDefaultsOfItsFamilyAndRefusesTheRest) {
  namespace Bsr = Routing::Pim::Bsr;
  const auto ipv6 = Pax::AddressFamily::ipv6;
  const auto options = Bsr::optionsFrom(ipv6, {"--trace", "A=1", "--check", "--trace=*=9"});
  EXPECT_EQ(options.action, Bsr::Options::Action::check);
  EXPECT_EQ(options.config, "/etc/pimbsr/PimBsr6.json");
  EXPECT_EQ(options.state, "/run/pimbsr/PimBsr6.state");
  EXPECT_EQ(options.socket, "/run/pimbsr/PimBsr6.sock");
  EXPECT_EQ(options.trace, (std::vector<std::pair<std::string, int>>{{"A", 1}, {"*", 9}}));
  for (const std::vector<std::string> &arguments : std::vector<std::vector<std::string>>{
           {"file"}, {"--conf", "x"}, {"--config"}, {"--trace", "A"}, {"--trace", "A=10"}, {"--trace", "=1"}}) {
    EXPECT_THROW(Bsr::optionsFrom(ipv6, arguments), Bsr::UsageError) << arguments[0];
  }
}

}  // namespace
