#include "view/Show.h"

#include <array>
#include <stdexcept>

#include "view/Summary.h"

namespace Routing::Pim::Bsr {

namespace {

struct Producer {
  const char *noun;
  bool takesArgument;
  bool (*next)(const VrfView &view, const std::string &argument, ShowCursor &cursor, Rows &rows);
};

// Of a noun that is never long.
template <auto show>
constexpr Producer whole(const char *noun) {
  return {noun, false, [](const VrfView &view, const std::string &, ShowCursor &, Rows &rows) {
            show(view, rows);
            return false;
          }};
}
template <auto show>
constexpr Producer sliced(const char *noun) {
  return {noun, false, [](const VrfView &view, const std::string &, ShowCursor &cursor, Rows &rows) {
            return show(view, cursor, rows);
          }};
}

// Of one interface, if it is named.
template <auto show>
constexpr Producer byInterface(const char *noun) {
  return {noun, true, [](const VrfView &view, const std::string &argument, ShowCursor &, Rows &rows) {
            Rows all = Rows::array();
            show(view, all);
            for (Rows &row : all) {
              if (argument.empty() || row["interface"] == argument) rows.push_back(std::move(row));
            }
            return false;
          }};
}

constexpr std::array producers{
    sliced<showBsr>("bsr"),
    sliced<showCandidateBsr>("candidate-bsr"),
    whole<showCandidateRp>("candidate-rp"),
    Producer{"rp-set", true, showRpSet},
    Producer{"rp", true,
             [](const VrfView &view, const std::string &argument, ShowCursor &, Rows &rows) {
               showRp(view, argument, rows);
               return false;
             }},
    whole<showBorder>("border"),
    whole<showAcl>("acl"),
    whole<showFilter>("filter"),
    byInterface<showInterfaces>("interfaces"),
    byInterface<showNeighbors>("neighbors"),
    whole<showCounters>("counters"),
    whole<[](const VrfView &view, Rows &rows) { summarize(view, rows); }>("summary"),
};

const Producer &producerOf(std::string_view noun, const std::string &argument) {
  for (const Producer &producer : producers) {
    if (producer.noun != noun) continue;
    if (!producer.takesArgument && !argument.empty()) {
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
  return producerOf(noun, argument).next(view, argument, cursor, rows);
}

}  // namespace Routing::Pim::Bsr
