#include "view/Show.h"

#include <array>
#include <stdexcept>

namespace Routing::Pim::Bsr {

namespace {

struct Producer {
  const char *noun;
  void (*rows)(const VrfView &view, Rows &rows);
  void (*rowsAbout)(const VrfView &view, const std::string &argument, Rows &rows) = nullptr;
};
constexpr std::array producers{
    Producer{"bsr", showBsr},
    Producer{"candidate-bsr", showCandidateBsr},
    Producer{"candidate-rp", showCandidateRp},
    Producer{"rp-set", showRpSet},
    Producer{"rp", nullptr, showRp},
    Producer{"border", showBorder},
    Producer{"acl", showAcl},
    Producer{"filter", showFilter},
    Producer{"interfaces", showInterfaces},
    Producer{"neighbors", showNeighbors},
    Producer{"counters", showCounters},
};

}  // namespace

Rows rowsOf(std::string_view noun, const std::vector<VrfView> &views, const std::string &argument) {
  for (const Producer &producer : producers) {
    if (producer.noun != noun) continue;
    Rows rows = Rows::array();
    if (producer.rows && !argument.empty()) {
      throw std::invalid_argument("'" + std::string(noun) + "' takes no argument");
    }
    for (const VrfView &view : views) {
      producer.rows ? producer.rows(view, rows) : producer.rowsAbout(view, argument, rows);
    }
    return rows;
  }
  throw std::invalid_argument("there is no noun '" + std::string(noun) + "'");
}

}  // namespace Routing::Pim::Bsr
