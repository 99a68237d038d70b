#include "daemon/Answers.h"

#include <array>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <chrono>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "daemon/KnownNames.h"
#include "daemon/MetricsReading.h"
#include "daemon/Options.h"
#include "daemon/ShowSource.h"
#include "daemon/control/Nouns.h"
#include "daemon/control/Request.h"
#include "daemon/control/Streams.h"

namespace Routing::Pim::Bsr {

namespace {

using Process = Answers::Process;

std::invalid_argument needs(const std::string &verb) {
  return std::invalid_argument("'" + verb + "' needs '" + Control::verbOf(verb)->operands + "'");
}

std::string lineOf(const std::string &row) {
  return std::string(Control::rowsBegin).append(row).append(Control::rowsEnd);
}

std::string rowsLine(const Rows &rows) {
  std::string line(Control::rowsBegin);
  for (const Rows &row : rows) line.append(&row == &rows.front() ? "" : ",").append(Control::rowText(row));
  return line.append(Control::rowsEnd);
}

Control::Reply reload(const Process &process) {
  const Control::LateReply late;
  process.reload([late](const std::string &errors) {
    late.lineIs(errors.empty() ? rowsLine(Rows::array()) : Control::errorLine(errors));
  });
  return late.reply();
}

Control::Reply check(const Process &process) {
  const Control::LateReply late;
  process.reader.read([late, file = process.loading.file](const LoadedConfiguration &loaded) {
    std::vector<std::string> lines;
    for (const Finding &error : loaded.findings.errors) lines.push_back(toText(file, error));
    for (const Finding &warning : loaded.findings.warnings) lines.push_back("warning: " + toText(file, warning));
    late.lineIs(loaded.good() ? rowsLine(rowsOfLines(lines)) : Control::errorLine(joined(lines, "\n")));
  });
  return late.reply();
}

Rows clear(const Process &process, const Control::Request &request) {
  if (request.argument != "counters") throw needs(request.verb);
  checkVrf(process, request.vrf);
  const auto &coll = *process.system.clearConfigColl;
  if (request.vrf.empty()) process.loop.longestTurnClear();
  for (const L3::VrfName &vrf : coll.vrfClearConfig().keys()) {
    if (request.vrf.empty() || vrf.text() == request.vrf) coll.vrfClearConfig(vrf)->countersCountInc(1);
  }
  process.drops.clear(request.vrf);
  return Rows::array();
}

Rows traceLevels(const Process &, const Control::Request &request) {
  const std::string &level = request.argument;
  if (!level.empty()) traceLevelIs(traceLevelFrom(level));
  Rows rows = Rows::array();
  for (const auto &[module, level] : Tracelet::Registry::instance().levels()) {
    rows.push_back({{"module", module}, {"level", level}});
  }
  return rows;
}

Rows redundancy(const Process &process, const Control::Request &request) {
  const bool standby = request.argument == "standby";
  if (!standby && request.argument != "active") throw needs(request.verb);
  process.system.standbyIs(standby);
  return Rows::array({{{"redundancy", request.argument}}});
}

Rows stage(const Process &process, const Control::Request &request) {
  const size_t blank = request.argument.find(' ');
  const std::string kind = request.argument.substr(0, blank);
  const std::string name = blank == std::string::npos ? "" : request.argument.substr(blank + 1);
  const bool boot = kind == "boot";
  if (name.empty() || (!boot && kind != "shutdown")) throw needs(request.verb);
  // What is asked for is kept; only what can be run is.
  const std::string known(boot ? Agent::bootStage : Agent::shutdownStage);
  if (name != known) {
    throw std::invalid_argument("there is no " + kind + " stage '" + name + "'; the stages are: " + known);
  }
  const SystemState &system = process.system;
  (boot ? system.bootStageInput : system.shutdownStageInput)->stageIs(name);
  const auto &status = boot ? system.bootStageStatus : system.shutdownStageStatus;
  return Rows::array({{{"kind", kind}, {"stage", name}, {"complete", status->completeStage(name)}}});
}

RowSource answer(const Process &process, const Control::Request &request) {
  struct Handler {
    const char *verb;
    Rows (*rows)(const Process &process, const Control::Request &request);
  };
  static constexpr std::array handlers{
      Handler{"clear", clear},
      Handler{"trace", traceLevels},
      Handler{"stage", stage},
      Handler{"redundancy", redundancy},
  };
  for (const Handler &handler : handlers) {
    if (request.verb == handler.verb) return sourceOf(handler.rows(process, request));
  }
  if (request.verb != "show" && request.verb != "explain") {
    throw std::invalid_argument("'" + request.verb + "' is for pimbsrctl; see 'subscribe'");
  }
  return showSource(process, request);
}

// What a stream begins with; made when the program starts.
Rows greeting(const Agent &agent) {
  // Not rounded up: an event of the same moment is not before it.
  const auto now = std::chrono::floor<std::chrono::milliseconds>(std::chrono::system_clock::now().time_since_epoch());
  return {{"protocol", Control::protocolVersion},
          {"agent", agent.name()},
          {"version", PIMBSR_VERSION},
          {"started", utcText(std::chrono::duration<double>(now).count())}};
}

// The line of rows, a piece at a time. The first rows are made at once, and throw what is wrong with the request.
class RowsLine {
 public:
  RowsLine(Linux::EventLoop &loop, RowSource source)
      : loop_(loop), source_(std::move(source)), text_(Control::rowsBegin) {
    nextRows();
  }

