#include "platform/tracelet/Require.h"

#include <unistd.h>

#include <cstdlib>
#include <exception>
#include <string>
#include <utility>

#include "platform/tracelet/LineWriter.h"
#include "platform/tracelet/Tracelet.h"

namespace Tracelet {

namespace {

std::function<void()> beforeAbort;

// Once: it may fail itself.
void actBeforeAbort() noexcept {
  const auto act = std::exchange(beforeAbort, nullptr);
  if (!act) return;
  try {
    act();
  } catch (const std::exception &error) {
    LineWriter(STDERR_FILENO).line(error.what());
  }
}

}  // namespace

void beforeAbortIs(std::function<void()> act) { beforeAbort = std::move(act); }

void assertionFailed(const char *expression, const char *file, int line) {
  const std::string text = "Assertion failed: " + std::string(expression);
  const std::string place = " (" + std::string(file) + ":" + std::to_string(line) + ")";
  Registry &registry = Registry::instance();
  if (!registry.disabled()) registry.write("Require", 0, text + place);
  LineWriter(STDERR_FILENO).line(text + place);
  actBeforeAbort();
  std::abort();
}

}  // namespace Tracelet
