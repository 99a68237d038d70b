#include "view/Explain.h"

#include <array>
#include <stdexcept>

#include "platform/orb/Duration.h"
#include "view/Reasons.h"

namespace Routing::Pim::Bsr {

namespace {

struct Topic {
  const char *name;
  bool (*next)(const VrfView &view, const std::string &argument, ShowCursor &cursor, Rows &rows);
};
constexpr std::array topics{
    Topic{"bsr", explainBsr},
    Topic{"rp", explainRp},
    Topic{"group", explainGroup},
};

}  // namespace

Rows explanationOf(std::string_view topic, const std::vector<VrfView> &views, const std::string &argument) {
  Rows rows = Rows::array();
  for (const VrfView &view : views) {
    ShowCursor cursor;
    while (nextExplanationOf(topic, view, argument, cursor, rows)) {
    }
  }
  return rows;
}

bool nextExplanationOf(std::string_view topic, const VrfView &view, const std::string &argument, ShowCursor &cursor,
                       Rows &rows) {
  for (const Topic &known : topics) {
    if (known.name == topic) return known.next(view, argument, cursor, rows);
  }
  throw std::invalid_argument("there is no explanation of '" + std::string(topic) + "'");
}

std::string vrfLead(const VrfView &view) {
  return view.vrf.text() == L3::defaultVrf ? "" : "VRF " + view.vrf.text() + ": ";
}

std::string vrfEnd(const VrfView &view) { return whyNotRunning(view).empty() ? "." : "; see 'pimbsrctl show vrf'."; }

std::string reasonOf(const Rows &row) {
  return row["reason"].is_string() ? row["reason"].get<std::string>() : "not yet";
}

std::string durationBetween(double from, double to) { return Orb::durationText(to - from); }

}  // namespace Routing::Pim::Bsr
