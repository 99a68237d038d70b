#include "daemon/ShowSource.h"

#include <algorithm>
#include <stdexcept>

#include "daemon/KnownNames.h"
#include "daemon/MetricsReading.h"
#include "daemon/control/Nouns.h"
#include "view/Explain.h"
#include "view/Groups.h"
#include "view/Summary.h"

namespace Routing::Pim::Bsr {

namespace {

using namespace std::string_view_literals;
using Process = Answers::Process;
using Source = RowSource;

ProcessView processView(const Process &process) {
  std::map<L3::VrfName, std::string> vrfs;
  for (const auto &[vrf, host] : process.hosts) vrfs.emplace(vrf, host->reason());
  return {process.agent,   process.system,          process.store,
          std::move(vrfs), process.loading,         process.loop.longestTurn(),
          process.events,  process.lines.dropped(), process.troubles};
}

// The rows of VRFs, as they are when it is their turn; a VRF that has gone by then has none.
class VrfRows {
 public:
  VrfRows(const Process &process, const Control::Request &request)
      : process_(process), request_(request), nextRows_(request.verb == "explain" ? nextExplanationOf : nextRowsOf) {
    for (const auto &[name, host] : process.hosts) {
      if (request.vrf.empty() || name.text() == request.vrf) vrfs_.push_back(name);
    }
  }

  bool operator()(Rows &rows) {
    if (next_ == vrfs_.size()) return false;
    const auto view = viewOf(process_, vrfs_[next_]);
    if (view && nextRows_(request_.noun, *view, request_.argument, cursor_, rows)) return true;
    cursor_ = {};
    return ++next_ < vrfs_.size();
  }

 private:
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

// Whoever gives an address instead of a group asks about an RP perhaps.
void checkGroup(const std::string &text, Pax::AddressFamily family) {
  try {
    groupFrom(text, family);
  } catch (const std::invalid_argument &error) {
    std::string more;
    try {
      const Pax::IpGenAddr address = Pax::IpGenAddr::fromText(text);
      if (address.af() == family) more = "; see 'show rp-set " + text + "' or 'explain rp " + text + "'";
    } catch (const Kiv::RangeError &) {
    }
    throw std::invalid_argument(error.what() + more);
  }
}

}  // namespace

RowSource sourceOf(Rows all) {
  return [all = std::move(all)](Rows &rows) mutable {
    rows = std::move(all);
    return false;
  };
}

void checkNoun(const Control::Request &request) {
  const std::string &noun = request.noun;
  const Control::Noun *known = Control::nounOf(*Control::verbOf(request.verb), noun);
  if (noun.empty()) throw std::invalid_argument("'" + request.verb + "' needs a noun");
  if (!known) throw std::invalid_argument("there is no noun '" + noun + "'");
  checkArgument(*known, request.argument);
  if (noun == "events") return;
  if (request.choosesEvents()) throw std::invalid_argument("since, severity and kind are for 'events'");
  const bool hasZones = std::ranges::any_of(known->columns, [](auto &column) { return column.name == "zone"sv; });
  if (!request.zone.empty() && !hasZones) throw std::invalid_argument("the rows of '" + noun + "' have no zone");
}

RowSource showSource(const Process &process, const Control::Request &request) {
  const std::string &noun = request.noun;
  if (noun == "events") return events(process, request);
  checkVrf(process, request.vrf);
  const bool isExplained = request.verb == "explain";
  if (noun == (isExplained ? "group" : "rp")) checkGroup(request.argument, process.system.af);
  if (isExplained) return rowsOfVrfs(process, request);
  if (noun == "drops") return sourceOf(dropRows(process.drops, request.vrf, process.loop.now()));
  if (noun == "summary") return summaryRows(process, request);
  if (noun == "log") return sourceOf(rowsOfLines(process.log.lines()));
  if (noun == "metrics") return metrics(process);
  if (noun == "agent") return sourceOf(agentRows(processView(process)));
  if (noun == "vrf") return sourceOf(vrfRows(processView(process), request.vrf));
  if (noun == "state") return sourceOf(stateRows(processView(process), request.argument));
  return rowsOfVrfs(process, request);
}

}  // namespace Routing::Pim::Bsr
