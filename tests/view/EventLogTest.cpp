#include "view/EventLog.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <optional>

#include "tests/support/ManualClock.h"
#include "view/Reporting.h"

namespace Routing::Pim::Bsr {
namespace {

Event eventOf(EventKind kind, const std::string &text, Severity severity = Severity::notice) {
  Event event{.kind = kind, .severity = severity};
  event.text = text;
  return event;
}

std::string textsOf(const EventLog &log, const EventFilter &filter) {
  std::string texts;
  for (const auto &row : eventRows(log, filter)) texts += row["text"].get<std::string>();
  return texts;
}

TEST(Events, AreNumberedTimedCountedAndTheOldestGo) {
  double now = 1e9 - 1;
  EventLog log([&] { return now; });
  EXPECT_EQ(log.lastSeq(), 0u);
  log.tell(eventOf(EventKind::agentStarted, "first"));
  for (now = 1e9 + 0.25; log.lastSeq() < 1001;) log.tell(eventOf(EventKind::vrfRuns, "later"));
  EXPECT_EQ(log.events().size(), 1000u);
  EXPECT_EQ(log.events().front().seq, 2u);
  EXPECT_EQ(log.events().front().time, 1e9 + 0.25);
  EXPECT_EQ(log.counts(), (std::map<EventKind, uint64_t>{{EventKind::agentStarted, 1}, {EventKind::vrfRuns, 1000}}));
}

TEST(Events, ReachEveryListenerInOneOrderWhateverTheyDoMeanwhile) {
  EventLog log([] { return 0.0; });
  std::string heard;
  std::optional<EventLog::Listening> once;
  const auto teller = log.listen([&](const Event &event) {
    if (event.text == "a") log.tell(eventOf(EventKind::vrfRuns, "b"));
  });
  once = log.listen([&](const Event &event) {
    heard += "once " + event.text + " ";
    once.reset();
  });
  const auto last = log.listen([&](const Event &event) { heard += event.text + std::to_string(event.seq) + " "; });
  log.tell(eventOf(EventKind::vrfRuns, "a"));
  EXPECT_EQ(heard, "once a a1 b2 ");
  auto beyond = [] { return EventLog([] { return 0.0; }).listen([](const Event &) {}); }();
  beyond = log.listen([&](const Event &event) { heard += "moved " + event.text; });
  log.tell(eventOf(EventKind::vrfRuns, "c"));
  EXPECT_EQ(heard, "once a a1 b2 c3 moved c");
}

TEST(Events, HaveARowOfWhatApplies) {
  Event event = eventOf(EventKind::bsrReplaced, "It is another.");
  event.seq = 7;
  event.time = 951782399.9996;
  EXPECT_EQ(rowOf(event).dump(),
            R"({"seq":7,"time":"2000-02-29T00:00:00.000Z","severity":"notice","kind":"bsrReplaced",)"
            R"("text":"It is another."})");
  event.time = 1714566896.789;
  event.vrf = "blue";
  event.zone = Pax::IpGenPrefix::fromText("239.0.0.0/8");
  event.group = Pax::IpGenPrefix::fromText("239.1.0.0/16");
  event.rp = Pax::IpGenAddr::fromText("10.0.0.1");
  event.bsr = Pax::IpGenAddr::fromText("10.0.0.2");
  event.interface = Pax::IntfId("blue", "eth0");
  event.neighbor = Pax::IpGenAddr::fromText("10.0.0.3");
  event.oldValue = "1", event.newValue = "2", event.cause = "silence";
  EXPECT_EQ(rowOf(event).dump(),
            R"({"seq":7,"time":"2024-05-01T12:34:56.789Z","severity":"notice","vrf":"blue","kind":"bsrReplaced",)"
            R"("zone":"239.0.0.0/8","group":"239.1.0.0/16","rp":"10.0.0.1","bsr":"10.0.0.2","interface":"blue/eth0",)"
            R"("neighbor":"10.0.0.3","old":"1","new":"2","cause":"silence","text":"It is another."})");
  EXPECT_EQ(eventKindFrom("limitLeft"), EventKind::limitLeft);
}

TEST(Events, AreFoundByWhatIsAskedFor) {
  double now = timeFrom("2024-05-01T12:00:00Z");
  EventLog log([&] { return now; });
  const auto tell = [&](const char *text, const char *vrf, const char *zone, Severity severity, EventKind kind) {
    Event event = eventOf(kind, text, severity);
    event.vrf = vrf;
    event.zone = Pax::IpGenPrefix::fromText(zone);
    log.tell(event);
    now += 10;
  };
  tell("1", "default", "224.0.0.0/4", Severity::warning, EventKind::bsrTimedOut);
  tell("2", "blue", "224.0.0.0/4", Severity::notice, EventKind::bsrElected);
  tell("3", "blue", "239.0.0.0/8", Severity::info, EventKind::rpAdded);
  struct Case {
    const char *since, *vrf, *zone, *severity, *kind, *found;
  };
  for (const Case &one :
       {Case{"", "", "", "", "", "123"}, Case{"1", "", "", "", "", "23"},
        Case{"2024-05-01T12:00:10Z", "", "", "", "", "23"}, Case{"2024-05-01t14:00:10.5+02:00", "", "", "", "", "3"},
        Case{"2024-05-01T05:30:10-06:30", "", "", "", "", "23"}, Case{"", "blue", "", "", "", "23"},
        Case{"", "", "224.0.0.0/4", "", "", "12"}, Case{"", "", "", "notice", "", "12"},
        Case{"", "", "", "", "bsrElected", "2"}, Case{"2", "blue", "", "notice", "", ""}}) {
    EXPECT_EQ(textsOf(log, eventFilterFrom(one.since, one.vrf, one.zone, one.severity, one.kind)), one.found)
        << one.since << one.vrf << one.zone << one.severity << one.kind;
  }
  for (const char *since : {"x", "-1", "1x", "2024-05-01", "2024-05-01T12:00:10", "2024-02-30T12:00:10Z",
                            "2024-05-01T12:00:10Zulu", "2024-05-01T12:00:nanZ"}) {
    EXPECT_THROW(eventFilterFrom(since, "", "", "", ""), std::invalid_argument) << since;
  }
  EXPECT_THROW(eventFilterFrom("", "", "239", "", ""), std::invalid_argument);
  EXPECT_THROW(eventFilterFrom("", "", "", "loud", ""), std::invalid_argument);
  EXPECT_THROW(eventFilterFrom("", "", "", "", "elected"), std::invalid_argument);
}

TEST(Events, OfOneKindThatComeTooFastAreCounted) {
  ::Test::ManualTime time;
  EventLog log([] { return 0.0; });
  Reporting reporting(log, Kiv::make<Orb::TimerWheel>(time, time), "blue", nullptr, nullptr);
  for (int i = 0; i < 150; ++i) reporting.tell(eventOf(EventKind::bsrLearned, "it is"));
  reporting.tell(eventOf(EventKind::bsrLost, "it was", Severity::warning));
  EXPECT_EQ(log.counts().at(EventKind::bsrLearned), 100u);
  EXPECT_EQ(log.events().back().text, "VRF blue: it was");
  time.advanceTo(time.now() + 10);
  EXPECT_EQ(log.events().back().text, "VRF blue: More events of kind bsrLearned were only counted: 50");
  EXPECT_EQ(log.events().back().severity, Severity::notice);
  reporting.tell(eventOf(EventKind::bsrLearned, "again"));
  EXPECT_EQ(log.events().back().text, "VRF blue: again");
}

}  // namespace
}  // namespace Routing::Pim::Bsr
