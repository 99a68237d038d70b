/// Whether all is well, on one screen.
#pragma once

#include "view/Process.h"
#include "view/Show.h"

namespace Routing::Pim::Bsr {

// A row has what it is about, its state ("ok", "warning", "problem"), and a sentence.

/// The process: its role, its configuration, the VRFs that do not run, each with what it waits for.
void summarize(const ProcessView &process, const std::string &vrf, Rows &rows);
/// One VRF that runs, or is stopped by a standby: one row when all is well, otherwise one for each thing that is not;
/// of many of a kind the first.
void summarize(const VrfView &view, Rows &rows);
/// What `rows`, of all of these, come to.
Rows conclusion(const Rows &rows);

}  // namespace Routing::Pim::Bsr
