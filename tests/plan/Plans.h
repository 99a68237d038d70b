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

/// "PATH: message" each.
inline std::vector<std::string> textsOf(const std::vector<Routing::Pim::Bsr::Finding> &findings) {
  std::vector<std::string> texts;
  texts.reserve(findings.size());
  for (const auto &each : findings) texts.push_back(each.place + ": " + each.message);
  return texts;
}

/// A row of routers in VRF default and another in VRF blue; in both only r1 is a candidate of the same zone, and link
/// r1-r2 of the first is cut at 200 s. r2 has in VRF default the address that the candidate has in the other.
constexpr const char *twoVrfs = R"({"templates": {"candidate": {"vrfConfig": {
    "default": {"bsrCandidateConfig": {"lo": {"group": {"224.0.0.0/4": {}}}},
                "rpCandidateConfig": {"lo": {"groupRange": {"224.0.0.0/4": {}}}}},
    "blue": {"bsrCandidateConfig": {"lo": {"group": {"224.0.0.0/4": {}}}},
             "rpCandidateConfig": {"lo": {"groupRange": {"224.0.0.0/4": {}}}}}}}},
  "routers": {"r1": {"template": "candidate", "vrfs": {"blue": {"interfaces": {"lo": {"addresses": ["10.9.9.9"]}}}}},
              "r2": {"interfaces": {"lo": {"addresses": ["10.9.9.9"]}}}, "r3": {}},
  "links": [{"between": ["r1", "r2"]}, {"between": ["r2", "r3"]},
            {"between": ["r1/blue", "r2/blue"], "name": "blue"}],
  "events": [{"at": 200, "cut": "r1-r2"}], "duration": 600})";

}  // namespace Planning
