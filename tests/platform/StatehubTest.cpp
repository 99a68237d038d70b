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
  store.withdraw("car/speed");
  EXPECT_FALSE(speed);
  store.publish("car/colour", Kiv::make<Colour>());
  EXPECT_EQ(completed, 0) << "a withdrawn path is waited for again";
  store.publish("car/speed", mine);
  EXPECT_EQ(completed, 1);
  store.publish("bus/speed", Kiv::make<Speed>());
  EXPECT_EQ(colour->name(), "red");
  const auto atOnce = group();
  EXPECT_EQ(completed, 2) << "everything is there already";
  EXPECT_EQ(store.paths(), (std::vector<std::string>{"bus/speed", "car/colour", "car/speed"}));
}

}  // namespace
