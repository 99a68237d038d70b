/// Configuration files that change at random.
#pragma once

#include <algorithm>
#include <array>
#include <random>

#include "tests/daemon/Box.h"

namespace Test {

/// A file for the router of a Box, always a valid one. Prefixes are few and ACLs fewer, so that sources meet.
class RandomFile {
 public:
  RandomFile(const Addresses &a, uint32_t seed) : a_(a), random_(seed) {
    for (const std::string &vrf : vrfs) {
      json["pim"][vrf]["interfaces"] = {"eth0"};
      json["vrfConfig"][vrf] = Json::object();
    }
    for (const std::string acl : {"A", "B", "C"}) json["acl"][acl] = Json::array();
  }

  void change() {
    const Json before = json;
    do {
      json = before;
      for (uint32_t i = 0; i < 1 + more_; ++i) edit();
    } while (json == before || !Bsr::configurationFromText(json.dump(), a_.af).good());
    more_ = upTo(3) * upTo(4);
  }
  uint32_t upTo(size_t count) { return static_cast<uint32_t>(random_() % count); }

  Json json;

 private:
  std::string pick(const Texts &texts) { return *std::next(texts.begin(), upTo(texts.size())); }
  std::string acl() { return pick({"A", "B", "C"}); }
  std::string group() {
    std::ostringstream out;
    out << std::array{a_.scope(1), a_.scope(2), a_.inScope(1, 1), a_.group(1), a_.global()}[upTo(5)];
    return out.str();
  }

  void edit() {
    const std::string vrf = pick({vrfs.begin(), vrfs.end()}), intf = pick({"a", "b", "c"});
    Json &settings = json["vrfConfig"][vrf];
    switch (upTo(12)) {
      case 0: return exchange('"' + acl() + '"', '"' + acl() + '"');
      case 1: return exchange("\"a\":", "\"b\":");
      case 2: return listed(settings["crpFilterAcl"], acl());
      case 3: return listed(json["intfConfig"][vrf + "/eth0"]["bsrBorderGrp"], group());
      case 4: return listed(json["intfConfig"][vrf + "/eth0"]["bsrBorderAcl"], acl());
      case 5: settings["szTimeout"] = 1300 + 10 * upTo(3); [[fallthrough]];
      case 6: settings["holdTime"] = 130 + upTo(3), settings["limits"]["rps"] = upTo(3); return;
      case 7: return rules(json["acl"][acl()]);
      case 8:
      case 9: return candidate(settings, "bsrCandidateConfig", intf, "group");
      default: return candidate(settings, "rpCandidateConfig", intf, "groupRange");
    }
  }
  void exchange(const std::string &one, const std::string &other) {
    std::string text = json.dump();
    const auto replace = [&](const std::string &from, const std::string &to) {
      for (size_t at = 0; (at = text.find(from, at)) != text.npos; at += to.size()) text.replace(at, from.size(), to);
    };
    replace(one, "#"), replace(other, one), replace("#", other);
    json = Json::parse(text);
  }
  void listed(Json &list, const std::string &entry) {
    if (!list.is_array()) list = Json::array();
    const auto present = std::find(list.begin(), list.end(), entry);
    present == list.end() ? list.push_back(entry) : void(list.erase(present));
  }
  void rules(Json &list) {
    if (!list.empty() && upTo(2)) return void(list.erase(upTo(list.size())));
    std::ostringstream host;
    host << Pax::IpGenPrefix(a_.host(1), 8);
    list.insert(list.begin(), {{upTo(5) ? "permit" : "deny", upTo(4) ? group() : upTo(3) ? host.str() : "any"}});
  }
  /// An entry comes, goes, changes, or moves to another name or from a prefix to an ACL.
  void candidate(Json &settings, const std::string &role, const std::string &intf, const std::string &range) {
    Json &all = settings[role], &own = all[intf];
    const bool isRp = role[0] == 'r';
    const std::string kind = upTo(2) ? range : "acl", key = kind == "acl" ? acl() : group();
    if (isRp && !upTo(4)) own["mode"] = upTo(2) ? "bidir" : "sparsemode", own["advInterval"] = 20 + upTo(40);
    Json &entry = own[kind][key];
    if (entry.is_null() || !upTo(3)) {
      entry = {{"priority", 2 + upTo(3)}};
      if (!isRp) entry["interval"] = 20 + upTo(3);
      const std::string to = acl();
      if (kind == range && !upTo(3))
        json["acl"][to] = {{{"permit", key}}}, own["acl"][to] = entry, own[kind].erase(key);
    } else {
      own[kind].erase(key);
    }
    if (own[range].empty() && own["acl"].empty()) all.erase(intf);
  }

  const Addresses a_;
  std::mt19937 random_;
  uint32_t more_ = 0;
};

}  // namespace Test
