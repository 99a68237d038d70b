#include "daemon/file/JsonErrors.h"

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>

#include "daemon/file/JsonPlaces.h"

namespace Routing::Pim::Bsr {

namespace {

struct Expectation {
  const char *parsing;
  const char *words;
};
constexpr std::array expectations{
    Expectation{"object key", "the name of a member has to be here, in double quotes"},
    Expectation{"object separator", "':' has to be here, behind the name of the member"},
    Expectation{"object", "',' or '}' has to be here"},
    Expectation{"array", "',' or ']' has to be here"},
    Expectation{"value", "a value has to be here: a number, a text in double quotes, true, false, '[' or '{'"},
};

// What is wrong within a text, a number or a comment; a place of its own, or that of the whole.
struct Fault {
  const char *said;  // as it begins
  bool isOfWhole;
  const char *words;
};
constexpr std::array faults{
    Fault{"invalid string: missing closing quote", true, "a text begins here, and no '\"' ends it"},
    Fault{"invalid string: forbidden character", false,
          "behind '\\' in a text has to be one of \" \\ / b f n r t u; '\\' itself is written \\\\"},
    Fault{"invalid string: '\\u'", false, "behind '\\u' in a text have to be four hexadecimal digits"},
    Fault{"invalid string: surrogate", false,
          "'\\u' is followed by half of a pair, as in \\ud83d\\ude00; write the character itself"},
    Fault{"invalid string: ill-formed", false, "this is no UTF-8"},
    Fault{"invalid string: control character U+000A", false,
          "a text has to end on the line on which it begins; a line break in it is written \\n"},
    Fault{"invalid string: control character U+0009", false, "a tab in a text has to be written \\t"},
    Fault{"invalid string: control character", false, "a control character may not be in a text"},
    Fault{"invalid comment; expecting", true, "a comment begins with // or /*; '/' has no other meaning here"},
    Fault{"invalid comment; missing", true, "a comment begins here, and no */ ends it"},
    Fault{"invalid BOM", true, "the file begins with a part of a byte order mark"},
    Fault{"invalid number", true, "is no number as JSON has them, like 1, -1 or 1.5"},
    Fault{"number overflow", true, "is too large a number"},
};

constexpr std::string_view blanks = " \t\r\n", delimiters = " \t\r\n{}[],:\"";

// Where the text in quotation marks that begins at `at` ends.
size_t endOfText(std::string_view text, size_t at) {
  for (++at; at < text.size() && text[at] != '"'; ++at) at += text[at] == '\\' ? 1 : 0;
  return std::min(at + 1, text.size());
}

// Where the comment that begins at `at` ends; `at` where none does, the end of the text where it is not ended.
size_t endOfComment(std::string_view text, size_t at) {
  const std::string_view mark = text.substr(at, 2);
  if (mark != "//" && mark != "/*") return at;
  const std::string_view end = mark == "//" ? "\n" : "*/";
  const size_t found = text.find(end, at + 2);
  return found == text.npos ? text.size() : found + end.size();
}

// Of the tokens the last that begins within the first `read` bytes; a comment is one if it goes on behind these.
std::string_view lastToken(std::string_view text, size_t read) {
  std::string_view last = text.substr(std::min(read, text.size()), 0);
  for (size_t at = text.starts_with("\xef\xbb\xbf") ? 3 : 0; at < read && at < text.size();) {
    size_t end = endOfComment(text, at);
    if (blanks.find(text[at]) != blanks.npos || (end > at && end < read)) {
      at = std::max(at + 1, end);
      continue;
    }
    if (text[at] == '"') {
      end = endOfText(text, at);
    } else if (end == at) {
      end = std::max(at + 1, std::min(text.find_first_of(delimiters, at), text.size()));
    }
    last = text.substr(at, end - at);
    at = end;
  }
  return last;
}

std::string shown(std::string_view token) {
  constexpr size_t longest = 20;
  const std::string part(token.substr(0, longest));
  return nlohmann::json(part).dump(-1, ' ', true, nlohmann::json::error_handler_t::replace) +
         (token.size() > longest ? "..." : "");
}

const char *wordsFor(std::string_view parsing) {
  const auto *found =
      std::ranges::find(expectations, parsing, [](const Expectation &each) { return std::string_view(each.parsing); });
  return found == expectations.end() ? "" : found->words;
}

// "true literal" and the like, as the parser names what it did not expect.
std::string nameOf(std::string_view token) {
  constexpr std::string_view literal = " literal";
  if (token == "string literal") return "a text";
  if (token == "number literal") return "a number";
  return std::string(token.ends_with(literal) ? token.substr(0, token.size() - literal.size()) : token);
}

}  // namespace

Finding syntaxErrorFrom(std::string_view text, std::string_view reason, size_t read) {
  constexpr std::string_view lead = "syntax error while parsing ", unexpected = "unexpected ", end = "end of input";
  read = std::min(read, text.size());
  const size_t dash = reason.find(" - ");
  const bool isSyntax = reason.starts_with(lead) && dash != reason.npos;
  const std::string_view parsing = isSyntax ? reason.substr(lead.size(), dash - lead.size()) : "";
  std::string_view said = isSyntax ? reason.substr(dash + 3) : reason;
  // Of a word or number that is wrong the parser has read what ends it, too.
  const bool isEnded = said.starts_with("invalid") && read > 0 && delimiters.find(text[read - 1]) != delimiters.npos;
  const std::string_view token = lastToken(text, isEnded ? read - 1 : read);
  const auto begin = static_cast<size_t>(token.data() - text.data());
  const bool hasLeadingZero = token.size() > 1 && token[0] == '0' && said.starts_with("unexpected number");
  if (hasLeadingZero) said = "invalid number";
  const auto finding = [&](size_t at, const std::string &message) { return Finding{placeOf(text, at), message, {}}; };

  for (const Fault &fault : faults) {
    if (!said.starts_with(fault.said)) continue;
    const bool isNumber = std::string_view(fault.words).starts_with("is ");
    return finding(fault.isOfWhole || read == 0 ? begin : read - 1, (isNumber ? shown(token) + " " : "") + fault.words);
  }
  std::string words = wordsFor(parsing);
  if (reason.ends_with("; expected end of input")) words = "the file has to end here";
  if (said.starts_with("invalid literal")) {
    // A word that begins as true or false does, and goes on.
    if (begin + 1 < read && parsing != "object key" && !isEnded) words = wordsFor("value");
    return finding(begin, words + ", not " + shown(token));
  }
  if (!said.starts_with(unexpected)) return finding(begin, words.append(words.empty() ? "" : ": ").append(said));
  std::string_view what = said.substr(unexpected.size());
  what = what.substr(0, std::min(what.find("; last read"), what.find("; expected")));
  if (what == end) return finding(text.size(), "the file ends too early: " + words);
  const bool isCommaTooMany = (parsing == "object key" && what == "'}'") || (parsing == "value" && what == "']'");
  return finding(begin,
                 words + ", not " + nameOf(what) + (isCommaTooMany ? "; is the comma before it one too many?" : ""));
}

}  // namespace Routing::Pim::Bsr
