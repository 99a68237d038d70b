#include <gtest/gtest.h>

#include <memory>

#include "platform/flume/Fib.h"
#include "platform/ip/IntfStatus.h"
#include "platform/statehub/Store.h"

namespace {

using Interfaces = Ip::AllIntfStatusDir;
using Routes = Flume::Fib::RouteStatus;

struct Statehub_ : testing::Test {
  Statehub::Store store;
  Kiv::Ptr<Interfaces> interfaces;
  Kiv::Ptr<const Routes> routes;
  int completed = 0;

  std::unique_ptr<Statehub::MountGroup> group() {
    auto result = std::make_unique<Statehub::MountGroup>(store);
    result->mount("interfaces", interfaces);
    result->mount("routes", routes);
    result->whenComplete([this] { ++completed; });
    return result;
  }
};

TEST_F(Statehub_, AGroupCompletesOnceWhenAllItsPathsAreThere) {
  const auto mine = Kiv::make<Interfaces>();
  const auto theirs = Kiv::make<Routes>();
  store.publish("interfaces", mine);
  const auto waiting = group();
  EXPECT_EQ(interfaces, mine);
  EXPECT_EQ(completed, 0);
  store.withdraw("interfaces");
  EXPECT_FALSE(interfaces);
  EXPECT_TRUE(store.paths().empty());
  store.publish("routes", theirs);
  EXPECT_EQ(completed, 0) << "a withdrawn path is waited for again";
  store.publish("interfaces", mine);
  EXPECT_EQ(completed, 1);
  store.publish("local/interfaces", Kiv::make<Interfaces>());
  EXPECT_EQ(routes, theirs);
  const auto atOnce = group();
  EXPECT_EQ(completed, 2) << "everything is there already";
  EXPECT_EQ(store.paths(), (std::vector<std::string>{"interfaces", "local/interfaces", "routes"}));
}

}  // namespace
