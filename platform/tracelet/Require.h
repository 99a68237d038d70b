/// Broken invariants end the process.
#pragma once

namespace Tracelet {

/// Writes "Assertion failed: <expression>" with its place to the trace and to standard error,
/// flushes the trace and aborts.
[[noreturn]] void assertionFailed(const char *expression, const char *file, int line);

}  // namespace Tracelet

/// REQUIRE(config()): fatal with the expression as its text when it does not hold.
#define REQUIRE(expression) REQUIRE_AS(expression, #expression)

/// The same with the text given, where its spacing would not survive formatting.
#define REQUIRE_AS(expression, text) \
  ((expression) ? static_cast<void>(0) : ::Tracelet::assertionFailed(text, __FILE__, __LINE__))
