/// Plans as the tests write them.
#pragma once

#include <gtest/gtest.h>

#include "plan/PlanFile.h"

namespace Planning {

/// Of a plan without errors.
inline Plan planFrom(const std::string &text) {
  LoadedPlan loaded = planFromText(text, "");
  for (const auto &error : loaded.findings.errors) ADD_FAILURE() << toText("plan", error);
  return std::move(loaded.plan);
}

}  // namespace Planning
