#include "view/Refusals.h"

#include <algorithm>

#include "view/Rpf.h"

namespace Routing::Pim::Bsr {

namespace {

constexpr double lately = 3600;
constexpr double together = 1;  // seconds within which messages go together
constexpr size_t most = 10;

// The command that shows more; empty where nothing does.
std::string commandFor(const VrfView &view, const Drops::Key &drop) {
  switch (drop.reason) {
    case IO::Refusal::noRoute: return rpfCommand(view, drop.bsr);
    case IO::Refusal::rpfNeighbor: return routeCommand(view, drop.bsr);
    case IO::Refusal::border: return "pimbsrctl show border";
    case IO::Refusal::filter: return "pimbsrctl show filter";
    case IO::Refusal::notBsr: return "pimbsrctl show bsr";
    case IO::Refusal::pimOff: return "pimbsrctl show interfaces";
    case IO::Refusal::noHello: return "pimbsrctl show neighbors";
    default: return "";
  }
}

// What the reason alone leaves open.
std::string detailOf(const VrfView &view, const Drops::Key &drop) {
  if (drop.reason == IO::Refusal::noRoute) {
    const std::string why = whyNoRpf(view, drop.bsr);
    return why.empty() ? ", though there is one now" : ": " + why;
  }
  if (drop.reason != IO::Refusal::rpfNeighbor) return "";
  const RpfInfo rpf = rpfTowards(view, drop.bsr);
  return rpf.neighbor.isZero() ? "" : sentence(", ", rpf.neighbor, " on ", rpf.intfId);
}

std::string whatWasRefused(const Drops::Key &drop) {
  const bool isAdvertisement = isOfAdvertisement(drop.reason);
  std::string what = isAdvertisement ? "An advertisement" : drop.bsr.isZero() ? "A packet" : "A message";
  if (!drop.bsr.isZero()) what += sentence(isAdvertisement ? " for BSR " : " of BSR ", drop.bsr);
  what += drop.neighbor.isZero() ? " from a source that is no PIM neighbor" : sentence(" from ", drop.neighbor);
  if (!drop.intfId.isEmpty()) what += sentence(" on ", drop.intfId);
  return what;
}

}  // namespace

size_t sayRefusals(const VrfView &view, const std::function<bool(const Drops::Key &drop)> &concerns, double accepted,
                   Statements &statements) {
  if (!view.drops) return 0;
  size_t room = most;
  for (const Drops::Row &row : view.drops->rows()) {
    const Drops::Key &drop = row.key;
    if (room == 0 || row.last < std::max(view.now - lately, accepted - together)) break;
    if (drop.vrf != view.vrf || drop.isEcho || !concerns(drop)) continue;
    --room;
    const std::string command = commandFor(view, drop);
    Rows members{{"bsr", toJson(drop.bsr)},
                 {"neighbor", toJson(drop.neighbor)},
                 {"interface", drop.intfId.isEmpty() ? Rows() : toJson(drop.intfId)},
                 {"reason", wordOf(drop.reason)},
                 {"count", row.count},
                 {"last", secondsBetween(row.last, view.now)},
                 {"command", command.empty() ? Rows() : Rows(command)}};
    const std::string often =
        row.count == 1 ? "was refused " : sentence("was refused ", row.count, " times, the last ");
    statements.say(
        "refused", members,
        sentence(whatWasRefused(drop), " ", often, durationBetween(row.last, view.now), " ago, since ",
                 textOf(drop.reason), detailOf(view, drop), command.empty() ? "." : "; see '" + command + "'."));
  }
  return most - room;
}

}  // namespace Routing::Pim::Bsr
