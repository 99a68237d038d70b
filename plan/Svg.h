/// Writes an SVG: shapes and texts, without scripts.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace Planning {

using Points = std::vector<std::pair<double, double>>;  ///< x from the left, y from the top

/// Attributes are as they are written, `fill="none"`; texts and titles, which readers see when they point at a shape,
/// are escaped.
class Svg {
 public:
  void text(double x, double y, const std::string &text, const std::string &attributes = "");
  void line(double x1, double y1, double x2, double y2, const std::string &attributes);
  void rectangle(double x, double y, double width, double height, const std::string &attributes);
  void polygon(const Points &points, const std::string &attributes, const std::string &title);
  /// As it stands there: <defs>, <g>.
  void raw(const std::string &text) { body_ += text; }

  /// The whole picture, on white.
  std::string document(double width, double height, const std::string &title) const;

  /// About how wide the text is, sans-serif of this size.
  static double widthOf(const std::string &text, double size);

 private:
  std::string body_;
};

}  // namespace Planning
