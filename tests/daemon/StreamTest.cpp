#include <gtest/gtest.h>

#include <optional>

#include "daemon/control/Streams.h"
#include "daemon/streams/Feeds.h"
#include "tests/support/ManualClock.h"

namespace Routing::Pim::Bsr {
namespace {

using Lines = std::vector<std::string>;

// A subscriber that takes what it is sent, until it is told not to.
class Subscriber {
 public:
  explicit Subscriber(Control::Reply reply) : reply_(std::move(reply)) { ask(); }

  // The lines that came since the last call.
  Lines heard() {
    Lines lines;
    for (size_t end; (end = text_.find('\n')) != text_.npos; text_.erase(0, end + 1))
      lines.push_back(text_.substr(0, end));
    return lines;
  }
  // The line that has no end yet.
  const std::string &rest() const { return text_; }
  void takesIs(bool takes) {
    takes_ = takes;
    if (takes && !asked_) ask();
  }
  bool ended() const { return ended_; }

 private:
  void ask() {
    asked_ = true;
    reply_([this](const std::string &piece) {
      asked_ = false;
      text_ += piece;
      ended_ = piece.empty();
      if (takes_ && !ended_) ask();
    });
  }

  Control::Reply reply_;
  std::string text_;
  bool takes_ = true;
  bool asked_ = false;
  bool ended_ = false;
};

Rows border(const std::string &prefix, int sources, double upTime = 0) {
  return {{"vrf", "default"}, {"prefix", prefix}, {"sources", sources}, {"upTime", upTime}};
}

// Feeds of rows that a test sets, on virtual time.
class StreamTest : public ::testing::Test {
 protected:
  Subscriber subscribe(const std::string &nouns, const std::string &vrf = "", const std::string &argument = "") {
    return Subscriber(feeds->subscribe({"subscribe", nouns, vrf, argument}));
  }
  std::string refusal(const std::string &nouns, const std::string &argument = "") {
    try {
      subscribe(nouns, "", argument);
      return "none";
    } catch (const std::exception &error) {
      return error.what();
    }
  }
  void pass(double seconds) { time.advanceTo(time.now() + seconds); }
  void happens(const std::string &vrf) { events.tell({.kind = EventKind::rpChanged, .vrf = vrf, .text = "so"}); }
  // Shows the rows, and lets the change be told.
  void rowsAre(Rows now) {
    rows = std::move(now);
    happens("default");
    pass(1);
  }

