/// Traces to standard error, and the sink that the environment asks for.
#pragma once

#include <unistd.h>

#include <memory>

#include "platform/linux/LineWriter.h"
#include "platform/tracelet/Sinks.h"

namespace Linux {

/// Stamped lines to standard error. Lines that nobody reads are dropped.
class StderrSink : public Tracelet::Sink {
 public:
  void line(std::string_view module, int level, std::string_view text) override;
  uint64_t dropped() const override { return writer_.dropped(); }

 private:
  LineWriter writer_{STDERR_FILENO};
};

/// Sets up tracing as the environment says and returns the sink in use, already registered; the caller owns
/// it. With TRACELET_DISABLE set (to anything) every statement is off and there is no sink. Otherwise lines go
/// to NAME.log in the directory TRACELETDIR, or to standard error if that cannot be written. With that unset they go to
/// standard error if they are `wanted` there; otherwise there is no sink.
std::unique_ptr<Tracelet::Sink> sinkFromEnvironment(std::string_view name, bool wanted);

}  // namespace Linux
