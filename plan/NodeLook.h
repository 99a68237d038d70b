/// How a node of the network's picture looks.
#pragma once

#include "plan/NetworkFacts.h"

namespace Planning {

/// What is said by colors is said by shapes, lines or words, too.
struct NodeLook {
  std::string label;  ///< lines
  std::string shape;  ///< what it is among BSRs
  std::string style;
  std::string fill;  ///< by the BSRs that it has
  const char *color = "#333333";
  double penWidth = 1;
  bool hasNews = false;  ///< there is more to say than its name
};

/// What holds for every router of a domain, as that none has an RP, is not said of each. Where it `isBrief`, what many
/// routers lack is not said in words either, and those that have another BSR than most are marked by its rank.
NodeLook lookOf(const Node &node, const NetworkFacts &facts, Legend &legend, bool isBrief);

}  // namespace Planning
