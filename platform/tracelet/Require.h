/// Assertions that stay in release builds: a broken invariant ends the process. For the agent's own mistakes
/// only. What a peer sends or an operator configures must never get here.
#pragma once

#include <functional>
#include <string>

namespace Tracelet {

/// Writes "Assertion failed: <expression>" and its place to the trace, hands them to whom beforeAbortIs() was given,
/// or else writes them to standard error, then aborts. An assertion that fails in there aborts at once.
[[noreturn]] void assertionFailed(const char *expression, const char *file, int line);

/// What is left to do when an assertion has failed: telling its text, saving what must outlive the process. It runs in
/// the middle of whatever failed, so it may only read. Empty for nothing.
void beforeAbortIs(std::function<void(const std::string &text)> act);

}  // namespace Tracelet

/// REQUIRE(config()): aborts with the expression as the text if it does not hold.
#define REQUIRE(expression) REQUIRE_AS(expression, #expression)

/// The same with the text given, where its spacing would not survive formatting.
#define REQUIRE_AS(expression, text) \
  ((expression) ? static_cast<void>(0) : ::Tracelet::assertionFailed(text, __FILE__, __LINE__))
