/// Assertions that stay in release builds: a broken invariant ends the process. For the agent's own mistakes
/// only. What a peer sends or an operator configures must never get here.
#pragma once

namespace Tracelet {

/// Writes "Assertion failed: <expression>" and its place to the trace and to standard error, then aborts.
[[noreturn]] void assertionFailed(const char *expression, const char *file, int line);

}  // namespace Tracelet

/// REQUIRE(config()): aborts with the expression as the text if it does not hold.
#define REQUIRE(expression) REQUIRE_AS(expression, #expression)

/// The same with the text given, where its spacing would not survive formatting.
#define REQUIRE_AS(expression, text) \
  ((expression) ? static_cast<void>(0) : ::Tracelet::assertionFailed(text, __FILE__, __LINE__))
