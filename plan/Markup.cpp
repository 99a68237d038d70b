#include "plan/Markup.h"

#include <algorithm>
#include <cstdio>

namespace Planning {

namespace {

bool beginsCharacter(char c) { return (static_cast<unsigned char>(c) & 0xc0) != 0x80; }

}  // namespace

std::string markupText(std::string_view text) {
  std::string markup;
  for (const char c : text) {
    switch (c) {
      case '&': markup += "&amp;"; break;
      case '<': markup += "&lt;"; break;
      case '>': markup += "&gt;"; break;
      case '"': markup += "&quot;"; break;
      default: markup += static_cast<unsigned char>(c) < ' ' ? ' ' : c;
    }
  }
  return markup;
}

std::string quotedText(std::string_view text) {
  std::string quoted = "\"";
  for (const char c : text) {
    switch (c) {
      case '&': quoted += "&amp;"; break;  // which it takes as in XML
      case '"': quoted += "\\\""; break;
      case '\\': quoted += "\\\\"; break;
      case '\n': quoted += "\\n"; break;
      default: quoted += static_cast<unsigned char>(c) < ' ' ? ' ' : c;
    }
  }
  return quoted + '"';
}

std::string shortNumber(double number, int decimals) {
  char text[64];
  std::snprintf(text, sizeof text, "%.*f", decimals, number);
  std::string shortened = text;
  if (shortened.find('.') != std::string::npos) {
    shortened.erase(shortened.find_last_not_of('0') + 1);
    if (shortened.back() == '.') shortened.pop_back();
  }
  return shortened == "-0" ? "0" : shortened;
}

size_t charactersOf(std::string_view text) {
  return static_cast<size_t>(std::count_if(text.begin(), text.end(), beginsCharacter));
}

std::string shortText(const std::string &text, size_t most) {
  if (charactersOf(text) <= most) return text;
  size_t end = 0;
  for (size_t characters = 0; end < text.size(); ++end) {
    if (beginsCharacter(text[end]) && characters++ == most - 3) break;
  }
  return text.substr(0, end) + "...";
}

}  // namespace Planning
