#include "plan/Spans.h"

#include <algorithm>

namespace Planning {

void Spans::begin(double time) {
  if (isOpen()) return;
  if (!spans_.empty() && spans_.back().to >= time) {
    spans_.back().to = open;
  } else {
    spans_.push_back({time, open});
  }
}

void Spans::end(double time) {
  if (!isOpen()) return;
  spans_.back().to = time;
  if (spans_.back().length() <= 0) spans_.pop_back();
}

Spans Spans::within(double from, double to) const {
  Spans part;
  auto span = std::lower_bound(spans_.begin(), spans_.end(), from,
                               [](const Span &each, double time) { return each.to <= time; });
  for (; span != spans_.end() && span->from < to; ++span) {
    part.spans_.push_back({std::max(span->from, from), std::min(span->to, to)});
  }
  return part;
}

double Spans::sum() const {
  double sum = 0;
  for (const Span &span : spans_) sum += span.length();
  return sum;
}

Span Spans::longest() const {
  Span longest;
  for (const Span &span : spans_) {
    if (span.length() > longest.length()) longest = span;
  }
  return longest;
}

void Spans::append(const Spans &later) {
  for (const Span &span : later.spans_) {
    begin(span.from);
    end(span.to);
  }
}

Spans Spans::inverted(double from, double to) const {
  Spans inverted;
  inverted.begin(from);
  for (const Span &span : within(from, to).spans_) {
    inverted.end(span.from);
    inverted.begin(span.to);
  }
  inverted.end(to);
  return inverted;
}

Spans Spans::joined(const Spans &other) const {
  std::vector<Span> both(spans_);
  both.insert(both.end(), other.spans_.begin(), other.spans_.end());
  std::sort(both.begin(), both.end(), [](const Span &a, const Span &b) { return a.from < b.from; });
  Spans joined;
  for (const Span &span : both) {
    if (!joined.spans_.empty() && span.from <= joined.spans_.back().to) {
      joined.spans_.back().to = std::max(joined.spans_.back().to, span.to);
    } else {
      joined.spans_.push_back(span);
    }
  }
  return joined;
}

}  // namespace Planning
