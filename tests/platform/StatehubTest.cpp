#include <gtest/gtest.h>

#include <memory>

#include "platform/kiv/Attributes.h"
#include "platform/statehub/Store.h"

namespace {

class Speed : public Kiv::Entity {
#define ATTRIBUTES(ATTRIBUTE) ATTRIBUTE(value, uint32_t, value, Value, 0)
  KIV_ENTITY(Speed, ATTRIBUTES)
#undef ATTRIBUTES
};

class Colour : public Kiv::Entity {
#define ATTRIBUTES(ATTRIBUTE) ATTRIBUTE(value, std::string, name, Name, "red")
  KIV_ENTITY(Colour, ATTRIBUTES)
#undef ATTRIBUTES
};

struct Statehub_ : testing::Test {
  Statehub::Store store;
  Kiv::Ptr<Speed> speed;
  Kiv::Ptr<const Colour> colour;
  int completed = 0;

  std::unique_ptr<Statehub::MountGroup> group() {
    auto result = std::make_unique<Statehub::MountGroup>(store);
    result->mount("car/speed", speed);
    result->mount("car/colour", colour);
    result->whenComplete([this] { ++completed; });
    return result;
  }
};

TEST_F(Statehub_, AGroupCompletesOnceWhenAllItsPathsAreThere) {
  const auto mine = Kiv::make<Speed>();
  store.publish("car/speed", mine);
  const auto waiting = group();
  EXPECT_EQ(speed, mine);
  EXPECT_EQ(completed, 0);
  store.publish("bus/speed", Kiv::make<Speed>());
  EXPECT_FALSE(waiting->complete());
  store.publish("car/colour", Kiv::make<Colour>());
  EXPECT_EQ(completed, 1);
  EXPECT_EQ(colour->name(), "red");
  const auto atOnce = group();
  EXPECT_EQ(completed, 2) << "everything is there already";
  EXPECT_EQ(store.paths(), (std::vector<std::string>{"bus/speed", "car/colour", "car/speed"}));
}

TEST_F(Statehub_, AWithdrawnPathIsWaitedForAgainButACompleteGroupKeepsIt) {
  store.publish("car/speed", Kiv::make<Speed>());
  const auto waiting = group();
  store.withdraw("car/speed");
  EXPECT_FALSE(speed);
  store.publish("car/colour", Kiv::make<Colour>());
  EXPECT_EQ(completed, 0);
  store.publish("car/speed", Kiv::make<Speed>());
  EXPECT_EQ(completed, 1);
  store.withdraw("car/speed");
  store.withdraw("car/speed");
  store.withdraw("nowhere");
  EXPECT_TRUE(speed);
  EXPECT_FALSE(store.entity("car/speed"));
  store.publish("car/speed", Kiv::make<Speed>());
  EXPECT_EQ(completed, 1);
  EXPECT_NE(store.entity("car/speed"), speed);
}

using StatehubDeathTest = Statehub_;

TEST_F(StatehubDeathTest, AnotherTypeOrASecondPublicationIsFatal) {
  store.publish("car/speed", Kiv::make<Speed>());
  Statehub::MountGroup group(store);
  Kiv::Ptr<Colour> wrong;
  EXPECT_DEATH(group.mount("car/speed", wrong), "Assertion failed");
  EXPECT_DEATH(store.publish("car/speed", Kiv::make<Speed>()), "Assertion failed: !published.entity");
  group.mount("car/paint", wrong);
  EXPECT_DEATH(store.publish("car/paint", Kiv::make<Speed>()), "Assertion failed");
  Statehub::MountGroup other(store);
  EXPECT_DEATH(other.mount("car/paint", speed), "Assertion failed") << "two mounts of different types";
}

}  // namespace
