#include <gtest/gtest.h>

#include "platform/ip/SourceIntf.h"
#include "tests/support/Addresses.h"

namespace {

struct Recorder : Ip::SourceIntf::Notifiee {
  explicit Recorder(const Kiv::Ptr<const Ip::SourceIntf> &sourceIntf) { notifierIs(sourceIntf); }
  void onIpAddr() override { heard << notifier()->ipAddr() << ' '; }
  void onPresent() override { heard << (notifier()->present() ? "there " : "gone "); }
  std::ostringstream heard;
};

TEST(SourceIntf, AnEntryFollowsWhateverInterfaceHasItsName) {
  const auto directory = Kiv::make<Ip::SourceIntfDir>("source");
  const auto all = Kiv::make<Ip::AllIntfStatusDir>();
  const Pax::IntfId lo("", "lo"), eth0("", "eth0");
  all->intfStatusIs(eth0)->ipAddrIs(::Test::ipv4.host(9));
  Ip::SourceIntfSm sourceIntfSm(directory, all);
  Recorder recorder(sourceIntfSm.sourceIntfIs(lo));
  const auto heard = [&] {
    const std::string text = recorder.heard.str();
    recorder.heard.str("");
    return text;
  };

  const Kiv::Ptr<Ip::IntfStatus> first = all->intfStatusIs(lo);
  first->ipAddrIs(::Test::ipv4.host(1));
  first->ipAddrIs(::Test::ipv4.host(2));
  EXPECT_EQ(heard(), "there 10.0.0.1 10.0.0.2 ");
  all->intfStatusDel(lo);
  EXPECT_EQ(heard(), "gone unset ");
  first->ipAddrIs(::Test::ipv4.host(3));
  EXPECT_EQ(heard(), "") << "an interface that is gone still speaks";
  all->intfStatusIs(lo)->ipAddrIs(::Test::ipv4.host(4));
  EXPECT_EQ(heard(), "there 10.0.0.4 ");

  EXPECT_EQ(sourceIntfSm.sourceIntfIs(eth0)->ipAddr(), ::Test::ipv4.host(9));
  EXPECT_TRUE(sourceIntfSm.sourceIntfIs(eth0)->present());
  EXPECT_EQ(directory->sourceIntf().size(), 2u) << "nobody asked for more";
}

}  // namespace
