/// What a running router has shown, as operators save it: "pimbsrctl --json show NOUN" of a few nouns, and
/// "ip -j address".
#pragma once

#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "plan/InputFault.h"
#include "plan/NaturalOrder.h"
#include "platform/pax/IpGenPrefix.h"

namespace Planning {

struct SavedNeighbor {
  Pax::IpGenAddr address;
  std::vector<Pax::IpGenAddr> addresses;  ///< its others on the link
};

struct SavedAddress {
  Pax::IpGenAddr address;
  std::optional<uint8_t> length;  ///< unset: nothing saved tells
  bool operator==(const SavedAddress &) const = default;
};

/// Of one family.
struct SavedInterface {
  bool hasPim = false;     ///< "show interfaces" has it
  Pax::IpGenAddr address;  ///< in Hellos; unset where PIM is off
  std::optional<uint32_t> mtu;
  std::vector<SavedNeighbor> neighbors;
  std::vector<SavedAddress> own;  ///< as "ip address" has them, or where that is not saved, as candidates use them

  void ownIs(const Pax::IpGenAddr &address, std::optional<uint8_t> length);
};

struct SavedBsr {
  Pax::IpGenPrefix zone;
  Pax::IpGenAddr address;
};

struct SavedVrf {
  std::map<std::string, SavedInterface, NaturalOrder> interfaces;
  std::vector<SavedBsr> bsrs;
};

struct DefaultFirst {
  bool operator()(const std::string &a, const std::string &b) const {
    return std::pair(a != "default", a) < std::pair(b != "default", b);
  }
};

struct SavedRouter {
  std::string name;
  std::map<std::string, SavedVrf, DefaultFirst> vrfs;
  nlohmann::ordered_json configuration;  ///< null where it is not saved
  std::vector<std::string> notes;        ///< what is odd about it, for people
};

/// A router that is called like the folder, or like the file without its suffix. A folder has any number of files; a
/// file has one answer, or several behind one another. Which answer it is its rows tell; "address-VRF.json" has the
/// addresses of a VRF that is a namespace. Throws InputFault.
SavedRouter savedRouterFrom(const std::string &path, Pax::AddressFamily family);

/// The family of what is saved there, by the first row that tells; unset if none does. Throws InputFault.
std::optional<Pax::AddressFamily> familyOf(const std::string &path);

}  // namespace Planning
