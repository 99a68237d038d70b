#include <stdexcept>

#include "daemon/file/ConfigFile.h"
#include "plan/ImportedPlan.h"

namespace Planning {

using Json = Draft::Json;
using Routing::Pim::Bsr::configurationFromText;
using Routing::Pim::Bsr::LoadedConfiguration;

namespace {

// Leaves out what makes no difference: whole members first, then what is in them.
void prune(Json &whole, Json &part, const Routing::Pim::Bsr::Configuration &meant) {
  std::vector<std::string> names;
  for (const auto &[name, value] : part.items()) names.push_back(name);
  for (const std::string &name : names) {
    Json kept = std::move(part[name]);
    part.erase(name);
    const LoadedConfiguration without = configurationFromText(whole.dump(), meant.family);
    if (without.good() && without.configuration == meant) continue;
    part[name] = std::move(kept);
    if (part[name].is_object()) prune(whole, part[name], meant);
  }
}

}  // namespace

Json withoutDefaults(const Json &configuration, Pax::AddressFamily family) {
  const LoadedConfiguration meant = configurationFromText(configuration.dump(), family);
  if (!meant.good()) throw std::invalid_argument(toText("show config", meant.findings.errors.front()));
  Json pruned = configuration;
  prune(pruned, pruned, meant.configuration);
  return pruned;
}

}  // namespace Planning
