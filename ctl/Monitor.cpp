#include "ctl/Monitor.h"

#include <boost/asio/signal_set.hpp>
#include <boost/asio/steady_timer.hpp>
#include <cmath>
#include <csignal>
#include <ctime>
#include <map>
#include <nlohmann/json.hpp>
#include <ostream>

#include "ctl/Mirror.h"
#include "ctl/OnChange.h"
#include "ctl/Stream.h"
#include "daemon/control/Streams.h"

namespace Control {

namespace asio = boost::asio;

namespace {

std::string clockText() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  char text[sizeof "12:34:56"];
  std::strftime(text, sizeof text, "%T", ::localtime_r(&now, &local));
  return text;
}

// What is watched, drawn again and again, with the last notice below.
struct Screen {
  static constexpr std::chrono::milliseconds gathers{100};

  asio::io_context &context;
  const bool isScreen;
  const std::function<void()> &redraw;
  std::ostream &notices;
  const std::chrono::milliseconds interval;
  const std::string program;
  asio::steady_timer timer{context};
  bool waits = false;
  bool drawn = false;
  bool isAway = false;
  std::string notice{};

  void tell(const std::string &text) {
    if (text == notice.substr(std::min(notice.size(), sizeof "12:34:56"))) return;
    notice = clockText() + ' ' + text;
    notices << "pimbsrctl: " << notice << std::endl;
  }
  void drawAfter(std::chrono::milliseconds delay, bool again) {
    if (std::exchange(waits, true)) return;
    timer.expires_after(delay);
    timer.async_wait([this, again](const boost::system::error_code &error) {
      if (error) return;
      waits = false;
      draw();
      if (again) drawAfter(interval, true);
    });
  }
  void draw() {
    try {
      redraw();
      drawn = true;
      if (std::exchange(isAway, false)) tell(program + " is back");
      if (isScreen && !notice.empty()) notices << "pimbsrctl: " << notice << std::endl;
    } catch (const AgentError &error) {
      if (!drawn) throw;
      tell(error.what());
    } catch (const std::runtime_error &error) {
      isAway = true;
      tell(error.what());
    }
  }
};

Request subscribeTo(const Options &options) {
  Request request = options.request;
  request.verb = "subscribe";
  return request;
}

void print(const Options &options, std::ostream &out, std::ostream &notices) {
  asio::io_context context;
  std::map<std::string, Mirror> mirrors;
  const auto take = [&](const std::string &text, const Rows &line) {
    Mirror &mirror = mirrors[line.value("noun", "")];
    out << (options.json ? text + '\n' : textOf(line, mirror)) << std::flush;
    if (!options.json && line.value("noun", "") != eventsNoun) mirror.apply(line);
    if (!out) context.stop();
  };
  const auto tell = [&](const std::string &text) { notices << "pimbsrctl: " << text << std::endl; };
  const Stream stream(context, {options.socket, options.program}, subscribeTo(options), {take, tell});
  context.run();
}

// An agent that comes back with the rows that were there has changed nothing.
void runOnChange(const Options &options, std::ostream &out, std::ostream &notices) {
  std::signal(SIGPIPE, SIG_IGN);  // a command need not read
  asio::io_context context;
  asio::signal_set signals(context, SIGINT, SIGTERM);
  signals.async_wait([&](const boost::system::error_code &, int) { context.stop(); });
  Mirror mirror;
  bool begun = false;
  const auto tell = [&](const std::string &text) { notices << "pimbsrctl: " << text << std::endl; };
  OnChange command(
      context, {options.command, std::chrono::seconds(options.timeLimit)},
      [&] { return rowText(mirror.rows()) + '\n'; }, tell,
      [&](const std::string &output) { out << output << std::flush; });
  const auto take = [&](const std::string &, const Rows &line) {
    const Rows before = line.contains("snapshot") && begun ? mirror.rows() : Rows();
    mirror.apply(line);
    if (!line.contains("noun") || (before.is_array() && mirror.rows() == before)) return;
    begun = true;
    command.changed();
  };
  const Stream stream(context, {options.socket, options.program}, subscribeTo(options), {take, tell});
  context.run();
}

}  // namespace

void monitor(const Options &options, std::ostream &out, std::ostream &notices) {
  options.command.empty() ? print(options, out, notices) : runOnChange(options, out, notices);
}

void watch(const Options &options, bool isScreen, const std::function<void()> &redraw, std::ostream &notices) {
  asio::io_context context;
  const std::chrono::milliseconds interval(std::llround(options.interval * 1000));
  Screen screen{context, isScreen, redraw, notices, interval, options.program};
  if (options.request.noun != eventsNoun && !followedOf(options.request.noun)) {
    redraw();
    screen.drawn = true;
    screen.drawAfter(screen.interval, true);
    context.run();
    return;
  }
  const auto take = [&](const std::string &, const Rows &line) {
    if (line.contains("noun")) screen.drawAfter(screen.gathers, false);
  };
  const auto tell = [&](const std::string &text) { screen.tell(text); };
  Request subscribe = subscribeTo(options);
  if (subscribe.noun != eventsNoun) subscribe.zone.clear();  // of a noun all changes are told
  const Stream stream(context, {options.socket, options.program}, subscribe, {take, tell});
  context.run();
}

}  // namespace Control