  std::string nextPiece() {
    constexpr size_t enough = 64 << 10;
    if (ended_) return std::exchange(text_, {});
    loop_.workBegins();
    do {
      if (next_ < rows_.size()) {
        text_.append(first_ ? "" : ",").append(Control::rowText(rows_[next_++]));
        first_ = false;
      } else if (more_) {
        nextRows();
        if (rows_.empty() && more_) text_ += ' ';  // a piece, so that the turn can end
      } else {
        text_.append(Control::rowsEnd);
        ended_ = true;
      }
    } while (!ended_ && text_.size() < enough && !loop_.turnIsLong());
    // Rows may be passed over for long, and an empty piece would end the reply.
    if (text_.empty()) text_ = ' ';
    return std::exchange(text_, {});
  }

 private:
  void nextRows() {
    rows_ = Rows::array();
    next_ = 0;
    more_ = source_(rows_);
  }

  Linux::EventLoop &loop_;
  RowSource source_;
  std::string text_;  // made and not sent
  Rows rows_;         // of which the first are in the text
  size_t next_ = 0;
  bool first_ = true;
  bool more_ = false;
  bool ended_ = false;
};

Control::Reply replyTo(const Process &process, const Control::Request &request) {
  const Control::Verb *verb = Control::verbOf(request.verb);
  if (!verb) throw std::invalid_argument("there is no verb '" + request.verb + "'");
  if (!verb->takesNoun && !*verb->operands && !request.argument.empty()) {
    throw std::invalid_argument("'" + request.verb + "' takes no argument");
  }
  if (request.verb == std::string_view("reload")) return reload(process);
  if (request.verb == std::string_view("check")) return check(process);
  if (verb->takesNoun) {
    checkNoun(request);
    checkNames(process, request);
  }
  if (verb->takesNoun && request.noun == "config") return Control::replyOf(lineOf(process.effective));
  const auto rows = std::make_shared<RowsLine>(process.loop, answer(process, request));
  return [rows](const Control::Send &send) { send(rows->nextPiece()); };
}

void makeMetrics(Linux::EventLoop &loop, const std::shared_ptr<MetricsReading> &reading, const Control::Send &send) {
  constexpr size_t enough = 64 << 10;
  loop.workBegins();
  std::string text;
  bool more = true;
  while (more && text.size() < enough && !loop.turnIsLong()) more = reading->goOn(text);
  if (!text.empty() || !more) return send(std::move(text));
  boost::asio::post(loop.context(), [&loop, reading, send] { makeMetrics(loop, reading, send); });
}

}  // namespace

Answers::Answers(Process process)
    : process_(std::move(process)),
      greeting_(greeting(process_.agent)),
      feeds_(process_.loop, process_.wheel, process_.events, greeting_,
             [this](const Control::Request &request) { return showSource(process_, request); }) {}

Control::Reply Answers::metrics(MetricsFormat format) const {
  const auto reading = std::make_shared<MetricsReading>(process_, format);
  return [&loop = process_.loop, reading](const Control::Send &send) { makeMetrics(loop, reading, send); };
}

Control::Reply Answers::reply(std::string_view line) {
  try {
    const Control::Request request = Control::requestFromLine(line);
    if (request.verb == "hello") return Control::replyOf(rowsLine(Rows::array({greeting_})));
    if (request.verb == "subscribe") return feeds_.subscribe(request);
    return replyTo(process_, request);
  } catch (const std::invalid_argument &error) {
    return Control::replyOf(Control::errorLine(error.what(), Control::ErrorKind::badRequest));
  } catch (const std::exception &error) {
    return Control::replyOf(Control::errorLine(error.what()));
  }
}

}  // namespace Routing::Pim::Bsr
