#include "platform/tracelet/Require.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <utility>

#include "platform/tracelet/Tracelet.h"

namespace Tracelet {

namespace {

std::function<void(const std::string &)> beforeAbort;

// Once: it may fail itself.
void actBeforeAbort(const std::string &text) noexcept {
  if (const auto act = std::exchange(beforeAbort, nullptr)) {
    try {
      act(text);
    } catch (const std::exception &) {
      return;  // what could not be done is lost
    }
  } else {
    std::fprintf(stderr, "%s\n", text.c_str());
    std::fflush(stderr);
  }
}

}  // namespace

void beforeAbortIs(std::function<void(const std::string &text)> act) { beforeAbort = std::move(act); }

void assertionFailed(const char *expression, const char *file, int line) {
  const std::string text =
      "Assertion failed: " + std::string(expression) + " (" + std::string(file) + ":" + std::to_string(line) + ")";
  Registry &registry = Registry::instance();
  if (!registry.disabled()) registry.write("Require", 0, text);
  actBeforeAbort(text);
  std::abort();
}

}  // namespace Tracelet
