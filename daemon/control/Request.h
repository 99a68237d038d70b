/// The control protocol: on a Unix stream socket, each request is a line of JSON, and so is each reply.
///
///   {"verb": "show", "noun": "bsr", "vrf": "blue", "argument": "..."}    only `verb` is required
///   {"rows": [{...}, ...]}  or  {"error": "..."}
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <stdexcept>
#include <string>
#include <string_view>

namespace Control {

using Rows = nlohmann::ordered_json;

struct Request {
  std::string verb;
  std::string noun;
  std::string vrf;
  std::string argument;
  // Which rows are wanted; empty for all. All but `zone` are for "show events".
  std::string since{};     ///< a number, or a time as in 2024-05-01T12:34:56Z
  std::string zone{};      ///< group prefix
  std::string severity{};  ///< the least
  std::string kind{};

  bool choosesEvents() const { return !since.empty() || !severity.empty() || !kind.empty(); }
};

/// Bytes of a request line that an agent takes.
inline constexpr size_t longestRequest = 64 << 10;

/// Without the newline.
std::string toLine(const Request &request);
/// Throws std::invalid_argument saying what is wrong.
Request requestFromLine(std::string_view line);

/// A reply line that has no error is these two around the texts of its rows, with commas between them.
inline constexpr std::string_view rowsBegin = R"({"rows":[)", rowsEnd = "]}";
std::string rowText(const Rows &row);
/// A bad request is wrong whatever the agent knows or does; other errors are of the moment.
enum class ErrorKind { refusal, badRequest };
std::string errorLine(std::string_view error, ErrorKind kind = ErrorKind::refusal);

/// What the agent replied was an error; what() is its text.
class AgentError : public std::runtime_error {
 public:
  AgentError(const std::string &error, ErrorKind kind) : runtime_error(error), kind(kind) {}
  const ErrorKind kind;
};
/// Of a line that has an error.
AgentError errorFrom(const Rows &line);
/// Throws AgentError with the error that the agent replied, and std::runtime_error where this is no reply.
Rows rowsFromLine(std::string_view line);

}  // namespace Control
