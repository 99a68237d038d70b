#include "daemon/ConfigFile.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>

#include "daemon/JsonText.h"
#include "daemon/ObjectReader.h"

namespace Routing::Pim::Bsr {

using nlohmann::json;

namespace {

constexpr uint64_t holdTimeMost = 65535;
constexpr uint64_t szTimeoutMost = 10 * holdTimeMost;

bool isBlank(char c) { return std::strchr(" \t\n\v\f\r", c) != nullptr; }

// The kernel's own rule.
std::string wrongWithInterface(const std::string &name) {
  const bool good = !name.empty() && name.size() <= 15 && name != "." && name != ".." &&
                    std::none_of(name.begin(), name.end(), [](char c) { return c == '/' || c == ':' || isBlank(c); });
  return good ? "" : "is no interface name (1 to 15 bytes, without blanks, '/' and ':')";
}

class Loader {
 public:
  explicit Loader(LoadedConfiguration &loaded) : loaded_(loaded), findings_(loaded.findings) {}

  void load(const json &root) {
    ObjectReader file(root, "", findings_);
    file.each("pim", [this](const std::string &name, const json &value, const std::string &path) {
      readPim(name, value, path);
    });
    file.each("vrfConfig", [this](const std::string &name, const json &value, const std::string &path) {
      readVrfConfig(name, value, path);
    });
    file.noOthers();
  }

 private:
  /// The text as its type; an error with the type's own message where that does not allow it.
  template <class Type>
  std::optional<Type> checked(const std::string &text, const std::string &path) {
    try {
      return Type(text);
    } catch (const Kiv::RangeError &error) {
      findings_.error(path, error.what());
      return std::nullopt;
    }
  }

  std::optional<L3::VrfName> vrfName(const std::string &name, const std::string &path) {
    if (name.empty() || std::any_of(name.begin(), name.end(), [](char c) { return c == '/' || isBlank(c); })) {
      findings_.error(path, "is no VRF name (not empty, without blanks and '/')");
      return std::nullopt;
    }
    return checked<L3::VrfName>(name, path);
  }

  void readPim(const std::string &name, const json &value, const std::string &path) {
    const auto vrf = vrfName(name, path);
    ObjectReader members(value, path, findings_);
    PimVrf pim;
    if (const auto given = readNamespace(name, members)) pim.networkNamespace = *given;
    for (const std::string &intf : members.texts("interfaces", wrongWithInterface)) {
      pim.interfaces.emplace_back(name, intf);
    }
    pim.speak = members.word("hello", {"speak", "listen"}).value_or("speak") == "speak";
    pim.drPriority = static_cast<uint32_t>(members.number("drPriority", 0, UINT32_MAX).value_or(pim.drPriority));
    members.noOthers();
    if (!vrf) return;
    checkNamespace(pim, path);
    loaded_.configuration.pim.emplace(*vrf, std::move(pim));
    loaded_.configuration.vrfConfig.emplace(*vrf, VrfSettings());
  }

  std::optional<Pax::NamespaceName> readNamespace(const std::string &vrf, ObjectReader &members) {
    const auto given = members.text("namespace");
    if (vrf == L3::defaultVrf) {
      if (given) {
        findings_.error(members.path("namespace"),
                        "the VRF default is the namespace that the program starts in and names none");
      }
      return std::nullopt;
    }
    if (given && (given->empty() || *given == "." || *given == "..")) {
      findings_.error(members.path("namespace"), shown(*given) + " is no namespace name");
      return std::nullopt;
    }
    return checked<Pax::NamespaceName>(given.value_or(vrf), members.path("namespace"));
  }

  void checkNamespace(const PimVrf &pim, const std::string &path) {
    if (pim.networkNamespace.empty()) return;
    for (const auto &[vrf, other] : loaded_.configuration.pim) {
      if (other.networkNamespace != pim.networkNamespace) continue;
      findings_.error(path, "namespace " + pim.networkNamespace.text() + " is that of VRF " + vrf.text() + " already");
    }
  }

  void readVrfConfig(const std::string &name, const json &value, const std::string &path) {
    ObjectReader members(value, path, findings_);
    VrfSettings settings;
    const auto holdTime = members.number("holdTime", 1, holdTimeMost);
    settings.holdTime = static_cast<uint32_t>(holdTime.value_or(settings.holdTime));
    const uint32_t szLeast = 10 * settings.holdTime;
    const auto szTimeout = members.number("szTimeout", 1, szTimeoutMost);
    settings.szTimeout = static_cast<uint32_t>(szTimeout.value_or(szLeast));
    members.noOthers();
    if (settings.szTimeout < szLeast) {
      findings_.warning(
          members.path("szTimeout"),
          std::to_string(settings.szTimeout) + " is under 10 x holdTime and counts as " + std::to_string(szLeast));
    }
    const auto vrf = vrfName(name, path);
    if (!vrf) return;
    const auto present = loaded_.configuration.vrfConfig.find(*vrf);
    if (present == loaded_.configuration.vrfConfig.end()) {
      findings_.error(path, "there is no VRF " + name + " in pim");
    } else {
      present->second = settings;
    }
  }

  LoadedConfiguration &loaded_;
  Findings &findings_;
};

}  // namespace

LoadedConfiguration configurationFromText(std::string_view text) {
  LoadedConfiguration loaded;
  const json root = parseJson(text, loaded.findings);
  if (loaded.good() || root.is_object()) Loader(loaded).load(root);
  return loaded;
}

LoadedConfiguration configurationFromFile(const std::string &file) {
  LoadedConfiguration loaded;
  errno = 0;
  std::ifstream in(file, std::ios::binary);
  std::ostringstream text;
  if (in.peek() != std::ifstream::traits_type::eof()) text << in.rdbuf();
  if (!in.is_open() || in.bad()) {
    loaded.findings.error("", std::string("cannot be read: ") + std::strerror(errno ? errno : EIO));
    return loaded;
  }
  return configurationFromText(text.str());
}

}  // namespace Routing::Pim::Bsr
