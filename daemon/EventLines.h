/// Events as lines on standard error.
#pragma once

#include "platform/linux/LineWriter.h"
#include "view/EventLog.h"

namespace Routing::Pim::Bsr {

/// Writes each event of a log that is bad enough on a line of its own: "<5>text" where the journal reads it, which
/// JOURNAL_STREAM in the environment says and which keeps the time itself, otherwise "TIME SEVERITY text". Lines that
/// nobody reads are dropped. The daemon owns it.
class EventLines {
 public:
  /// The log outlives it.
  explicit EventLines(EventLog &log);

  /// The least severity that is written.
  void leastIs(Severity least) { least_ = least; }
  uint64_t dropped() const { return writer_.dropped(); }

  /// Whether the journal reads standard error, which takes the severity from the begin of a line.
  static bool isForJournal();
  /// The line of an event, without its end.
  static std::string lineOf(const Event &event, bool isForJournal);
  /// With a '?' for each thing that no terminal should see, ends of lines among them.
  static std::string printable(std::string line);

 private:
  void write(const Event &event);

  const bool isForJournal_ = isForJournal();
  Severity least_ = Severity::notice;
  Linux::LineWriter writer_;
  const EventLog::Listening listening_;
};

}  // namespace Routing::Pim::Bsr
