#include <algorithm>
#include <filesystem>

#include "daemon/EventLines.h"
#include "plan/CommandLine.h"
#include "plan/ImportedPlan.h"
#include "plan/PlanFile.h"
#include "platform/kiv/Value.h"

namespace Planning {

namespace fs = std::filesystem;

namespace {

// A folder of folders has a router in each of them.
std::vector<std::string> routersIn(const std::vector<std::string> &paths) {
  std::vector<std::string> routers;
  for (const std::string &path : paths) {
    if (!fs::exists(path)) throw UsageError("there is no " + path);
    std::vector<std::string> folders;
    if (fs::is_directory(path)) {
      for (const auto &entry : fs::directory_iterator(path)) {
        if (entry.is_directory()) folders.push_back(entry.path());
      }
    }
    if (folders.empty()) folders.push_back(path);
    routers.insert(routers.end(), folders.begin(), folders.end());
  }
  return routers;
}

Pax::AddressFamily familyOfAll(const std::vector<std::string> &paths) {
  for (const std::string &path : paths) {
    if (const auto family = familyOf(path)) return *family;
  }
  throw InputFault("no router has shown an address: of which family are they?");
}

ImportedPlan planFrom(const std::vector<std::string> &paths) {
  const Pax::AddressFamily family = familyOfAll(paths);
  std::vector<SavedRouter> routers;
  routers.reserve(paths.size());
  for (const std::string &path : paths) routers.push_back(savedRouterFrom(path, family));
  std::sort(routers.begin(), routers.end(),
            [](const SavedRouter &a, const SavedRouter &b) { return NaturalOrder()(a.name, b.name); });
  const auto same = std::adjacent_find(routers.begin(), routers.end(),
                                       [](const SavedRouter &a, const SavedRouter &b) { return a.name == b.name; });
  if (same != routers.end()) throw InputFault("two routers are called " + same->name);
  return importedPlanOf(routers, family);
}

}  // namespace

int importPlan(const Arguments &arguments, std::ostream &out, std::ostream &err) {
  CommandLine line(
      "Usage: pimbsr-sim import FOLDER... | FILE...\n\n"
      "Writes the plan of a running network. Of each router there is a folder with its name, in which files have\n"
      "what it has shown, or one file NAME.json with all of that; a folder may have such folders in it, too:\n\n"
      "  pimbsrctl --json show interfaces      and neighbors, config; candidate-bsr, candidate-rp, which have the\n"
      "                                        addresses of candidates; bsr, for what is expected\n"
      "  ip -j address                         for addresses with their prefix lengths; of a VRF that is a\n"
      "                                        namespace in the file address-VRF.json\n");
  line.needsSome("from", "which folders or files have the saved answers?");
  const auto given = line.valuesOf(arguments, out);
  if (!given) return done;
  const ImportedPlan plan = planFrom(routersIn((*given)["from"].as<std::vector<std::string>>()));
  for (const std::string &note : plan.notes) err << "note: " << Routing::Pim::Bsr::EventLines::printable(note) << '\n';
  const std::string text = toText(plan.draft);
  out << text;
  const LoadedPlan loaded = planFromText(text, "");
  tellFindings("error: ", loaded.findings.errors, "the plan", err);
  return loaded.good() ? done : refused;
}

}  // namespace Planning
