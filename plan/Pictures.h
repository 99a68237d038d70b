/// The pictures of a run, written into a folder while it goes on.
#pragma once

#include <chrono>
#include <filesystem>
#include <optional>
#include <ostream>
#include <set>

#include "plan/Graphviz.h"
#include "plan/HeldHistory.h"
#include "plan/Moments.h"
#include "plan/NetworkPicture.h"

namespace Planning {

/// network-000-start: the network just before the story begins; network-001, network-002, ...: just before the story
/// goes on after its first, second, ... moment, or at the end, so that they show what it has led to; timeline.svg. Each
/// of the network is written for Graphviz and, where that can be run, as an SVG.
///
/// Made before the simulation runs, which it observes, and finished when that has run; both outlive it.
class Pictures {
 public:
  struct Options {
    std::filesystem::path folder;    ///< made where it is not there
    bool svg = true;                 ///< of the network, too
    std::set<size_t> moments{};      ///< those to draw, 0 for the start; all if empty
    std::chrono::seconds limit{60};  ///< that a program of Graphviz may take
  };

  /// `seed` is that of the simulation; `out` is told each file, `err` what cannot be drawn. Throws
  /// std::runtime_error when the folder cannot be made.
  Pictures(Simulation &simulation, uint64_t seed, Options options, std::ostream &out, std::ostream &err);

  /// The simulation has come to the plan's end. Throws std::runtime_error when files could not be written.
  void finish();

 private:
  void drawNetworkAt(size_t moment, double time);
  void drawNetwork(size_t moment);
  void layOut();
  void write(const std::string &name, const std::string &text);
  void giveUpSvg(const std::string &reason);

  Simulation &simulation_;
  const uint64_t seed_;
  const Options options_;
  std::ostream &out_;
  std::ostream &err_;
  const std::vector<Moment> moments_;
  Legend legend_;
  HeldHistory history_;
  NetworkLayout layout_;
  NetworkPicture network_;
  const Graphviz graphviz_;
  bool drawsSvg_;
  std::string failure_;  // of the first file that could not be written
};

}  // namespace Planning
