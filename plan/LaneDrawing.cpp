#include "plan/LaneDrawing.h"

#include <algorithm>
#include <cmath>

#include "plan/Markup.h"
#include "plan/Naming.h"

namespace Planning {

LaneDrawing::LaneDrawing(Svg &svg, Legend &legend, const Lane &lane, const TimeFrame &frame, double top, double height)
    : svg_(svg), legend_(legend), lane_(lane), frame_(frame), top_(top), height_(height), steps_(visibleSteps()) {}

// Of those that would begin at the same place, the last: no more steps than there are places.
std::vector<Lane::Step> LaneDrawing::visibleSteps() const {
  std::vector<Lane::Step> steps;
  const auto place = [&](const Lane::Step &step) { return std::lround(frame_.x(step.from) * 10); };
  for (const Lane::Step &step : lane_.steps) {
    if (step.from > frame_.duration) break;
    if (!steps.empty() && place(steps.back()) == place(step)) steps.pop_back();
    steps.push_back(step);
  }
  return steps;
}

size_t LaneDrawing::routers(size_t step, size_t band) const {
  return band < lane_.bsrs.size() ? steps_[step].having[band] : steps_[step].withoutBsr;
}

size_t LaneDrawing::below(size_t step, size_t band) const {
  size_t sum = 0;
  for (size_t i = 0; i < band; ++i) sum += routers(step, i);
  return sum;
}

double LaneDrawing::endOf(size_t step) const {
  return frame_.x(step + 1 < steps_.size() ? steps_[step + 1].from : frame_.duration);
}

double LaneDrawing::y(size_t routers) const {
  return top_ + height_ * (1 - static_cast<double>(routers) / static_cast<double>(std::max<size_t>(lane_.members, 1)));
}

std::vector<LaneDrawing::Run> LaneDrawing::runsOf(size_t band) const {
  std::vector<Run> runs;
  for (size_t step = 0; step < steps_.size(); ++step) {
    if (routers(step, band) == 0) continue;
    if (runs.empty() || runs.back().end != step) runs.push_back({band, step, step});
    runs.back().end = step + 1;
  }
  return runs;
}

void LaneDrawing::draw() {
  svg_.rectangle(frame_.left, top_, frame_.width, height_, "fill=\"#fafafa\"");
  for (size_t band = 0; band < bands(); ++band) {
    for (const Run &run : runsOf(band)) drawRun(run);
  }
  drawWithoutRp();
  const double labelX = frame_.left - 6;
  svg_.text(labelX, y(lane_.members) + 9, std::to_string(lane_.members), "text-anchor=\"end\" font-size=\"10\"");
  svg_.text(labelX, y(0), "0", "text-anchor=\"end\" font-size=\"10\"");
  svg_.rectangle(frame_.left, top_, frame_.width, height_, "class=\"frame\" fill=\"none\" stroke=\"#888888\"");
}

void LaneDrawing::drawRun(const Run &run) {
  Points points;
  size_t most = 0;
  for (size_t step = run.begin; step < run.end; ++step) {
    const double top = y(below(step, run.band) + routers(step, run.band));
    points.emplace_back(frame_.x(steps_[step].from), top);
    points.emplace_back(endOf(step), top);
    most = std::max(most, routers(step, run.band));
  }
  for (size_t step = run.end; step-- > run.begin;) {
    const double bottom = y(below(step, run.band));
    points.emplace_back(endOf(step), bottom);
    points.emplace_back(frame_.x(steps_[step].from), bottom);
  }
  const double end = run.end < steps_.size() ? steps_[run.end].from : frame_.duration;
  const std::string title = nameOf(run.band) + ": at most " + std::to_string(most) + " of " +
                            counted(lane_.members, "router") + ", " + briefSeconds(steps_[run.begin].from) + " s to " +
                            briefSeconds(end) + " s";
  svg_.polygon(
      points,
      "class=\"band\" fill=\"" + fillOf(run.band, "url(#without)") + "\" stroke=\"#555555\" stroke-width=\"0.5\"",
      title);
}

void LaneDrawing::drawNames() {
  for (size_t band = 0; band < bands(); ++band) {
    for (const Run &run : runsOf(band)) drawName(run);
  }
}

std::string LaneDrawing::nameOf(size_t band) const {
  return band < lane_.bsrs.size() ? legend_.nameOf(lane_.domain.vrf, lane_.bsrs[band]) : "no BSR";
}

std::string LaneDrawing::fillOf(size_t band, const char *none) const {
  return band < lane_.bsrs.size() ? legend_.colorOf(lane_.bsrs[band]) : none;
}

// Where it is long and high enough.
void LaneDrawing::drawName(const Run &run) {
  constexpr double size = 11;
  size_t longest = run.begin;
  const auto length = [&](size_t step) { return endOf(step) - frame_.x(steps_[step].from); };
  for (size_t step = run.begin; step < run.end; ++step) {
    if (length(step) > length(longest)) longest = step;
  }
  const size_t count = routers(longest, run.band);
  const double top = y(below(longest, run.band) + count), bottom = y(below(longest, run.band));
  if (bottom - top < size) return;
  const auto fits = [&](const std::string &text) { return length(longest) > Svg::widthOf(text, size) + 6; };
  const std::string name = nameOf(run.band);
  const std::string counted = name + " (" + std::to_string(count) + ")";
  if (!fits(counted) && !fits(name)) return;
  const double middle = frame_.x(steps_[longest].from) + length(longest) / 2;
  svg_.text(middle, (top + bottom) / 2 + size * 0.36, fits(counted) ? counted : name,
            "class=\"name\" text-anchor=\"middle\" stroke-width=\"4\" paint-order=\"stroke\" stroke=\"" +
                fillOf(run.band, "#eeeeee") + "\"");
}

void LaneDrawing::drawWithoutRp() {
  constexpr double least = 3;
  const double bottom = top_ + height_ + stripHeight;
  svg_.text(frame_.left - 6, bottom - 2, "without RP", "text-anchor=\"end\" font-size=\"10\"");
  for (size_t step = 0; step < steps_.size(); ++step) {
    const size_t without = steps_[step].withoutRp;
    if (without == 0) continue;
    const double left = frame_.x(steps_[step].from), right = std::max(endOf(step), left + 0.5);
    const double share = static_cast<double>(without) / static_cast<double>(std::max<size_t>(lane_.members, 1));
    const double top = bottom - least - (stripHeight - least - 2) * share;
    const double end = step + 1 < steps_.size() ? steps_[step + 1].from : frame_.duration;
    svg_.polygon({{left, top}, {right, top}, {right, bottom}, {left, bottom}}, "class=\"withoutRp\" fill=\"#b00020\"",
                 std::to_string(without) + " of " + counted(lane_.members, "router") + " without RP, " +
                     briefSeconds(steps_[step].from) + " s to " + briefSeconds(end) + " s");
  }
  svg_.line(frame_.left, bottom, frame_.right(), bottom, "stroke=\"#888888\" stroke-width=\"0.5\"");
}

}  // namespace Planning
