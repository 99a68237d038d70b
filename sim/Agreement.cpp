#include "sim/Agreement.h"

#include <ostream>
#include <sstream>

namespace Sim {

namespace {

RpTable tableOfZone(const Host &host, const Pax::IpGenPrefix &zone) {
  const auto zoneStatus = host.status().crpStatus(zone);
  return zoneStatus && zoneStatus->status() ? tableOf(*zoneStatus->status()) : RpTable();
}

bool isInnermost(const std::vector<Pax::IpGenPrefix> &zones, const Pax::IpGenPrefix &zone,
                 const Pax::IpGenPrefix &prefix) {
  for (const Pax::IpGenPrefix &other : zones) {
    if (other.covers(prefix) && other.length() > zone.length()) return false;
  }
  return zone.covers(prefix);
}

}  // namespace

std::ostream &operator<<(std::ostream &out, const ZoneView &view) {
  return out << "BSR " << view.bsr << '/' << view.priority << '/' << view.hashMaskLen << " with " << view.table;
}

ZoneView zoneViewOf(const Host &host, const Pax::IpGenPrefix &zone) {
  ZoneView view;
  view.table = tableOfZone(host, zone);
  if (const auto elected = host.status().bootstrapRouter(zone)) {
    view.bsr = elected->ipAddr();
    view.priority = elected->priority();
    view.hashMaskLen = elected->hashMaskLen();
  }
  return view;
}

RpTable publicationDue(const Host &host) {
  RpTable due;
  const std::vector<Pax::IpGenPrefix> zones = host.status().bootstrapRouter().keys();
  for (const Pax::IpGenPrefix &zone : zones) {
    for (const auto &[prefix, rps] : tableOfZone(host, zone).group) {
      if (isInnermost(zones, zone, prefix)) due.group[prefix] = rps;
    }
  }
  return due;
}

std::string disagreement(const std::vector<const Host *> &hosts, const Pax::IpGenPrefix &zone) {
  std::ostringstream text;
  const Host *first = nullptr;
  ZoneView expected;
  for (const Host *host : hosts) {
    if (!host->runs()) continue;
    const ZoneView view = zoneViewOf(*host, zone);
    if (!first) expected = view;
    first = first ? first : host;
    if (view != expected) {
      text << host->router().name() << " holds " << view << ", but " << first->router().name() << " " << expected
           << "\n";
    }
    const RpTable published = tableOf(host->rpSet()), due = publicationDue(*host);
    if (published != due) text << host->router().name() << " publishes " << published << ", not " << due << "\n";
  }
  return text.str();
}

}  // namespace Sim
