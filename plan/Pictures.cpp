#include "plan/Pictures.h"

#include <cmath>
#include <cstdlib>
#include <fstream>

#include "plan/Markup.h"
#include "plan/Naming.h"
#include "plan/TimelinePicture.h"

namespace Planning {

namespace {

std::string programPath() {
  const char *path = std::getenv("PATH");
  return path ? path : "/usr/bin:/bin";
}

std::string fileName(size_t moment) {
  char name[32];
  std::snprintf(name, sizeof name, moment == 0 ? "network-%03zu-start" : "network-%03zu", moment);
  return name;
}

}  // namespace

Pictures::Pictures(Simulation &simulation, uint64_t seed, Options options, std::ostream &out, std::ostream &err)
    : simulation_(simulation),
      seed_(seed),
      options_(std::move(options)),
      out_(out),
      err_(err),
      moments_(momentsOf(simulation.plan())),
      legend_(simulation.plan()),
      history_(simulation, legend_),
      layout_(simulation.plan()),
      network_(simulation, legend_, layout_),
      graphviz_(programPath(), options_.limit),
      drawsSvg_(options_.svg) {
  std::error_code error;
  std::filesystem::create_directories(options_.folder, error);
  if (error) throw std::runtime_error(options_.folder.string() + ": " + error.message());
  simulation.observe(history_);
  for (size_t i = 0; i < moments_.size(); ++i) {
    drawNetworkAt(i, std::nextafter(Sim::VirtualTime::start + moments_[i].at, 0));
  }
  layOut();
}

void Pictures::layOut() {
  if (!drawsSvg_) return;
  try {
    layout_.positionsAre(graphviz_.layOut(layout_));
  } catch (const GraphvizFailed &failure) {
    giveUpSvg(failure.what());
  }
}

void Pictures::drawNetworkAt(size_t moment, double time) {
  if (!options_.moments.empty() && !options_.moments.contains(moment)) return;
  simulation_.network().time().at(time, [this, moment] { drawNetwork(moment); });
}

void Pictures::drawNetwork(size_t moment) {
  std::string title = "before the first event, at ";
  if (moment > 0) {
    const Moment &shown = moments_[moment - 1];
    title = std::to_string(moment) + ". " + shortText(shown.text, 90) + " at " + briefSeconds(shown.at) + " s; as of ";
  } else if (moments_.empty()) {
    title = "at ";
  }
  title += briefSeconds(simulation_.now()) + " s";
  const std::string name = fileName(moment);
  const std::string dot = network_.dot(title);
  write(name + ".dot", dot);
  if (!drawsSvg_) return;
  try {
    write(name + ".svg", graphviz_.svgOf(dot));
  } catch (const GraphvizFailed &failure) {
    giveUpSvg(failure.what());
  }
}

void Pictures::giveUpSvg(const std::string &reason) {
  drawsSvg_ = false;
  err_ << "The network is written for Graphviz only, not as SVG: " << reason << '\n';
}

void Pictures::write(const std::string &name, const std::string &text) {
  const std::filesystem::path file = options_.folder / name;
  std::ofstream stream(file, std::ios::binary);
  stream << text;
  stream.close();
  if (stream) {
    out_ << file.string() << '\n';
  } else if (failure_.empty()) {
    failure_ = file.string() + " cannot be written";
  }
}

void Pictures::finish() {
  if (options_.moments.empty() || options_.moments.contains(moments_.size())) drawNetwork(moments_.size());
  const std::vector<Lane> lanes = history_.lanes();
  write("timeline.svg", TimelinePicture(legend_, lanes, simulation_.plan().duration, seed_).svg());
  if (!failure_.empty()) throw std::runtime_error(failure_);
}

}  // namespace Planning
