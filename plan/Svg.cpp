#include "plan/Svg.h"

#include "plan/Markup.h"

namespace Planning {

namespace {

std::string attribute(const char *name, double value) {
  return std::string(" ") + name + "=\"" + shortNumber(value) + '"';
}

std::string element(const std::string &name, const std::string &attributes) {
  return "<" + name + (attributes.empty() ? "" : " ") + attributes;
}

}  // namespace

void Svg::text(double x, double y, const std::string &text, const std::string &attributes) {
  body_ += element("text", attributes) + attribute("x", x) + attribute("y", y) + ">" + markupText(text) + "</text>\n";
}

void Svg::line(double x1, double y1, double x2, double y2, const std::string &attributes) {
  body_ += element("line", attributes) + attribute("x1", x1) + attribute("y1", y1) + attribute("x2", x2) +
           attribute("y2", y2) + "/>\n";
}

void Svg::rectangle(double x, double y, double width, double height, const std::string &attributes) {
  body_ += element("rect", attributes) + attribute("x", x) + attribute("y", y) + attribute("width", width) +
           attribute("height", height) + "/>\n";
}

void Svg::polygon(const Points &points, const std::string &attributes, const std::string &title) {
  body_ += element("polygon", attributes) + " points=\"";
  for (size_t i = 0; i < points.size(); ++i) {
    if (i > 0) body_ += ' ';
    body_.append(shortNumber(points[i].first)).append(",").append(shortNumber(points[i].second));
  }
  body_ += "\"><title>" + markupText(title) + "</title></polygon>\n";
}

std::string Svg::document(double width, double height, const std::string &title) const {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<svg xmlns=\"http://www.w3.org/2000/svg\"" +
         attribute("width", width) + attribute("height", height) + " viewBox=\"0 0 " + shortNumber(width) + " " +
         shortNumber(height) + "\" font-family=\"sans-serif\" font-size=\"11\" fill=\"#222222\">\n<title>" +
         markupText(title) + "</title>\n<rect width=\"100%\" height=\"100%\" fill=\"#ffffff\"/>\n" + body_ + "</svg>\n";
}

double Svg::widthOf(const std::string &text, double size) {
  return static_cast<double>(charactersOf(text)) * size * 0.58;
}

}  // namespace Planning
