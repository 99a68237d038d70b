/// The network as Graphviz draws it, at any moment of a simulation.
#pragma once

#include <string>

#include "plan/NetworkFacts.h"
#include "plan/NetworkLayout.h"

namespace Planning {

/// Routers, one node for each of their VRFs, links and LANs. All that it is made with outlives it.
class NetworkPicture {
 public:
  NetworkPicture(const Simulation &simulation, Legend &legend, const NetworkLayout &layout);

  /// The network as it is now, in the language of Graphviz.
  std::string dot(const std::string &title);

 private:
  std::string nodeId(const Node &node) const;
  std::string lanId(size_t link) const;
  std::string headText(const std::string &title, const NetworkFacts &facts) const;
  std::string positionText(size_t place) const;
  std::string titleText(const std::string &title, const NetworkFacts &facts) const;
  std::string nodeText(const Node &node, size_t place, const NetworkFacts &facts) const;
  std::string lanText(size_t link, size_t place) const;
  std::string linkText(size_t link) const;
  std::string linkAttributes(size_t link) const;
  /// What is said at the end of the link: the arrow of a border, and words.
  std::string endAttributes(const Member &member, const char *arrow, const char *label) const;
  std::string parametersText(const Sim::LinkParameters &parameters) const;
  bool isDown(const Member &member) const;

  const Simulation &simulation_;
  const Plan &plan_;
  Legend &legend_;
  const NetworkLayout &layout_;
  const uint32_t usualCost_;
};

}  // namespace Planning
