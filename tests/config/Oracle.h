/// A VRF's configuration as lines of text, and what status must be, worked out from them alone.
#pragma once

#include <iterator>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "platform/acl/AclToPrefix.h"
#include "tests/support/EntityLines.h"

namespace Test {

/// Configuration (I an interface, P a prefix, A an ACL, C "PRIORITY HASHMASKLEN INTERVAL"):
///   address I = ADDRESS or "-"   bsr I   bsr I group P = C   bsr I acl A = C
///   rp I = MODE INTERVAL   rp I range P   rp I rangeOptions P = PRIORITY   rp I acl A   rp I aclOptions A = PRIORITY
///   border I   border I group P   border I acl A   filter A   times = HOLDTIME SZTIMEOUT   acl A   acl A rule N = +P
///   or -P
using Words = std::vector<std::string>;

inline Words words(const std::string &text) {
  std::istringstream in(text);
  return {std::istream_iterator<std::string>(in), {}};
}
template <class... Parts>
std::string path(const Parts &...parts) {
  std::ostringstream out;
  ((out << parts << ' '), ...);
  return out.str().substr(0, out.str().size() - 1);
}
/// The lines under `at`, without it.
inline Lines under(const Lines &lines, const std::string &at) {
  Lines found;
  for (auto line = lines.lower_bound(at + ' '); line != lines.end() && line->first.starts_with(at + ' '); ++line)
    found[line->first.substr(at.size() + 1)] = line->second;
  return found;
}
inline const std::string nothing = "(nothing)";
inline std::string value(const Lines &lines, const std::string &at) {
  const auto found = lines.find(at);
  return found == lines.end() ? nothing : found->second;
}
/// The values of a candidate-BSR entry that are not set: of the priority, of the hash mask length.
inline Words unset(const std::string &values) {
  const Words all = words(values);
  Words result;
  if (all[0] == "256") result.push_back("priority");
  if (all[1] == "128") result.push_back("hashMaskLen");
  return result;
}
inline Acl::IpRule rule(const std::string &text) {
  return {text[0] == '+' ? Acl::Action::permit : Acl::Action::deny, {Pax::IpGenPrefix::fromText(text.substr(1))}};
}

/// What each ACL permits; nothing for one that does not exist.
struct Permitted {
  std::map<std::string, std::set<std::string>> group, unicast;

  Permitted(const Lines &config, Pax::AddressFamily af) {
    for (const std::string acl : {"A", "B", "C", "D"}) {
      AclPrefix::AclToPrefix converter(af);
      for (const auto &[number, text] : under(config, "acl " + acl + " rule")) converter.handleRule(rule(text));
      for (const Pax::IpGenPrefix &prefix : converter.PermittedPrefixes())
        (Pax::allGroups(af).covers(prefix) ? group : unicast)[acl].insert(path(prefix));
    }
  }
};

inline const Words interfaces{"eth0", "eth1", "lo"};

/// Whether no two interfaces offer one zone, or name one ACL for zones.
inline bool isValid(const Lines &config, Pax::AddressFamily af) {
  Permitted permitted(config, af);
  Lines owner;
  bool valid = true;
  for (const std::string &intf : interfaces) {
    const auto offer = [&](const std::string &zone) { valid &= owner.emplace(zone, intf).first->second == intf; };
    for (const auto &[prefix, values] : under(config, "bsr " + intf + " group")) offer(prefix);
    for (const auto &[acl, values] : under(config, "bsr " + intf + " acl")) {
      offer(acl);
      for (const std::string &prefix : permitted.group[acl]) offer(prefix);
    }
  }
  return valid;
}

/// Works out status, counts and ACL users. Of other states it takes only what may depend on them: whether
/// an entry without address is in force, and who of several has a shared address. `before` decides these;
/// after changes of which the order is open it is the same state as `now`.
class Oracle {
 public:
  /// The values of which one must stand at each place; `nothing` is among them where none may. A place
  /// that is not listed must be empty.
  std::map<std::string, std::set<std::string>> want;

  Oracle(const Lines &config, Pax::AddressFamily af, const Lines &before, const Lines &now)
      : config_(config), permitted_(config, af), before_(before), now_(now) {
    for (const std::string &intf : interfaces) {
      candidateBsr(intf);
      border(intf);
    }
    candidateRps();
    filter(path(Pax::IpGenPrefix(Pax::allGroups(af).address(), 0)));
    for (const std::string &acl : named_) aclObject(acl);
    want["af"] = {path(af)};
    want["bsTimeout"] = {words(value(config, "times"))[0]};
  }

 private:
  bool has(const std::string &at) const { return config_.contains(at); }
  std::string address(const std::string &intf) const {
    const std::string address = value(config_, "address " + intf);
    return address == "-" ? nothing : address;
  }
  void count(const std::string &at) { want[at] = {std::to_string(++count_[at])}; }

