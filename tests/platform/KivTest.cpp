#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>
#include <memory>
#include <random>

#include "platform/kiv/Attributes.h"

namespace {

class Leaf : public Kiv::Entity {
 public:
  Leaf() = default;
  explicit Leaf(uint32_t key) : key(key) {}
  ~Leaf() override { ++gone; }
  static inline int gone = 0;
  const uint32_t key = 0;
#define ATTRIBUTES(ATTRIBUTE) ATTRIBUTE(value, uint16_t, size, Size, 3)
  KIV_ENTITY(Leaf, ATTRIBUTES)
#undef ATTRIBUTES
};

class Tree : public Kiv::Entity {
#define ATTRIBUTES(ATTRIBUTE)                            \
  ATTRIBUTE(value, bool, green, Green, true)             \
  ATTRIBUTE(value, std::string, label, Label, {})        \
  ATTRIBUTE(counter, fallen, Fallen)                     \
  ATTRIBUTE(pointer, Leaf, best, Best)                   \
  ATTRIBUTE(child, Leaf, top, Top)                       \
  ATTRIBUTE(set, uint32_t, nest, Nest)                   \
  ATTRIBUTE(values, uint32_t, std::string, owner, Owner) \
  ATTRIBUTE(map, uint32_t, Leaf, leaf, Leaf)
  KIV_ENTITY(Tree, ATTRIBUTES)
#undef ATTRIBUTES
};

// Writes down what it is told, and does what the test hangs in.
struct Watcher : Tree::Notifiee {
  explicit Watcher(const Kiv::Ptr<Tree> &tree) { notifierIs(tree); }
  void onGreen() override { told("green"); }
  void onLabel() override { told("label=" + notifier()->label()); }
  void onFallen() override { told("fallen=" + std::to_string(notifier()->fallen())); }
  void onBest() override { told("best"); }
  void onTop() override { told(notifier()->top() ? "top" : "no top"); }
  void onNest(const uint32_t &key) override { told((notifier()->nest(key) ? "+n" : "-n") + std::to_string(key)); }
  void onOwner(const uint32_t &key) override {
    told("o" + std::to_string(key) + (notifier()->owner(key) ? "=" + *notifier()->owner(key) : " gone"));
  }
  void onLeaf(const uint32_t &key) override { told((notifier()->leaf(key) ? "+l" : "-l") + std::to_string(key)); }
  void told(const std::string &what) {
    heard += (heard.empty() ? "" : " ") + what;
    if (then) {
      auto action = then;  // it may destroy this
      action(what);
    }
  }
  void replay() { notifierReplay(); }

