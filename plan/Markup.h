/// Texts and numbers as pictures have them.
#pragma once

#include <string>
#include <string_view>

namespace Planning {

/// For XML, and for the labels of Graphviz that are made like it: "a &lt; b". A character that XML cannot have
/// is a space.
std::string markupText(std::string_view text);
/// For Graphviz, in double quotes; a new line is one in the picture.
std::string quotedText(std::string_view text);
/// At most `decimals` digits behind the point, and no zeros at the end: "12.3".
std::string shortNumber(double number, int decimals = 1);
/// The text, or its beginning and "...", of up to `most` characters.
std::string shortText(const std::string &text, size_t most);
/// How many characters of UTF-8.
size_t charactersOf(std::string_view text);

}  // namespace Planning
