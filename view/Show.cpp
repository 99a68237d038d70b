#include "view/Show.h"

#include <array>
#include <stdexcept>

namespace Routing::Pim::Bsr {

namespace {

struct Producer {
  const char *noun;
  void (*rows)(const VrfView &view, Rows &rows);
  void (*rowsAbout)(const VrfView &view, const std::string &argument, Rows &rows) = nullptr;
  bool (*nextRows)(const VrfView &view, ShowCursor &cursor, Rows &rows) = nullptr;
};
constexpr std::array producers{
    Producer{"bsr", nullptr, nullptr, showBsr},
    Producer{"candidate-bsr", nullptr, nullptr, showCandidateBsr},
    Producer{"candidate-rp", showCandidateRp},
    Producer{"rp-set", nullptr, nullptr, showRpSet},
    Producer{"rp", nullptr, showRp},
    Producer{"border", showBorder},
    Producer{"acl", showAcl},
    Producer{"filter", showFilter},
    Producer{"interfaces", showInterfaces},
    Producer{"neighbors", showNeighbors},
    Producer{"counters", showCounters},
};

const Producer &producerOf(std::string_view noun, const std::string &argument) {
  for (const Producer &producer : producers) {
    if (producer.noun != noun) continue;
    if (!producer.rowsAbout && !argument.empty()) {
      throw std::invalid_argument("'" + std::string(noun) + "' takes no argument");
    }
    return producer;
  }
  throw std::invalid_argument("there is no noun '" + std::string(noun) + "'");
}

}  // namespace

Rows rowsOf(std::string_view noun, const std::vector<VrfView> &views, const std::string &argument) {
  Rows rows = Rows::array();
  producerOf(noun, argument);
  for (const VrfView &view : views) {
    ShowCursor cursor;
    while (nextRowsOf(noun, view, argument, cursor, rows)) {
    }
  }
  return rows;
}

bool nextRowsOf(std::string_view noun, const VrfView &view, const std::string &argument, ShowCursor &cursor,
                Rows &rows) {
  const Producer &producer = producerOf(noun, argument);
  if (producer.nextRows) return producer.nextRows(view, cursor, rows);
  producer.rows ? producer.rows(view, rows) : producer.rowsAbout(view, argument, rows);
  return false;
}

}  // namespace Routing::Pim::Bsr
