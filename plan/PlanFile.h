/// The plan file: JSON, comments allowed, everything checked before anything is used. docs/plans.md describes it for
/// its users, plan/PlanText.h for the programs.
#pragma once

#include <string>
#include <string_view>

#include "daemon/file/Findings.h"
#include "plan/Plan.h"

namespace Planning {

/// The plan may be used only if there are no errors.
struct LoadedPlan {
  Plan plan;
  Routing::Pim::Bsr::Findings findings;
  bool good() const { return findings.errors.empty(); }
};

/// `folder` is where the files are that it names.
LoadedPlan planFromText(std::string_view text, const std::string &folder);
/// Of a regular file of up to 64 MiB. Never throws: a file that cannot be read is an error with an empty place.
LoadedPlan planFromFile(const std::string &file);

/// The JSON Schema (draft 7) of the file, as it is printed and kept in docs/.
std::string planSchemaText();

}  // namespace Planning
