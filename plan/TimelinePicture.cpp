#include "plan/TimelinePicture.h"

#include <algorithm>
#include <cmath>
#include <set>

#include "plan/Markup.h"
#include "plan/Naming.h"

namespace Planning {

namespace {

constexpr double width = 1100, margin = 20, laneLeft = 170;
constexpr double labelSize = 10, labelRow = 13, labelsTop = 44, laneGap = 22;
constexpr size_t rowsMost = 8, labelMost = 30;
constexpr const char *faint = "stroke=\"#000000\" stroke-opacity=\"0.12\"";
constexpr const char *tick = "stroke=\"#222222\" stroke-width=\"0.8\" stroke-dasharray=\"3 2\"";

constexpr double secondsMost = 7200;  // of an axis in seconds, as plans have them

// In the largest unit in which the step is a whole number, where plans are long.
std::string axisText(double time, double step, double duration) {
  if (duration <= secondsMost) return shortNumber(time, 3) + " s";
  for (const auto &[unit, name] : {std::pair(86400., " d"), std::pair(3600., " h")}) {
    if (std::fmod(step, unit) == 0) return shortNumber(time / unit) + name;
  }
  return shortNumber(time / 60) + " min";
}

}  // namespace

double axisStep(double duration) {
  constexpr double ticks = 11;
  for (double power = 0.001; duration <= secondsMost; power *= 10) {
    for (const double step : {power, 2 * power, 5 * power}) {
      if (duration / step <= ticks) return step;
    }
  }
  for (const double step : {900., 1800., 3600., 7200., 10800., 21600., 43200.}) {
    if (duration / step <= ticks) return step;
  }
  double step = 86400;
  while (duration / step > ticks) step *= duration / step > 2 * ticks ? 5 : 2;
  return step;
}

TimelinePicture::TimelinePicture(Legend &legend, const std::vector<Lane> &lanes, double duration, uint64_t seed)
    : legend_(legend),
      lanes_(lanes),
      seed_(seed),
      moments_(momentsOf(legend.plan())),
      frame_{laneLeft, width - laneLeft - margin, duration} {
  placeLabels();
  if (rows_ > rowsMost) placeNumbers();
}

// Each in a row below those that it would cover, so that no label is crossed by the tick of one to the right.
void TimelinePicture::placeLabels() {
  for (size_t i = 0; i < moments_.size(); ++i) {
    Label label{frame_.x(moments_[i].at), 0, 0, 0, std::to_string(i + 1)};
    label.text.append(" ").append(shortText(moments_[i].shortText, labelMost));
    const double length = Svg::widthOf(label.text, labelSize) + 8;
    label.left = label.x + length > width - margin / 2 ? label.x - length : label.x;
    label.right = label.left + length;
    for (const Label &other : labels_) {
      if (other.right > label.left && other.left < label.right) label.row = std::max(label.row, other.row + 1);
    }
    rows_ = std::max(rows_, label.row + 1);
    labels_.push_back(std::move(label));
  }
}

// Where the texts need too many rows: numbers alone, and those that are close together as one.
void TimelinePicture::placeNumbers() {
  labels_.clear();
  rows_ = 1;
  size_t first = 0;
  for (size_t i = 0; i < moments_.size(); ++i) {
    const double x = frame_.x(moments_[i].at);
    const std::string number = std::to_string(i + 1);
    if (!labels_.empty() && labels_.back().right > x) {
      labels_.back().text = std::to_string(first + 1) + "-" + number;
    } else {
      first = i;
      labels_.push_back({x, x, 0, 0, number});
    }
    labels_.back().right = labels_.back().left + Svg::widthOf(labels_.back().text, labelSize) + 6;
  }
}

double TimelinePicture::laneHeight() const {
  return lanes_.size() <= 1 ? 200 : lanes_.size() == 2 ? 140 : lanes_.size() <= 4 ? 100 : 64;
}

std::string TimelinePicture::svg() {
  const Plan &plan = legend_.plan();
  const std::string title = (plan.name.empty() ? "Time line" : plan.name) + ", seed " + std::to_string(seed_);
  svg_.raw(
      "<defs><pattern id=\"without\" width=\"6\" height=\"6\" patternUnits=\"userSpaceOnUse\">"
      "<rect width=\"6\" height=\"6\" fill=\"#eeeeee\"/><path d=\"M0 6L6 0\" stroke=\"#777777\"/></pattern></defs>\n");
  svg_.text(margin, 26, shortText(title, 110), "font-size=\"16\" font-weight=\"bold\"");
  const double top = labelsTop + static_cast<double>(rows_) * labelRow + 6;
  const double pitch = laneHeight() + LaneDrawing::stripHeight + laneGap;
  double y = top;
  std::vector<LaneDrawing> drawings;
  for (const Lane &lane : lanes_) {
    drawings.emplace_back(svg_, legend_, lane, frame_, y, laneHeight()).draw();
    drawLaneTitle(lane, y, laneHeight());
    y += pitch;
  }
  y -= lanes_.empty() ? 0 : laneGap;
  drawAxis(top, y);
  drawMoments(top, y);
  for (LaneDrawing &drawing : drawings) drawing.drawNames();
  y = drawLegend(drawings, y + 44);
  y = drawStory(y + 8);
  return svg_.document(width, y + margin, title);
}

void TimelinePicture::drawLaneTitle(const Lane &lane, double top, double height) {
  constexpr double size = 12;
  const bool isLong = Svg::widthOf(Kiv::toText(lane.domain.zone), size) > laneLeft - margin - 30;
  const double y = top + std::min(height / 2, 40.);
  if (legend_.plan().hasVrfs())
    svg_.text(margin, y - 15, "VRF " + shortText(lane.domain.vrf, 16), "font-weight=\"bold\"");
  svg_.text(margin, y, Kiv::toText(lane.domain.zone),
            isLong ? "font-size=\"9\"" : "font-size=\"12\" font-weight=\"bold\"");
  svg_.text(margin, y + 14, "routers by BSR", "font-size=\"10\"");
}

void TimelinePicture::drawAxis(double top, double bottom) {
  const double step = axisStep(frame_.duration);
  for (double i = 0; i * step <= frame_.duration * (1 + 1e-9); ++i) {
    const double x = frame_.x(i * step);
    if (i > 0) svg_.line(x, top, x, bottom, faint);
    svg_.line(x, bottom, x, bottom + 5, "stroke=\"#222222\"");
    svg_.text(x, bottom + 17, i > 0 ? axisText(i * step, step, frame_.duration) : "0",
              "text-anchor=\"middle\" font-size=\"10\"");
  }
  svg_.line(frame_.left, bottom, frame_.right(), bottom, "stroke=\"#222222\"");
}

void TimelinePicture::drawMoments(double top, double bottom) {
  const auto y = [&](const Label &label) { return labelsTop + static_cast<double>(label.row) * labelRow; };
  for (const Moment &moment : moments_) {
    svg_.line(frame_.x(moment.at), top - 4, frame_.x(moment.at), bottom, tick);
  }
  for (const Label &label : labels_) svg_.line(label.x, y(label) - 9, label.x, top - 4, tick);
  for (const Label &label : labels_) {
    const bool isLeft = label.left < label.x;
    svg_.text(
        isLeft ? label.x - 3 : label.x + 3, y(label), label.text,
        std::string("class=\"moment\" font-size=\"10\" stroke=\"#ffffff\" stroke-width=\"3\" paint-order=\"stroke\"") +
            (isLeft ? " text-anchor=\"end\"" : ""));
  }
}

double TimelinePicture::drawLegend(const std::vector<LaneDrawing> &drawings, double top) {
  double x = margin, y = top;
  const auto entry = [&](const std::string &fill, const std::string &text) {
    const double length = Svg::widthOf(text, 11) + 34;
    if (x > margin && x + length > width - margin) x = margin, y += 18;
    svg_.rectangle(x, y - 10, 16, 12, "fill=\"" + fill + "\" stroke=\"#555555\" stroke-width=\"0.5\"");
    svg_.text(x + 21, y, text);
    x += length;
  };
  std::set<std::string> told;
  for (size_t i = 0; i < lanes_.size(); ++i) {
    for (size_t bsr = 0; bsr < lanes_[i].bsrs.size(); ++bsr) {
      const std::string name = legend_.nameOf(lanes_[i].domain.vrf, lanes_[i].bsrs[bsr]);
      if (drawings[i].shows(bsr) && told.insert(name).second)
        entry(legend_.colorOf(lanes_[i].bsrs[bsr]), "BSR " + name);
    }
  }
  entry("url(#without)", "no BSR");
  entry("#b00020", "no RP");
  entry("#fafafa", "agent does not run, or stands by");
  return y + 10;
}

// Numbered as above the lanes, in two columns.
double TimelinePicture::drawStory(double top) {
  constexpr double row = 15;
  const size_t rows = moments_.size() > 5 ? (moments_.size() + 1) / 2 : moments_.size();
  const size_t most = moments_.size() > 5 ? 75 : 150;
  for (size_t i = 0; i < moments_.size(); ++i) {
    const double x = margin + (i < rows ? 0 : (width - margin) / 2);
    const double y = top + row * static_cast<double>(1 + i % std::max<size_t>(rows, 1));
    svg_.text(x + 18, y, std::to_string(i + 1), "text-anchor=\"end\" font-weight=\"bold\"");
    svg_.text(x + 84, y, briefSeconds(moments_[i].at) + " s", "text-anchor=\"end\"");
    svg_.text(x + 94, y, shortText(moments_[i].text, most), "class=\"story\"");
  }
  return top + row * static_cast<double>(rows);
}

}  // namespace Planning
