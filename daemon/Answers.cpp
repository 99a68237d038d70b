#include "daemon/Answers.h"

#include <algorithm>
#include <array>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "daemon/MetricsReading.h"
#include "daemon/Options.h"
#include "daemon/control/Nouns.h"
#include "daemon/control/Request.h"
#include "daemon/control/Streams.h"
#include "view/Explain.h"
#include "view/Groups.h"
#include "view/Summary.h"

namespace Routing::Pim::Bsr {

namespace {

using namespace std::string_view_literals;
using Process = Answers::Process;

template <class Lines>
Rows rowsOfLines(const Lines &lines) {
  Rows rows = Rows::array();
  for (const std::string &line : lines) rows.push_back({{"line", line}});
  return rows;
}

std::invalid_argument needs(const std::string &verb) {
  return std::invalid_argument("'" + verb + "' needs '" + Control::verbOf(verb)->operands + "'");
}

ProcessView processView(const Process &process) {
  std::map<L3::VrfName, std::string> vrfs;
  for (const auto &[vrf, host] : process.hosts) vrfs.emplace(vrf, host->reason());
  return {process.agent,   process.system,         process.store,
          std::move(vrfs), process.loading,        process.loop.longestTurn(),
          process.events,  process.lines.dropped()};
}

using Source = RowSource;

Source sourceOf(Rows all) {
  return [all = std::move(all)](Rows &rows) mutable {
    rows = std::move(all);
    return false;
  };
}

// The rows of VRFs, as they are when it is their turn; a VRF that has gone by then has none.
class VrfRows {
 public:
  VrfRows(const Process &process, const Control::Request &request)
      : process_(process), request_(request), nextRows_(request.verb == "explain" ? nextExplanationOf : nextRowsOf) {
    for (const auto &[name, host] : process.hosts) {
      if ((request.vrf.empty() || name.text() == request.vrf) && statusOf(name)) vrfs_.push_back(name);
    }
    if (!request.vrf.empty() && vrfs_.empty()) throw std::invalid_argument("there is no VRF '" + request.vrf + "'");
  }

  bool operator()(Rows &rows) {
    if (next_ == vrfs_.size()) return false;
    const L3::VrfName &vrf = vrfs_[next_];
    const auto pim = process_.configuration.pim.find(vrf);
    if (pim != process_.configuration.pim.end() && statusOf(vrf)) {
      VrfView view =
          viewOf(process_.system, vrf, process_.agent.containerSm(vrf), process_.loop.now(), pim->second.interfaces);
      view.drops = &process_.drops;
      if (nextRows_(request_.noun, view, request_.argument, cursor_, rows)) return true;
    }
    cursor_ = {};
    return ++next_ < vrfs_.size();
  }

 private:
  Kiv::Ptr<const Status> statusOf(const L3::VrfName &vrf) const { return process_.system.statusColl->vrfStatus(vrf); }

