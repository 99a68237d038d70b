#include "daemon/control/Streams.h"

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>
#include <sstream>

namespace Control {

namespace {

constexpr std::array vrfKey{"vrf"};
constexpr std::array zoneKey{"vrf", "zone"};
constexpr std::array candidateBsrKey{"vrf", "zone", "interface"};
constexpr std::array candidateRpKey{"vrf", "interface", "rp"};
constexpr std::array rpSetKey{"vrf", "zone", "group", "rp"};
constexpr std::array rpKey{"vrf", "group", "mode"};
constexpr std::array prefixKey{"vrf", "prefix"};
constexpr std::array aclKey{"vrf", "acl"};
constexpr std::array interfaceKey{"vrf", "interface"};
constexpr std::array neighborKey{"vrf", "interface", "address"};

constexpr std::array allFollowed{
    FollowedNoun{"agent", {}},
    FollowedNoun{"vrf", vrfKey},
    FollowedNoun{"bsr", zoneKey},
    FollowedNoun{"candidate-bsr", candidateBsrKey},
    FollowedNoun{"candidate-rp", candidateRpKey},
    FollowedNoun{"rp-set", rpSetKey},
    FollowedNoun{"rp", rpKey},
    FollowedNoun{"border", prefixKey},
    FollowedNoun{"acl", aclKey},
    FollowedNoun{"filter", prefixKey},
    FollowedNoun{"interfaces", interfaceKey},
    FollowedNoun{"neighbors", neighborKey},
};

constexpr std::array<std::string_view, 9> changesByItself{
    "upTime",    "expires", "nextAdvertisement", "nextBsm",     "lastBsmAt",
    "announced", "refused", "droppedTraces",     "longestTurn",
};

}  // namespace

const FollowedNoun *followedOf(std::string_view noun) {
  const auto found = std::find_if(allFollowed.begin(), allFollowed.end(),
                                  [&](const FollowedNoun &followed) { return followed.name == noun; });
  return found == allFollowed.end() ? nullptr : &*found;
}

std::string followedNames() {
  std::string names(eventsNoun);
  for (const FollowedNoun &followed : allFollowed) names.append(", ").append(followed.name);
  return names;
}

std::string keyOf(std::span<const char *const> key, const Rows &row) {
  Rows values = Rows::array();
  for (const char *column : key) values.push_back(row.value(column, Rows()));
  return rowText(values);
}

Rows lastingOf(const Rows &row) {
  Rows lasting = row.is_object() ? Rows::object() : Rows::array();
  for (const auto &[name, value] : row.items()) {
    if (row.is_object() && std::find(changesByItself.begin(), changesByItself.end(), name) != changesByItself.end()) {
      continue;
    }
    Rows kept = value.is_structured() ? lastingOf(value) : value;
    row.is_object() ? void(lasting[name] = std::move(kept)) : lasting.push_back(std::move(kept));
  }
  return lasting;
}

std::vector<std::string> wordsOf(std::string_view text) {
  std::istringstream in{std::string(text)};
  std::vector<std::string> words;
  for (std::string word; in >> word;) words.push_back(word);
  return words;
}

}  // namespace Control
