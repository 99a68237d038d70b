#include "daemon/EventLines.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>

#include "platform/kiv/Value.h"

namespace Routing::Pim::Bsr {

EventLines::EventLines(EventLog &log)
    : writer_(STDERR_FILENO), listening_(log.listen([this](const Event &event) { write(event); })) {}

bool EventLines::isForJournal() { return std::getenv("JOURNAL_STREAM") != nullptr; }

void EventLines::write(const Event &event) {
  if (event.severity <= least_) writer_.line(lineOf(event, isForJournal_));
}

std::string EventLines::lineOf(const Event &event, bool isForJournal) {
  std::string line = isForJournal
                         ? std::string("<").append(std::to_string(static_cast<int>(event.severity))).append(">")
                         : utcText(event.time) + " " + Kiv::toText(event.severity) + " ";
  line += event.text;
  return printable(std::move(line));
}

std::string EventLines::printable(std::string line) {
  const auto isControl = [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; };
  std::replace_if(line.begin(), line.end(), isControl, '?');
  return line;
}

}  // namespace Routing::Pim::Bsr
