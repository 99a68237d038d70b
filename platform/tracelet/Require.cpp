#include "platform/tracelet/Require.h"

#include <cstdio>
#include <cstdlib>
#include <string>

#include "platform/tracelet/Tracelet.h"

namespace Tracelet {

void assertionFailed(const char *expression, const char *file, int line) {
  const std::string text = "Assertion failed: " + std::string(expression);
  const std::string place = " (" + std::string(file) + ":" + std::to_string(line) + ")";
  Registry &registry = Registry::instance();
  if (!registry.disabled()) registry.write("Require", 0, text + place);
  std::fprintf(stderr, "%s%s\n", text.c_str(), place.c_str());
  std::fflush(stderr);
  std::abort();
}

}  // namespace Tracelet
