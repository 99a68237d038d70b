#include <algorithm>
#include <filesystem>
#include <functional>

#include "daemon/file/ConfigFile.h"
#include "daemon/file/JsonText.h"
#include "plan/Resolver.h"
#include "plan/Template.h"

namespace Planning {

using nlohmann::json;
using Routing::Pim::Bsr::Finding;
using Routing::Pim::Bsr::LoadedConfiguration;
using Routing::Pim::Bsr::pathTo;

namespace {

json linkedInterfaces(const Vrf &vrf) {
  json names = json::array();
  for (const Interface &interface : vrf.interfaces) {
    if (interface.link) names.push_back(interface.name);
  }
  return names;
}

}  // namespace

void Resolver::resolveConfigurations() {
  const ConfigurationText none;
  for (size_t router = 0; router < plan_.routers.size(); ++router) {
    const std::string &name = plan_.routers[router].name, path = pathTo("/routers", name);
    if (refused_.has(path)) continue;
    const auto written = text_.routers.find(name);
    plan_.routers[router].configuration =
        configurationFrom(written == text_.routers.end() ? none : written->second.configuration, router, path);
  }
}

ConfigurationPtr Resolver::configurationFrom(const ConfigurationText &text, size_t router, const std::string &path) {
  if (!text.file.empty() + !text.configuration.is_null() + !text.templateName.empty() > 1) {
    error(path, "has more than one of file, configuration and template");
    return nullptr;
  }
  if (text.templateName.empty() && !text.values.is_null()) error(path + "/values", "are of no use without a template");
  // Whose places are in this file, and what is said of the others.
  std::string lead, at = path;
  LoadedConfiguration loaded;
  if (!text.file.empty()) {
    at += "/file";
    const std::string file = std::filesystem::path(folder_) / text.file;
    lead = text.file;
    loaded = Routing::Pim::Bsr::configurationFromFile(file, plan_.family);
  } else {
    json inlined = text.configuration.is_null() ? json::object() : text.configuration;
    if (!text.configuration.is_null()) at += "/configuration";
    if (!text.templateName.empty()) {
      at += "/template";
      lead = text.templateName;
      inlined = filledTemplate(text, router, path);
      if (inlined.is_null()) return nullptr;
    }
    loaded = Routing::Pim::Bsr::configurationFromText(withPim(std::move(inlined), router).dump(), plan_.family);
  }
  const auto placed = [&](const std::string &place) { return lead.empty() ? at + place : at; };
  const auto told = [&](const std::string &place, const std::string &message) {
    return lead.empty() ? message : toText(lead, Finding{place, message});
  };
  for (const Finding &each : loaded.findings.errors) error(placed(each.place), told(each.place, each.message));
  for (const Finding &each : loaded.findings.warnings) {
    findings_.warning(placed(each.place), told(each.place, each.message));
  }
  if (!loaded.good()) return nullptr;
  findStrangers(loaded.configuration, router, [&](const std::string &place, const std::string &message) {
    error(placed(place), told(place, message));
  });
  return std::make_shared<const Routing::Pim::Bsr::Configuration>(std::move(loaded.configuration));
}

// Null, with an error, when that cannot be done.
json Resolver::filledTemplate(const ConfigurationText &text, size_t router, const std::string &path) {
  const auto pattern = text_.templates.find(text.templateName);
  if (pattern == text_.templates.end()) {
    error(path + "/template", "there is no template " + text.templateName);
    return nullptr;
  }
  const Router &resolved = plan_.routers[router];
  const auto &loopback = resolved.vrfs.front().interfaces.front().addresses;
  json values = {
      {"name", resolved.name}, {"number", router + 1}, {"interfaces", linkedInterfaces(resolved.vrfs.front())}};
  if (!loopback.empty()) values["address"] = Kiv::toText(loopback.front().address);
  // What an event loads has its own values besides.
  const auto written = text_.routers.find(resolved.name);
  if (written != text_.routers.end() && written->second.configuration.values.is_object()) {
    values.update(written->second.configuration.values);
  }
  if (text.values.is_object()) values.update(text.values);
  try {
    return filled(pattern->second, values);
  } catch (const std::invalid_argument &fault) {
    error(path + "/template", text.templateName + ": " + fault.what());
    return nullptr;
  }
}

json Resolver::withPim(json configuration, size_t router) const {
  if (configuration.contains("pim")) return configuration;
  for (const Vrf &vrf : plan_.routers[router].vrfs) {
    configuration["pim"][vrf.name] = {{"interfaces", linkedInterfaces(vrf)}};
  }
  return configuration;
}

// What the configuration names and the router does not have.
void Resolver::findStrangers(const Routing::Pim::Bsr::Configuration &configuration, size_t router,
                             const Told &told) const {
  const Router &resolved = plan_.routers[router];
  const auto vrfNamed = [&](const std::string &name) {
    return std::find_if(resolved.vrfs.begin(), resolved.vrfs.end(), [&](const Vrf &vrf) { return vrf.name == name; });
  };
  const auto want = [&](const Pax::IntfId &intfId, const std::string &place) {
    const auto vrf = vrfNamed(std::string(intfId.vrf()));
    if (vrf == resolved.vrfs.end()) return;  // which is told
    const bool isThere = std::any_of(vrf->interfaces.begin(), vrf->interfaces.end(),
                                     [&](const Interface &each) { return each.name == intfId.name(); });
    if (!isThere) told(place, resolved.name + " has no interface " + Kiv::toText(intfId));
  };
  for (const auto &[vrf, pim] : configuration.pim) {
    const std::string place = pathTo("/pim", vrf.text());
    if (vrfNamed(vrf.text()) == resolved.vrfs.end()) told(place, resolved.name + " has no VRF " + vrf.text());
    for (size_t i = 0; i < pim.interfaces.size(); ++i) {
      want(pim.interfaces[i], pathTo(place + "/interfaces", std::to_string(i)));
    }
  }
  for (const auto &[vrf, settings] : configuration.vrfConfig) {
    const std::string place = pathTo("/vrfConfig", vrf.text());
    for (const auto &[intfId, candidacy] : settings.bsrCandidateConfig) {
      want(intfId, pathTo(place + "/bsrCandidateConfig", intfId.name()));
    }
    for (const auto &[intfId, candidacy] : settings.rpCandidateConfig) {
      want(intfId, pathTo(place + "/rpCandidateConfig", intfId.name()));
    }
  }
  for (const auto &[intfId, settings] : configuration.intfConfig)
    want(intfId, pathTo("/intfConfig", Kiv::toText(intfId)));
}

}  // namespace Planning