  const Process &process_;
  const Control::Request request_;
  bool (*const nextRows_)(std::string_view noun, const VrfView &view, const std::string &argument, ShowCursor &cursor,
                          Rows &rows);
  std::vector<L3::VrfName> vrfs_;
  size_t next_ = 0;
  ShowCursor cursor_;
};

Source events(const Process &process, const Control::Request &request) {
  constexpr size_t slice = 200;
  EventFilter filter = eventFilterFrom(request.since, request.vrf, request.zone, request.severity, request.kind);
  return [&process, filter](Rows &rows) mutable {
    rows = eventRows(process.events, filter, slice);
    if (rows.size() < slice) return false;
    filter.after = rows.back()["seq"].get<uint64_t>();
    return true;
  };
}

// That it is about, or empty for all; throws std::invalid_argument when it is not configured.
const std::string &vrfOf(const Process &process, const Control::Request &request) {
  if (request.vrf.empty() || process.hosts.contains(request.vrf)) return request.vrf;
  throw std::invalid_argument("there is no VRF '" + request.vrf + "'");
}

Source metrics(const Process &process) {
  const auto reading = std::make_shared<MetricsReading>(process, MetricsFormat::openMetrics);
  return [reading](Rows &rows) {
    std::string text;
    if (!reading->goOn(text)) return false;
    addLines(text, rows);
    return true;
  };
}

// A VRF at a time; at the end, what all of it comes to.
Source summaryRows(const Process &process, const Control::Request &request) {
  Rows head = Rows::array();
  summarize(processView(process), request.vrf, head);
  const auto told = std::make_shared<Rows>(std::move(head));
  return [told, vrfs = VrfRows(process, request), first = true, more = true](Rows &rows) mutable {
    if (std::exchange(first, false)) {
      rows = *told;
      return true;
    }
    if (!more) {
      rows.push_back(conclusion(*told));
      return false;
    }
    more = vrfs(rows);
    for (const Rows &row : rows) told->push_back(row);
    return true;
  };
}

void checkNoun(const Control::Request &request) {
  const std::string &noun = request.noun;
  const Control::Noun *known = Control::nounOf(*Control::verbOf(request.verb), noun);
  if (!known) throw std::invalid_argument("there is no noun '" + noun + "'");
  if (!*known->operand && !request.argument.empty()) throw std::invalid_argument("'" + noun + "' takes no argument");
  if (noun == "events") return;
  if (request.choosesEvents()) throw std::invalid_argument("only of 'events' a part can be chosen");
  const bool hasZones = std::ranges::any_of(known->columns, [](auto &column) { return column.name == "zone"sv; });
  if (!request.zone.empty() && !hasZones) throw std::invalid_argument("the rows of '" + noun + "' have no zone");
}

// Of what the source has, the rows of the zone.
Source ofZone(Source source, const Pax::IpGenPrefix &zone) {
  const std::string text = Kiv::toText(zone);
  return [source = std::move(source), text](Rows &rows) {
    Rows all = Rows::array();
    const bool more = source(all);
    for (Rows &row : all) {
      if (row["zone"] == text) rows.push_back(std::move(row));
    }
    return more;
  };
}

Source rowsOfVrfs(const Process &process, const Control::Request &request) {
  return request.zone.empty() ? VrfRows(process, request)
                              : ofZone(VrfRows(process, request), zoneFrom(request.zone, process.system.af));
}

Source show(const Process &process, const Control::Request &request) {
  const std::string &noun = request.noun;
  if (noun == "events") return events(process, request);
  if (request.verb == "explain") return rowsOfVrfs(process, request);
  if (noun == "drops") return sourceOf(dropRows(process.drops, vrfOf(process, request), process.loop.now()));
  if (noun == "config") return sourceOf(Rows::array({Rows::parse(process.effective)}));  // of a stream
  if (noun == "summary") return summaryRows(process, request);
  if (noun == "log") return sourceOf(rowsOfLines(process.log.lines()));
  if (noun == "metrics") return metrics(process);
  if (noun == "agent") return sourceOf(agentRows(processView(process)));
  if (noun == "vrf") return sourceOf(vrfRows(processView(process), request.vrf));
  if (noun == "state") return sourceOf(stateRows(processView(process), request.argument));
  return rowsOfVrfs(process, request);
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
  const auto &coll = *process.system.clearConfigColl;
  if (request.vrf.empty()) process.loop.longestTurnClear();
  bool found = request.vrf.empty();
  for (const L3::VrfName &vrf : coll.vrfClearConfig().keys()) {
    if (!request.vrf.empty() && vrf.text() != request.vrf) continue;
    coll.vrfClearConfig(vrf)->countersCountInc(1);
    found = true;
  }
  if (!found) throw std::invalid_argument("there is no VRF '" + request.vrf + "'");
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

Source answer(const Process &process, const Control::Request &request) {
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
  return show(process, request);
}

// What a stream begins with.
Rows greeting(const Agent &agent) {
  return {{"protocol", Control::protocolVersion}, {"agent", agent.name()}, {"version", PIMBSR_VERSION}};
}

// The line of rows, a piece at a time. The first rows are made at once, and throw what is wrong with the request.
class RowsLine {
 public:
  RowsLine(Linux::EventLoop &loop, Source source) : loop_(loop), source_(std::move(source)), text_(Control::rowsBegin) {
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
  Source source_;
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
  if (verb->takesNoun) checkNoun(request);
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
      feeds_(process_.loop, process_.wheel, process_.events, greeting(process_.agent),
             [this](const Control::Request &request) { return show(process_, request); }) {}

Control::Reply Answers::metrics(MetricsFormat format) const {
  const auto reading = std::make_shared<MetricsReading>(process_, format);
  return [&loop = process_.loop, reading](const Control::Send &send) { makeMetrics(loop, reading, send); };
}

Control::Reply Answers::reply(std::string_view line) {
  try {
    const Control::Request request = Control::requestFromLine(line);
    if (request.verb == "hello") return Control::replyOf(rowsLine(Rows::array({greeting(process_.agent)})));
    if (request.verb == "subscribe") return feeds_.subscribe(request);
    return replyTo(process_, request);
  } catch (const std::exception &error) {
    return Control::replyOf(Control::errorLine(error.what()));
  }
}

}  // namespace Routing::Pim::Bsr