  /// Without an address an entry is in force only if it was before.
  bool isInForce(const std::string &owner, const std::string &intf, const std::string &values) {
    const bool is = unset(values).empty() && (address(intf) != nothing || value(before_, owner) == intf);
    if (is) want[owner] = {intf};
    return is;
  }
  void candidateBsr(const std::string &intf) {
    for (const auto &[prefix, values] : under(config_, "bsr " + intf + " group"))
      if (isInForce("zoneGroup " + prefix, intf, values)) zone(intf, prefix, values);
    for (const auto &[acl, values] : under(config_, "bsr " + intf + " acl")) {
      named_.insert(acl);
      if (!isInForce("zoneAcl " + acl, intf, values)) continue;
      want[path("acl", acl, "cbsrIntf", intf)] = {""};
      for (const std::string &prefix : permitted_.group[acl]) zone(intf, prefix, values);
    }
  }
  void zone(const std::string &intf, const std::string &prefix, const std::string &values) {
    count(path("cbsrCount", intf, prefix));
    if (address(intf) == nothing) return;
    const std::string at = "cbsr " + prefix;
    const Words value = words(values);
    for (const auto &[name, text] : Lines{{"", ""},
                                          {" address", address(intf)},
                                          {" intfId", intf},
                                          {" priority", value[0]},
                                          {" hashMaskLen", value[1]},
                                          {" bsPeriod", value[2]},
                                          {" elected", "false"},
                                          {" state", "unset"}})
      want[at + name].insert(text);
  }

  std::multiset<std::string> served(const std::string &rp) {
    std::multiset<std::string> prefixes;
    for (const auto &[prefix, in] : under(config_, rp + " range")) prefixes.insert(prefix);
    for (const auto &[acl, in] : under(config_, rp + " acl"))
      prefixes.insert(permitted_.group[acl].begin(), permitted_.group[acl].end());
    return prefixes;
  }
  void candidateRps() {
    // Whoever has an address keeps it while it serves; who comes first of the others is left open.
    Lines owner;
    for (const Lines *state : {&before_, &now_})
      for (const std::string &intf : interfaces)
        if (!served("rp " + intf).empty() && value(*state, path("crp", address(intf), "intfId")) == intf)
          owner.emplace(address(intf), intf);
    for (const std::string &intf : interfaces) {
      const std::string rp = "rp " + intf;
      if (address(intf) != nothing && !served(rp).empty()) owner.emplace(address(intf), intf);
      for (const auto &[acl, in] : under(config_, rp + " acl")) {
        named_.insert(acl);
        if (address(intf) == nothing) continue;
        // One that served nothing when another came to serve its address may still be there.
        want[path("acl", acl, "crpIntf", intf)] = {""};
        if (owner.contains(address(intf)) && owner[address(intf)] != intf)
          want[path("acl", acl, "crpIntf", intf)].insert(nothing);
      }
    }
    for (const std::string &intf : interfaces) {
      if (has("rp " + intf) && value(owner, address(intf)) == intf) {
        candidateRp(intf, "rp " + intf, "crp " + address(intf));
      } else {
        for (const auto &[prefix, in] : under(config_, path("rp", intf, "range")))
          want[path("crpCount", intf, prefix)] = {"0", nothing};
      }
    }
  }
  void candidateRp(const std::string &intf, const std::string &rp, const std::string &at) {
    want[at] = {""};
    want[at + " intfId"] = {intf};
    want[at + " mode"] = {words(value(config_, rp))[0]};
    want[at + " interval"] = {words(value(config_, rp))[1]};
    for (const std::string &prefix : served(rp)) {
      want[path(at, "prefixSet", prefix)] = {""};
      count(path("crpCount", intf, prefix));
    }
    const auto option = [&](const std::string &prefix, const std::string &priority) {
      want[path(at, "prefixOptions", prefix)] = {""};
      want[path(at, "prefixOptions", prefix, "priority")].insert(priority);
    };
    for (const auto &[prefix, priority] : under(config_, rp + " rangeOptions")) option(prefix, priority);
    for (const auto &[acl, priority] : under(config_, rp + " aclOptions"))
      if (has(path(rp, "acl", acl)))
        for (const std::string &prefix : permitted_.group[acl]) option(prefix, priority);
  }

  void border(const std::string &intf) {
    const auto source = [&](const std::string &prefix) {
      want["bsBorder " + prefix] = want[path("bsBorder", prefix, "intfId", intf)] = {""};
      count(path("borderCount", intf, prefix));
    };
    for (const auto &[prefix, in] : under(config_, path("border", intf, "group"))) source(prefix);
    for (const auto &[acl, in] : under(config_, path("border", intf, "acl"))) {
      named_.insert(acl);
      want[path("acl", acl, "borderIntf", intf)] = {""};
      for (const std::string &prefix : permitted_.group[acl]) source(prefix);
    }
  }
  void filter(const std::string &all) {
    const auto permit = [&](const std::string &prefix) {
      want["crpPermit " + prefix] = {"true"};
      count("filterCount " + prefix);
    };
    if (under(config_, "filter").empty()) permit(all);
    for (const auto &[acl, in] : under(config_, "filter")) {
      named_.insert(acl);
      want[path("acl", acl, "usedByCrpAdvAclFilter")] = {"true"};
      for (const std::string &prefix : permitted_.unicast[acl]) permit(prefix);
    }
  }
  /// It must be there for its users, and may be for whom only names it.
  void aclObject(const std::string &acl) {
    const std::string at = "acl " + acl;
    const auto user = want.lower_bound(at + ' ');
    const bool used = user != want.end() && user->first.starts_with(at + ' ') && !user->second.contains(nothing);
    if (!used && !now_.contains(at)) return;
    want[at] = {""};
    want.try_emplace(at + " usedByCrpAdvAclFilter", std::set<std::string>{"false"});
    for (const std::string &prefix : permitted_.group[acl]) want[path(at, "grpPrefix", prefix)] = {""};
    for (const std::string &prefix : permitted_.unicast[acl]) want[path(at, "prefix", prefix)] = {""};
  }

  const Lines &config_;
  Permitted permitted_;
  const Lines &before_;
  const Lines &now_;
  std::map<std::string, uint64_t> count_;
  std::set<std::string> named_;
};

}  // namespace Test
