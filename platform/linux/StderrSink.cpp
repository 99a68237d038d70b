#include "platform/linux/StderrSink.h"

#include <cstdlib>
#include <string>
#include <system_error>

namespace Linux {

void StderrSink::line(std::string_view module, int level, std::string_view text) {
  writer_.line(Tracelet::stampedLine(module, level, text));
}

std::unique_ptr<Tracelet::Sink> sinkFromEnvironment(std::string_view name, bool wanted) {
  Tracelet::Registry &registry = Tracelet::Registry::instance();
  if (std::getenv("TRACELET_DISABLE")) {
    registry.disable();
    return nullptr;
  }
  const char *directory = std::getenv("TRACELETDIR");
  if (!directory && !wanted) return nullptr;
  std::unique_ptr<Tracelet::Sink> sink = std::make_unique<StderrSink>();
  if (directory) {
    try {
      sink = std::make_unique<Tracelet::FileSink>(directory, name);
    } catch (const std::system_error &error) {
      sink->line("Tracelet", 1, std::string("Traces go to standard error: ") + error.what());
    }
  }
  registry.sinkAdd(*sink);
  return sink;
}

}  // namespace Linux
