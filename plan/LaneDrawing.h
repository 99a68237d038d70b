/// One lane of the time line's picture.
#pragma once

#include "plan/HeldHistory.h"
#include "plan/Svg.h"

namespace Planning {

/// Where time is drawn, in the units of the picture.
struct TimeFrame {
  double left = 0;
  double width = 0;
  double duration = 0;  ///< seconds
  double x(double time) const { return left + (duration > 0 ? width * time / duration : 0); }
  double right() const { return left + width; }
};

/// Bands one upon the other, one a BSR and one for the routers without BSR, each as high as it has routers; and below
/// them a strip for those without RP. All that it is made with outlives it.
class LaneDrawing {
 public:
  static constexpr double stripHeight = 12;

  /// `top` and `height` are of the bands; the strip is below.
  LaneDrawing(Svg &svg, Legend &legend, const Lane &lane, const TimeFrame &frame, double top, double height);
  void draw();
  /// In the bands, over what has been drawn since.
  void drawNames();
  /// Whether anything is to be seen of the BSR.
  bool shows(size_t bsr) const { return !runsOf(bsr).empty(); }

 private:
  // A band from one step up to another.
  struct Run {
    size_t band;
    size_t begin;
    size_t end;
  };

  std::vector<Lane::Step> visibleSteps() const;
  size_t bands() const { return lane_.bsrs.size() + 1; }
  size_t routers(size_t step, size_t band) const;
  size_t below(size_t step, size_t band) const;
  double endOf(size_t step) const;
  double y(size_t routers) const;
  std::vector<Run> runsOf(size_t band) const;
  void drawRun(const Run &run);
  void drawName(const Run &run);
  std::string nameOf(size_t band) const;
  std::string fillOf(size_t band, const char *none) const;
  void drawWithoutRp();

  Svg &svg_;
  Legend &legend_;
  const Lane &lane_;
  const TimeFrame frame_;
  const double top_;
  const double height_;
  const std::vector<Lane::Step> steps_;
};

}  // namespace Planning