  ::Test::ManualTime time;
  Kiv::Ptr<Orb::TimerWheel> wheel = Kiv::make<Orb::TimerWheel>(time, time);
  EventLog events{[this] { return time.now(); }};
  Rows rows = Rows::array();
  int readings = 0;
  std::optional<Feeds> feeds{
      std::in_place, time, wheel, events, Rows{{"protocol", 1}}, [this](const Control::Request &request) {
        if (request.vrf == "red") throw std::invalid_argument("there is no VRF 'red'");
        ++readings;
        return [this, next = size_t{0}](Rows &some) mutable {
          if (next < rows.size()) some.push_back(rows[next++]);
          return next < rows.size();
        };
      }};
};

TEST_F(StreamTest, ASnapshotIsFollowedByEachChangeOfWhatLasts) {
  rows = {border("225.0.0.0/8", 1), border("226.0.0.0/8", 1)};
  Subscriber subscriber = subscribe("border");
  pass(1);
  EXPECT_EQ(subscriber.heard(), (Lines{R"({"protocol":1,"subscribed":["border"]})",
                                       R"({"seq":1,"noun":"border","key":["vrf","prefix"],"snapshot":[)" +
                                           rows[0].dump() + "," + rows[1].dump() + "]}"}));
  rowsAre({border("225.0.0.0/8", 1, 7), border("226.0.0.0/8", 1, 7)});
  EXPECT_EQ(subscriber.heard(), Lines{}) << "time goes by";
  rowsAre({border("224.0.0.0/8", 1), border("226.0.0.0/8", 2, 8)});
  EXPECT_EQ(subscriber.heard(),
            (Lines{R"({"seq":2,"noun":"border","change":"removed","row":)" + border("225.0.0.0/8", 1, 7).dump() + "}",
                   R"({"seq":3,"noun":"border","change":"added","row":)" + rows[0].dump() + "}",
                   R"({"seq":4,"noun":"border","change":"changed","row":)" + rows[1].dump() + "}"}));
  pass(Control::heartbeatInterval);
  EXPECT_EQ(subscriber.heard(), Lines{R"({"heartbeat":4})"});
}

TEST_F(StreamTest, WhoeverFollowsTheSameSharesItsReadingsAndNobodyReadsAtRest) {
  std::vector<std::unique_ptr<Subscriber>> subscribers;
  for (size_t i = 0; i < Feeds::mostSubscriptions; ++i) {
    subscribers.push_back(std::make_unique<Subscriber>(feeds->subscribe({"subscribe", "border acl", "default", ""})));
  }
  pass(0);
  const int refused = static_cast<int>(2 * Feeds::mostSubscriptions);  // each was tried whether it is right
  EXPECT_EQ(readings, refused + 2);
  EXPECT_EQ(refusal("border"), "too many subscriptions: 32 are served");
  subscribers.pop_back();
  EXPECT_EQ(refusal("border"), "none");

  readings = 0;
  for (int i = 0; i < 100; ++i) happens(i % 2 ? "default" : "");
  happens("blue");
  pass(Feed::delay);
  EXPECT_EQ(readings, 2);
  happens("blue");
  pass(1000);
  EXPECT_EQ(readings, 2);
  subscribers.clear();
  happens("");
  pass(100);
  EXPECT_TRUE(time.idle());
  EXPECT_EQ(readings, 2);
}

TEST_F(StreamTest, AReadingIsSlicedAndWhatChangesMeanwhileIsReadAgain) {
  rows = {border("225.0.0.0/8", 1), border("226.0.0.0/8", 1)};
  Subscriber subscriber = subscribe("border");
  pass(1);
  subscriber.heard();
  time.hurried = true;
  happens("default");
  const uint64_t runs = time.runs();
  pass(Feed::delay);
  EXPECT_GE(time.runs(), runs + rows.size()) << "a row a turn";
  happens("default");
  for (const int before = readings; readings == before;) time.step(time.now() + 1);
  rows = Rows::array({border("225.0.0.0/8", 2)});  // the first row is read already
  happens("default");
  pass(1);
  const Lines heard = subscriber.heard();
  ASSERT_EQ(heard.size(), 2u);
  EXPECT_EQ(heard[0].find(R"({"seq":2,"noun":"border","change":"removed","row":{"vrf":"default","prefix":"226)"), 0u);
  EXPECT_EQ(heard[1].find(R"({"seq":3,"noun":"border","change":"changed","row":{"vrf":"default","prefix":"225)"), 0u);
}

TEST_F(StreamTest, ManyChangesAtOnceComeAsANewSnapshotWhichAlsoReplacesWhatWaits) {
  Subscriber subscriber = subscribe("border");
  pass(1);
  subscriber.heard();
  subscriber.takesIs(false);
  rowsAre(Rows::array({border("225.0.0.0/8", 1)}));  // this piece is on its way
  rowsAre(Rows::array({border("225.0.0.0/8", 2)}));
  Rows many = Rows::array();
  for (size_t i = 0; i < Feed::mostChanges + 2; ++i) many.push_back(border(std::to_string(i), 1));
  rowsAre(many);
  rowsAre(Rows::array({many[0]}));
  rowsAre(Rows::array({many[0], border(std::string(Feed::mostBytes, 'x'), 1)}));
  rowsAre(Rows::array({many[0]}));
  subscriber.takesIs(true);
  const Lines heard = subscriber.heard();
  ASSERT_EQ(heard.size(), 2u);
  EXPECT_EQ(heard[0].find(R"({"seq":2,"noun":"border","change":"added")"), 0u);
  EXPECT_EQ(heard[1], R"({"seq":3,"noun":"border","key":["vrf","prefix"],"snapshot":[)" + many[0].dump() + "]}");
}

TEST_F(StreamTest, ASubscriberThatDoesNotReadIsToldSoAndCutOff) {
  const std::string text(1000, 'x');
  Rows many = Rows::array();
  for (int i = 0; i < 200; ++i) many.push_back(border(std::to_string(i) + text, 0));
  rows = many;
  Subscriber other = subscribe("border");
  Subscriber slow = subscribe("border");
  slow.takesIs(false);
  pass(1);
  slow.takesIs(true);
  slow.takesIs(false);
  for (int round = 1; round <= 6; ++round) {
    for (Rows &row : many) row["sources"] = round;
    rowsAre(many);
  }
  slow.takesIs(true);
  const std::string error =
      R"("error":"this subscriber reads too slowly: more than 1 MiB waited, the subscription has ended"})";
  EXPECT_TRUE(slow.rest().ends_with(error)) << slow.rest().substr(0, 1000);
  EXPECT_EQ(other.heard().size(), 2u + 6 * 200) << "is served";
  EXPECT_TRUE(slow.ended());
  pass(100);
  EXPECT_LT(slow.heard().size(), 2u + 200);
}

TEST_F(StreamTest, ATableThatIsBeingTakenWhenASubscriberIsCutOffIsStillOneObject) {
  const std::string text(1000, 'x');
  Rows many = Rows::array();
  for (int i = 0; i < 200; ++i) many.push_back(border(std::to_string(i) + text, 0));
  rows = many;
  Control::Reply reply = feeds->subscribe({"subscribe", "border", "", ""});
  std::string taken;
  const Control::Send take = [&](const std::string &piece) { taken += piece; };
  reply(take);
  pass(1);
  reply(take);
  for (int round = 1; round <= 6; ++round) {
    for (Rows &row : many) row["sources"] = round;
    rowsAre(many);
  }
  taken.erase(0, taken.find('\n') + 1);
  reply(take);
  const Rows line = Rows::parse(taken);
  EXPECT_EQ(line["snapshot"][0], border("0" + text, 0));
  EXPECT_TRUE(line.contains("error"));
  reply([&](const std::string &piece) { EXPECT_EQ(piece, ""); });
}

TEST_F(StreamTest, EventsComeWithThoseThatAreKeptAndBesideNouns) {
  happens("default");
  happens("blue");
  Subscriber subscriber = subscribe("border events", "blue");
  pass(1);
  happens("default");
  happens("blue");
  const std::string event = R"("time":"1970-01-01T00:16:4%.000Z","severity":"notice","vrf":"blue","kind":"rpChanged",)"
                            R"("text":"so"})";
  const auto at = [&](char second) { return std::string(event).replace(event.find('%'), 1, 1, second); };
  EXPECT_EQ(subscriber.heard(),
            (Lines{R"({"protocol":1,"subscribed":["border","events"]})",
                   R"({"seq":1,"noun":"events","key":["seq"],"snapshot":[{"seq":2,)" + at('0') + "]}",
                   R"({"seq":2,"noun":"border","key":["vrf","prefix"],"snapshot":[]})",
                   R"({"seq":3,"noun":"events","change":"added","row":{"seq":4,)" + at('1') + "}"}));
}

TEST_F(StreamTest, WrongSubscriptionsAreRefused) {
  EXPECT_EQ(refusal("weather").find("'weather' cannot be subscribed to; what can: events, agent, vrf, bsr,"), 0u);
  EXPECT_EQ(refusal("border counters").find("'counters' cannot be subscribed to;"), 0u);
  EXPECT_EQ(refusal(" ").find("'subscribe' needs a noun: events, agent,"), 0u);
  EXPECT_EQ(refusal("border rp"), "'rp' needs 'GROUP'");
  EXPECT_EQ(refusal("border", "eth0"), "'border' takes no argument");
  EXPECT_EQ(refusal("rp border", "225.0.0.1"), "a subscription with an argument is to one noun");
  EXPECT_THROW(subscribe("border", "red"), std::invalid_argument);
}

}  // namespace
}  // namespace Routing::Pim::Bsr
