/// Where the network's pictures have their nodes.
#pragma once

#include <string>
#include <vector>

#include "plan/Plan.h"

namespace Planning {

/// In points, from the lower left.
struct Position {
  double x = 0;
  double y = 0;
};

/// All pictures of a run have the same nodes, so one layout, which Graphviz works out, serves all of them. Its places
/// are those of Plan::nodes(), then those of the LANs. The plan outlives it.
class NetworkLayout {
 public:
  explicit NetworkLayout(const Plan &plan);

  /// The links with more than two members.
  const std::vector<size_t> &lans() const { return lans_; }
  size_t places() const { return plan_.nodes().size() + lans_.size(); }
  /// Whether letters are small and links are straight, to be drawn fast.
  bool isLarge() const { return isLarge_; }
  double fontSize() const;

  /// The program of Graphviz that works it out.
  const char *program() const { return isLarge_ ? "sfdp" : "neato"; }
  /// What it is given: nodes n0, n1, ... by their places, without words, as large as they may become.
  std::string text() const;
  void positionsAre(std::vector<Position> positions) { positions_ = std::move(positions); }
  /// Without, Graphviz lays out each picture for itself.
  bool hasPositions() const { return !positions_.empty(); }
  const Position &position(size_t place) const { return positions_[place]; }

 private:
  std::string nodeText(const Node &node, size_t place) const;

  const Plan &plan_;
  std::vector<size_t> lans_;
  const bool isLarge_;
  std::vector<Position> positions_;
};

}  // namespace Planning
