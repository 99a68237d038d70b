#include "plan/SavedRouter.h"

#include <algorithm>
#include <filesystem>
#include <functional>
#include <sstream>

#include "daemon/file/JsonText.h"
#include "platform/kiv/Value.h"
#include "platform/linux/RegularFile.h"
#include "platform/pax/IntfId.h"

namespace Planning {

namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;
using Pax::AddressFamily;
using Pax::IpGenAddr;

namespace {

constexpr size_t longestFile = 64 << 20;

using Taken = std::function<void(const Json &row, const std::string &file)>;

// In the words that other files have for it; answers before it are blanks, so that its lines and columns are the
// file's.
std::string syntaxFaultIn(std::string text, size_t begin) {
  std::replace_if(
      text.begin(), text.begin() + static_cast<std::ptrdiff_t>(begin), [](char each) { return each != '\n'; }, ' ');
  Routing::Pim::Bsr::Findings findings;
  Routing::Pim::Bsr::parseJson(text, findings);
  if (findings.errors.empty()) return "has a comment, which no saved answer has";
  const auto &fault = findings.errors.back();
  return (fault.place.empty() ? "" : fault.place + ": ") + fault.message;
}

Json nextAnswer(std::istringstream &text) {
  const auto begin = static_cast<size_t>(text.tellg());
  try {
    Json answer;
    text >> answer;
    return answer;
  } catch (const Json::parse_error &) {
    throw InputFault(syntaxFaultIn(text.str(), begin));
  }
}

// A member of a row is not what it should be, or is not there: what the library says of that, without its own number.
std::string rowFaultFrom(const Json::exception &fault) {
  const std::string_view said = fault.what();
  const size_t end = said.find("] ");
  return "has a row that is not as it should be: " + std::string(end == said.npos ? said : said.substr(end + 2));
}

// One answer after the other, row by row.
void takeFile(const std::string &file, const Taken &take) {
  try {
    std::istringstream text(Linux::readRegularFile(file, longestFile));
    while (text >> std::ws && !text.eof()) {
      const Json answer = nextAnswer(text);
      if (!answer.is_array()) throw InputFault("has something that is no list of rows");
      for (const Json &row : answer) {
        if (!row.is_object()) throw InputFault("has something that is no row");
        take(row, file);
      }
    }
  } catch (const Json::exception &fault) {
    throw InputFault(file + ": " + rowFaultFrom(fault));
  } catch (const std::exception &fault) {
    throw InputFault(file + ": " + fault.what());
  }
}

void takeAll(const std::string &path, const Taken &take) {
  if (!fs::is_directory(path)) return takeFile(path, take);
  std::vector<std::string> files;
  for (const auto &entry : fs::directory_iterator(path)) {
    if (entry.is_regular_file()) files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  if (files.empty()) throw InputFault(path + ": has no files");
  for (const std::string &file : files) takeFile(file, take);
}

enum class Answer { interface, neighbor, candidateBsr, candidateRp, bsr, config, address, other };

Answer answerOf(const Json &row) {
  const auto has = [&](const char *name) { return row.contains(name); };
  if (has("ifname")) return Answer::address;
  if (has("pim")) return Answer::config;
  if (has("generationId")) return Answer::neighbor;
  if (has("isDr")) return Answer::interface;
  if (has("zone") && has("elected")) return has("interface") ? Answer::candidateBsr : Answer::bsr;
  if (has("rp") && has("interface")) return Answer::candidateRp;
  return Answer::other;
}

// Unset for null.
IpGenAddr addressIn(const Json &row, const char *name) {
  const Json &value = row.at(name);
  return value.is_null() ? IpGenAddr() : IpGenAddr::fromText(value.get<std::string>());
}

class Reader {
 public:
  Reader(SavedRouter &router, AddressFamily family) : router_(router), family_(family) {}

  void take(const Json &row, const std::string &file) {
    switch (answerOf(row)) {
      case Answer::interface: takeInterface(row); break;
      case Answer::neighbor: takeNeighbor(row); break;
      case Answer::candidateBsr: takeCandidate(row, addressIn(row, "address")); break;
      case Answer::candidateRp: takeCandidate(row, addressIn(row, "rp")); break;
      case Answer::bsr: takeBsr(row); break;
      case Answer::config: router_.configuration = row; break;
      case Answer::address: addresses_.push_back({row, vrfOfFile(file)}); break;
      case Answer::other: other_ = file; break;
    }
  }
  /// Once all is taken: which VRF an address is in, the configuration tells.
  void finish() {
    for (const auto &[row, vrf] : addresses_) takeAddresses(row, vrf);
    const bool hasInterfaces = std::any_of(router_.vrfs.begin(), router_.vrfs.end(), [](const auto &vrf) {
      return std::any_of(vrf.second.interfaces.begin(), vrf.second.interfaces.end(),
                         [](const auto &interface) { return interface.second.hasPim; });
    });
    if (!hasInterfaces) throw InputFault(router_.name + ": \"show interfaces\" is not saved, or has no rows");
    if (router_.configuration.is_null()) {
      router_.notes.emplace_back("\"show config\" is not saved: taken as no candidate, with PIM on at all its links");
    }
    if (!other_.empty()) router_.notes.push_back(other_ + " has rows that are of no use here");
  }

 private:
  SavedInterface &interfaceOf(const Json &row) {
    const auto intfId = Pax::IntfId::fromText(row.at("interface").get<std::string>());
    return router_.vrfs[row.at("vrf").get<std::string>()].interfaces[std::string(intfId.name())];
  }
  void refuseOther(const IpGenAddr &address) const {
    if (address.isZero() || address.af() == family_) return;
    throw InputFault(Kiv::toText(address) + " is not of " + Kiv::toText(family_));
  }
  void takeInterface(const Json &row) {
    SavedInterface &interface = interfaceOf(row);
    interface.hasPim = true;
    interface.address = addressIn(row, "address");
    refuseOther(interface.address);
    // An agent on IPv6 counts with half of what fits.
    if (!row.at("mtu").is_null()) {
      interface.mtu = row.at("mtu").get<uint32_t>() * (family_ == AddressFamily::ipv6 ? 2 : 1);
    }
  }
  void takeNeighbor(const Json &row) {
    SavedNeighbor neighbor{addressIn(row, "address"), {}};
    refuseOther(neighbor.address);
    for (const Json &text : row.at("addresses")) {
      neighbor.addresses.push_back(IpGenAddr::fromText(text.get<std::string>()));
    }
    interfaceOf(row).neighbors.push_back(std::move(neighbor));
  }
  void takeCandidate(const Json &row, const IpGenAddr &address) {
    refuseOther(address);
    if (!row.at("interface").is_null() && !address.isZero()) interfaceOf(row).ownIs(address, std::nullopt);
  }
  void takeBsr(const Json &row) {
    const IpGenAddr address = addressIn(row, "address");
    refuseOther(address);
    if (address.isZero()) return;
    router_.vrfs[row.at("vrf").get<std::string>()].bsrs.push_back(
        {Pax::IpGenPrefix::fromText(row.at("zone").get<std::string>()), address});
  }
  static std::string vrfOfFile(const std::string &file) {
    const std::string stem = fs::path(file).stem();
    return stem.starts_with("address-") ? stem.substr(8) : "default";
  }
  // The VRF of a device, or empty.
  std::string vrfOfDevice(const std::string &device) const {
    if (!router_.configuration.is_object()) return "";
    for (const auto &[vrf, pim] : router_.configuration.at("pim").items()) {
      if (pim.value("device", pim.contains("namespace") ? "" : vrf) == device) return vrf;
    }
    return "";
  }
  void takeAddresses(const Json &row, std::string vrf) {
    const std::string name = row.at("ifname");
    if (row.contains("master") && vrf == "default") {
      const std::string ofDevice = vrfOfDevice(row.at("master"));
      if (!ofDevice.empty()) vrf = ofDevice;
    }
    if (!router_.vrfs.contains(vrf)) return;
    auto &interfaces = router_.vrfs[vrf].interfaces;
    if (name != "lo" && !interfaces.contains(name)) return;
    SavedInterface &interface = interfaces[name];
    if (row.contains("mtu") && name != "lo") interface.mtu = row.at("mtu").get<uint32_t>();
    for (const Json &info : row.at("addr_info")) {
      if (!info.contains("local")) continue;
      const auto address = IpGenAddr::fromText(info.at("local").get<std::string>());
      if (address.af() == family_ && !address.isLoopback())
        interface.ownIs(address, info.at("prefixlen").get<uint8_t>());
    }
  }

  SavedRouter &router_;
  const AddressFamily family_;
  struct AddressRow {
    Json row;
    std::string vrf;
  };
  std::vector<AddressRow> addresses_;
  std::string other_;
};

}  // namespace

void SavedInterface::ownIs(const IpGenAddr &address, std::optional<uint8_t> length) {
  const auto known =
      std::find_if(own.begin(), own.end(), [&](const SavedAddress &each) { return each.address == address; });
  if (known == own.end()) {
    own.push_back({address, length});
  } else if (length) {
    known->length = length;
  }
}

SavedRouter savedRouterFrom(const std::string &path, AddressFamily family) {
  SavedRouter router;
  const fs::path plain = fs::path(path).has_filename() ? fs::path(path) : fs::path(path).parent_path();
  router.name = fs::is_directory(plain) ? plain.filename() : plain.stem();
  Reader reader(router, family);
  takeAll(plain, [&](const Json &row, const std::string &file) { reader.take(row, file); });
  try {
    reader.finish();
  } catch (const Json::exception &fault) {
    throw InputFault(path + ": " + rowFaultFrom(fault));
  }
  return router;
}

std::optional<AddressFamily> familyOf(const std::string &path) {
  std::optional<AddressFamily> family;
  takeAll(path, [&](const Json &row, const std::string &) {
    const Answer answer = answerOf(row);
    if (family || (answer != Answer::interface && answer != Answer::neighbor)) return;
    const IpGenAddr address = addressIn(row, "address");
    if (!address.isZero()) family = address.af();
  });
  return family;
}

}  // namespace Planning
