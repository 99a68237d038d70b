/// What pimbsrctl does until it is interrupted: follow a stream.
#pragma once

#include <functional>
#include <iosfwd>

#include "ctl/Options.h"

namespace Control {

/// Prints what the stream tells or, with --json, its lines; with --exec runs the command instead. Notices go to
/// `notices`. Returns when the output is closed or, with --exec, when it is asked to end. Throws std::runtime_error as
/// Stream does.
void monitor(const Options &options, std::ostream &out, std::ostream &notices);

/// Calls `redraw` when the noun has changed; each second where no stream tells of the noun. What `redraw` throws
/// once it has drawn, or where there was no answer, is a notice; an AgentError before that ends it. On a screen notices
/// are shown again after each redraw.
void watch(const Options &options, bool isScreen, const std::function<void()> &redraw, std::ostream &notices);

}  // namespace Control
