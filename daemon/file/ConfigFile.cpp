#include "daemon/file/ConfigFile.h"

#include <stdexcept>

#include "daemon/file/Entries.h"
#include "daemon/file/Errors.h"
#include "daemon/file/FileOffers.h"
#include "daemon/file/JsonPlaces.h"
#include "daemon/file/MemberReader.h"
#include "daemon/file/Warnings.h"
#include "platform/linux/RegularFile.h"

namespace Routing::Pim::Bsr {

namespace {

constexpr size_t longestFile = 16 << 20;

// The defaults that depend on other members.
void compute(Configuration &configuration) {
  for (auto &[vrf, pim] : configuration.pim) {
    pim.neighborsMost = configuration.vrfConfig.try_emplace(vrf).first->second.limits.neighbors;
  }
  for (auto &[vrf, settings] : configuration.vrfConfig) {
    const uint32_t interval = largestInterval(configuration, vrf);
    if (settings.holdTime == 0) settings.holdTime = interval == 0 ? VrfSettings().holdTime : holdTimeOf(interval);
    if (settings.szTimeout == 0) settings.szTimeout = 10 * settings.holdTime;
  }
}

// What a look at the machine may find fault with, later and without the text.
void wantSystemPlaces(const Configuration &configuration, const Places &places, Findings &findings) {
  for (const auto &[vrf, pim] : configuration.pim) {
    findings.at[entryPath({"pim", vrf.text()})];
    for (size_t i = 0; i < pim.interfaces.size(); ++i) {
      findings.at[entryPath({"pim", vrf.text(), "interfaces", std::to_string(i)})];
    }
  }
  for (const auto &[vrf, settings] : configuration.vrfConfig) {
    if (!settings.crpFilterAcl.empty()) findings.at[entryPath({"vrfConfig", vrf.text(), "crpFilterAcl"})];
    for (const auto &[intfId, candidacy] : settings.bsrCandidateConfig) {
      findings.at[entryPath({"vrfConfig", vrf.text(), "bsrCandidateConfig", intfId.name()})];
    }
    for (const auto &[intfId, candidacy] : settings.rpCandidateConfig) {
      findings.at[entryPath({"vrfConfig", vrf.text(), "rpCandidateConfig", intfId.name()})];
    }
  }
  for (const auto &[intfId, settings] : configuration.intfConfig) {
    const std::string entry = borderEntry(configuration, intfId), written = places.of(entry);
    findings.places.placeIs(entry, written);
    findings.at[written];
  }
}

}  // namespace

LoadedConfiguration configurationFromText(std::string_view text, Pax::AddressFamily family) {
  LoadedConfiguration loaded;
  Configuration &configuration = loaded.configuration;
  configuration.family = family;
  const nlohmann::json root = parseJson(text, loaded.findings);
  if (!loaded.good() && !root.is_object()) return loaded;
  MemberReader::File file{loaded.findings, {}};
  MemberReader::read(root, "", "", {configuration, ""}, file, configuration);
  compute(configuration);
  findErrors(configuration, file.places, loaded.findings);
  if (loaded.good()) {
    findWarnings(configuration, file.places, loaded.findings);
    wantSystemPlaces(configuration, file.places, loaded.findings);
  }
  findPlaces(text, loaded.findings);
  return loaded;
}

LoadedConfiguration configurationFromFile(const std::string &file, Pax::AddressFamily family) {
  std::string text;
  try {
    text = Linux::readRegularFile(file, longestFile);
  } catch (const std::runtime_error &error) {
    LoadedConfiguration unread;
    unread.findings.error("", std::string("cannot be read: ") + error.what());
    return unread;
  }
  return configurationFromText(text, family);
}

}  // namespace Routing::Pim::Bsr
