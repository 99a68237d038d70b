/// Where the rows that answer "show" and "explain" come from.
#pragma once

#include <string>

#include "daemon/Answers.h"
#include "daemon/control/Request.h"

namespace Routing::Pim::Bsr {

/// Throws std::invalid_argument where the verb has no such noun, or the noun takes no such argument or choice.
void checkNoun(const Control::Request &request);

/// The rows of the noun, a slice each time. Each VRF is as it is when its slices are made; one that has gone by then
/// has none. Throws std::invalid_argument for what is wrong with the request, some of it only when it is asked for
/// rows, and std::out_of_range for a VRF or path that is not there. The process outlives the source.
RowSource showSource(const Answers::Process &process, const Control::Request &request);

/// All of them at once.
RowSource sourceOf(Rows all);

/// A row for each line.
template <class Lines>
Rows rowsOfLines(const Lines &lines) {
  Rows rows = Rows::array();
  for (const std::string &line : lines) rows.push_back({{"line", line}});
  return rows;
}

}  // namespace Routing::Pim::Bsr
