/// The time line as an SVG: who is BSR for how many routers over time, a lane for each zone and VRF.
#pragma once

#include <string>
#include <vector>

#include "plan/LaneDrawing.h"
#include "plan/Moments.h"

namespace Planning {

/// Draws on white, so that it can be read on any background; a function of what it is given, and nothing else.
class TimelinePicture {
 public:
  /// All of it outlives the picture. Times from 0 to `duration` are drawn, in seconds.
  TimelinePicture(Legend &legend, const std::vector<Lane> &lanes, double duration, uint64_t seed);

  std::string svg();

 private:
  // A moment of the story, or several, in words above the lanes.
  struct Label {
    double x;
    double left;
    double right;
    size_t row;
    std::string text;
  };

  void placeLabels();
  void placeNumbers();
  double laneHeight() const;
  void drawLaneTitle(const Lane &lane, double top, double height);
  void drawMoments(double top, double bottom);
  void drawAxis(double top, double bottom);
  double drawLegend(const std::vector<LaneDrawing> &drawings, double top);
  double drawStory(double top);

  Legend &legend_;
  const std::vector<Lane> &lanes_;
  const uint64_t seed_;
  const std::vector<Moment> moments_;
  const TimeFrame frame_;
  std::vector<Label> labels_;
  size_t rows_ = 0;
  Svg svg_;
};

/// The distance of ticks on an axis of so many seconds, so that there are up to about ten: 1, 2 or 5 times a power of
/// ten up to two hours, then what clocks have.
double axisStep(double duration);

}  // namespace Planning
