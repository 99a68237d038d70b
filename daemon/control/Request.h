/// The control protocol: on a Unix stream socket, a line of JSON a request and a line a reply, as
/// often as the client likes.
///
///   {"verb": "show", "noun": "bsr", "vrf": "blue", "argument": "..."}    all but `verb` optional
///   {"rows": [{...}, ...]}  or  {"error": "..."}
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

namespace Control {

using Rows = nlohmann::ordered_json;

struct Request {
  std::string verb;
  std::string noun;
  std::string vrf;
  std::string argument;
};

/// Bytes of a request line that an agent takes.
inline constexpr size_t longestRequest = 64 << 10;

/// Without the newline.
std::string toLine(const Request &request);
/// Throws std::invalid_argument saying what is wrong.
Request requestFromLine(std::string_view line);

std::string rowsLine(const Rows &rows);
std::string errorLine(std::string_view error);
/// Throws std::runtime_error with the error that the agent replied, or where this is no reply.
Rows rowsFromLine(std::string_view line);

}  // namespace Control