  std::string heard;
  std::function<void(const std::string &)> then;
};

struct KivEntity : testing::Test {
  Kiv::Ptr<Tree> tree = Kiv::make<Tree>();
  Watcher watcher{tree};
  std::string &heard = watcher.heard;
};

TEST_F(KivEntity, AnEqualValueIsSilentAndACounterIncrementNeverIs) {
  tree->greenIs(true);
  tree->labelIs("");
  EXPECT_EQ(heard, "");
  tree->greenIs(false);
  tree->labelIs("oak");
  tree->fallenIs(7);
  tree->fallenIs(7);
  tree->fallenInc();
  tree->fallenInc(0);
  const auto one = Kiv::make<Leaf>(), twin = Kiv::make<Leaf>();
  tree->bestIs(one);
  tree->bestIs(one);
  tree->bestIs(twin);
  tree->bestIs(nullptr);
  EXPECT_EQ(heard, "green label=oak fallen=7 fallen=8 fallen=8 best best best");
}

TEST_F(KivEntity, CollectionsTellTheKeyAfterTheElementHasComeOrGone) {
  tree->nestIs(1);
  tree->nestIs(1);
  tree->nestDel(1);
  tree->nestDel(1);
  tree->ownerIs(2, "jay");
  tree->ownerIs(2, "jay");
  tree->ownerIs(2, "owl");
  tree->ownerDel(2);
  const auto leaf = tree->leafIs(3);
  EXPECT_EQ(leaf->key, 3u) << "an element is constructed with its key";
  EXPECT_EQ(tree->leafIs(3), leaf);
  tree->leafIs(4);
  tree->leafDelAll();
  tree->topIs("top");
  tree->topIs("top");
  tree->topDel();
  tree->topDel();
  EXPECT_EQ(heard, "+n1 -n1 o2=jay o2=owl o2 gone +l3 +l4 -l3 -l4 top no top");
  EXPECT_FALSE(tree->leaf(3));
  EXPECT_EQ(tree->owner(2), nullptr);
}

TEST_F(KivEntity, AReplayTellsWhatIsThereButWhatItsCallbacksDeleteAndEndsWithItsReactor) {
  for (uint32_t key = 1; key <= 4; ++key) tree->leafIs(key);
  tree->nestIs(9);
  tree->ownerIs(8, "jay");
  tree->topIs("top");
  Watcher late(tree);
  EXPECT_EQ(late.heard, "") << "it has not asked";
  late.then = [&](const std::string &what) {
    if (what == "+l1") tree->leafDel(3);
  };
  late.replay();
  EXPECT_EQ(late.heard, "top +n9 o8=jay +l1 -l3 +l2 +l4");

  auto dying = std::make_unique<Watcher>(tree);
  int count = 0;
  dying->then = [&](const std::string &) {
    if (++count == 2) dying.reset();
  };
  dying->replay();
  EXPECT_EQ(count, 2);
}

TEST_F(KivEntity, AReactorMayDestroyItselfAndOthersInItsCallbackAndInNestedOnes) {
  auto first = std::make_unique<Watcher>(tree), second = std::make_unique<Watcher>(tree),
       third = std::make_unique<Watcher>(tree), last = std::make_unique<Watcher>(tree);
  std::unique_ptr<Watcher> late;
  std::string thirdHeard;
  third->then = [&](const std::string &what) { thirdHeard += what; };
  first->then = [&](const std::string &what) {
    if (what != "green") return second.reset(), first.reset();
    tree->fallenInc();
    last.reset();
    late = std::make_unique<Watcher>(tree);
  };
  tree->greenIs(false);
  EXPECT_EQ(thirdHeard, "fallen=1green");
  EXPECT_EQ(late->heard, "") << "it came in place of the last while the notification ran";
  tree->greenIs(true);
  EXPECT_EQ(thirdHeard, "fallen=1greengreen");
}

TEST(KivEntityLife, AnElementTakenOutLivesOnAndStillTellsItsReactors) {
  struct LeafWatcher : Leaf::Notifiee {
    void onSize() override { ++count; }
    int count = 0;
  };
  Leaf::gone = 0;
  auto tree = Kiv::make<Tree>();
  auto leaf = tree->leafIs(1);
  LeafWatcher watcher;
  watcher.notifierIs(leaf);
  tree->leafDel(1);
  tree = nullptr;
  leaf->sizeIs(5);
  EXPECT_EQ(watcher.count, 1);
  leaf = nullptr;
  EXPECT_EQ(Leaf::gone, 0) << "a reactor holds its entity";
  watcher.notifierIs(nullptr);
  EXPECT_EQ(Leaf::gone, 1);
}

TEST(KivEntityLife, AnEntityWhoseLastHolderGoesInItsOwnNotificationStaysForIt) {
  auto tree = Kiv::make<Tree>();
  Tree *const raw = tree.get();
  auto only = std::make_unique<Watcher>(tree);
  only->then = [&](const std::string &) {
    tree = nullptr;
    only.reset();
    raw->nestDel(2);
  };
  raw->nestIs(2);
}

TEST_F(KivEntity, ADeletedKeyMayBelongToTheElementItself) {
  tree->ownerIs(1, "jay");
  tree->ownerIs(2, "owl");
  watcher.then = [&](const std::string &what) {
    if (what == "o1=cat") tree->ownerDel(1);
  };
  Watcher second(tree);
  for (const auto &[key, owner] : tree->owner()) tree->ownerIs(key, "cat");
  for (const auto &[key, owner] : tree->owner()) tree->ownerDel(key);
  EXPECT_EQ(second.heard, "o1 gone o1 gone o2=cat o2 gone");
}

// A table of texts by number beside a plain list of its elements by age, under random changes.
struct TableAndList {
  explicit TableAndList(uint32_t seed) : random(seed) {}
  uint32_t below(uint32_t n) { return static_cast<uint32_t>(random() % n); }
  void change(uint32_t inserts) {
    const uint32_t key = below(keys) * 2654435761u;
    const auto found = std::ranges::find(list, key, [](const auto &each) { return each.second; });
    ASSERT_EQ(table.contains(key), found != list.end());
    if (found != list.end()) {
      ASSERT_EQ(table.erase(key), std::to_string(key));
      list.erase(found);
    } else if (below(100) < inserts) {
      table.insert(key, std::to_string(key));
      list[++age] = key;
    } else {
      ASSERT_EQ(table.erase(key), "");
    }
  }
  // Meets what is behind the last met in the list, whatever happens on the way.
  void walk(uint32_t depth) {
    uint64_t at = 0;
    for (const auto &[key, value] : table) {
      const auto due = list.upper_bound(at);
      ASSERT_TRUE(due != list.end() && key == due->second && value == std::to_string(key));
      at = due->first;
      if (below(4) == 0) table.erase(key), list.erase(at);
      for (uint32_t n = below(3); n > 0; --n) change(30);
      if (depth > 0 && below(20) == 0) walk(depth - 1);
      if (testing::Test::HasFatalFailure()) return;
    }
    ASSERT_EQ(list.upper_bound(at), list.end());
  }

  std::mt19937 random;
  uint32_t keys = 5;
  uint64_t age = 0;
  Kiv::Table<uint32_t, std::string> table;
  std::map<uint64_t, uint32_t> list;
};

TEST(KivTable, KeepsItsOrderAndItsWalksThroughEveryChange) {
  const uint32_t seed = std::random_device()();
  SCOPED_TRACE("seed " + std::to_string(seed));
  TableAndList both(seed);
  for (int round = 0; round < 2000 && !HasFatalFailure(); ++round) {
    both.keys = round < 1000 ? 5 : 300;  // a small one, then a hashed one
    both.change(80);
    both.walk(1);
  }
}

}  // namespace
