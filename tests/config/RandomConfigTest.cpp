#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <functional>
#include <random>

#include "config/ConfigSm.h"
#include "tests/config/Oracle.h"
#include "tests/support/Addresses.h"

namespace {

using namespace ::Test;
using Pax::IntfId;
using Pax::IpGenAddr;
using Pax::IpGenPrefix;
using Random = std::mt19937;
namespace Bsr = Routing::Pim::Bsr;

/// What differs: lines of `from` with "-", of `to` with "+".
std::string difference(const Lines &from, const Lines &to) {
  std::string text;
  for (const auto &[sign, left, right] : {std::tuple("  - ", &from, &to), std::tuple("  + ", &to, &from)})
    for (const auto &[at, here] : *left)
      if (value(*right, at) != here) text += path(sign, at, "=", here) + "\n";
  return text;
}

/// The entities of one VRF that carry the configuration, and the machine on them.
class World {
 public:
  World(Pax::AddressFamily af, Random &random) : random_(random) { status->afIs(af); }

  Lines config{{"times", "130 1300"}};
  uint64_t szTimeout = 0;
  const Kiv::Ptr<Bsr::Status> status = Kiv::make<Bsr::Status>("default");

  void start() {
    configSm_ =
        std::make_unique<Bsr::ConfigSm>(config_, vrfIntfConfig_, clearConfig_, status, nullptr, &sourceIntfSm_, acls_);
    handleSzTimeout();
  }
  void stop() { configSm_.reset(); }

  /// Writes to the entities what is new, in random order, additions and changes first.
  void apply(const Lines &wanted) {
    std::vector<std::string> write, erase;
    std::set<std::string> acls;
    const auto note = [&](const std::string &at, std::vector<std::string> &list) {
      if (at.starts_with("acl "))
        acls.insert(words(at)[1]);
      else
        list.push_back(at);
    };
    for (const auto &[at, here] : wanted)
      if (value(config, at) != here) note(at, write);
    for (const auto &[at, here] : config)
      if (!wanted.contains(at)) note(at, erase);
    std::shuffle(write.begin(), write.end(), random_);
    std::shuffle(erase.begin(), erase.end(), random_);
    const bool aclsFirst = random_() % 2;
    if (aclsFirst)
      for (const std::string &acl : acls) aclIs(acl, wanted);
    for (const std::string &at : write) carry(words(at), value(wanted, at));
    for (const std::string &at : erase) carry(words(at), nothing);
    if (!aclsFirst)
      for (const std::string &acl : acls) aclIs(acl, wanted);
    config = wanted;
  }

  /// Status, and the counts and resolved ACLs behind it.
  Lines state() const {
    Lines lines = linesOf(*status);
    for (const auto &[name, acl] : configSm_->bsrConfigAcl()) {
      lines["acl " + name] = "";
      lines.merge(linesOf(*acl, "acl " + name + ' '));
    }
    const auto counts = [&](const std::string &name, const auto &counter) {
      for (const auto &[prefix, count] : counter) lines[path(name, prefix)] = std::to_string(count);
    };
    for (const auto &[intfId, count] : configSm_->cbsrPfxRefCount.all())
      counts(path("cbsrCount", intfId), count.counter());
    for (const auto &[intfId, count] : configSm_->crpPfxRefCount.all())
      counts(path("crpCount", intfId), count.counter());
    for (const auto &[id, count] : configSm_->borderPfxRefCount.all()) counts(path("borderCount", id), count.counter());
    counts("filterCount", configSm_->crpFilterAclPfxRefCount().counter());
    return lines;
  }

 private:
  void handleSzTimeout() { szTimeout = std::max<uint64_t>(config_->szTimeout(), uint64_t{config_->holdTime()} * 10); }

  /// Brings one line to the entities; `nothing` takes it away.
  void carry(const Words &at, const std::string &value) {
    const bool is = value != nothing;
    if (at[0] == "times") {
      config_->holdTimeIs(std::stoul(words(value)[0]));
      if (config_->szTimeout() == std::stoul(words(value)[1])) return;
      config_->szTimeoutIs(std::stoul(words(value)[1]));
      return handleSzTimeout();
    }
    if (at[0] == "filter") return is ? config_->crpFilterAclIs(at[1]) : config_->crpFilterAclDel(at[1]);
    const IntfId intfId("", at[1]);
    if (at[0] == "bsr") return candidateBsr(intfId, at, value, is);
    if (at[0] == "rp") return candidateRp(intfId, at, value, is);
    if (at[0] == "border") return border(intfId, at, is);
    if (!is) return allIntf_->intfStatusDel(intfId);
    allIntf_->intfStatusIs(intfId)->ipAddrIs(value == "-" ? IpGenAddr() : IpGenAddr::fromText(value));
  }
  void candidateBsr(const IntfId &intfId, const Words &at, const std::string &value, bool is) {
    if (at.size() == 2 && !is) return config_->bsrCandidateConfigDel(intfId);
    if (!is && !config_->bsrCandidateConfig(intfId)) return;
    Bsr::BsrCandidateConfig &to = *config_->bsrCandidateConfigIs(intfId);
    if (at.size() == 2) return;
    if (at[2] == "group") {
      const IpGenPrefix prefix = IpGenPrefix::fromText(at[3]);
      return is ? valuesAre(*to.groupIs(prefix), value) : to.groupDel(prefix);
    }
    return is ? valuesAre(*to.aclIs(at[3]), value) : to.aclDel(at[3]);
  }
  template <class Entry>
  void valuesAre(Entry &entry, const std::string &text) {
    const Words value = words(text);
    std::vector<int> order{0, 1, 2};
    std::shuffle(order.begin(), order.end(), random_);
    for (const int which : order) {
      if (which == 0) entry.priorityIs(static_cast<uint16_t>(std::stoul(value[0])));
      if (which == 1) entry.hashMaskLenIs(std::stoul(value[1]));
      if (which == 2) entry.intervalIs(std::stoul(value[2]));
    }
  }
  void candidateRp(const IntfId &intfId, const Words &at, const std::string &value, bool is) {
    if (at.size() == 2 && !is) return config_->rpCandidateConfigDel(intfId);
    if (!is && !config_->rpCandidateConfig(intfId)) return;
    Bsr::RpCandidateConfig &to = *config_->rpCandidateConfigIs(intfId);
    if (at.size() == 2) {
      to.modeIs(Routing::Pim::Mode::fromText(words(value)[0]));
      return to.advIntervalIs(std::stoul(words(value)[1]));
    }
    const auto priority = static_cast<Routing::Pim::RpPriority>(is && !value.empty() ? std::stoul(value) : 0);
    if (at[2] == "acl") return is ? to.aclIs(at[3]) : to.aclDel(at[3]);
    if (at[2] == "aclOptions") return is ? to.aclOptionsIs(at[3])->priorityIs(priority) : to.aclOptionsDel(at[3]);
    const IpGenPrefix prefix = IpGenPrefix::fromText(at[3]);
    if (at[2] == "range") return is ? to.groupRangeIs(prefix) : to.groupRangeDel(prefix);
    return is ? to.groupRangeOptionsIs(prefix)->priorityIs(priority) : to.groupRangeOptionsDel(prefix);
  }
  void border(const IntfId &intfId, const Words &at, bool is) {
    Kiv::Ptr<Bsr::IntfConfig> &to = border_[intfId];
    if (!to) to = Kiv::make<Bsr::IntfConfig>();
    if (at.size() == 2 && is) return vrfIntfConfig_->intfConfigIs(intfId, to);
    if (at.size() == 2) {
      vrfIntfConfig_->intfConfigDel(intfId);
      to = nullptr;
    } else if (at[2] == "acl") {
      is ? to->bsrBorderAclIs(at[3]) : to->bsrBorderAclDel(at[3]);
    } else {
      const IpGenPrefix prefix = IpGenPrefix::fromText(at[3]);
      is ? to->bsrBorderGrpIs(prefix) : to->bsrBorderGrpDel(prefix);
    }
  }
  /// One rule that differs may be written in place; otherwise all are put in force at once.
  void aclIs(const std::string &name, const Lines &wanted) {
    if (!wanted.contains("acl " + name)) return acls_->aclDel(name);
    Acl::AclConfig &acl = *acls_->aclIs(name);
    const Lines old = under(config, path("acl", name, "rule")), rules = under(wanted, path("acl", name, "rule"));
    const std::string differs = difference(old, rules);
    const bool inPlace = acl.currCfg() && random_() % 2 && std::count(differs.begin(), differs.end(), '\n') == 1;
    const auto to = inPlace ? acl.currCfg() : Kiv::make<Acl::AclSubConfig>();
    for (const auto &[number, text] : rules) to->ruleBySequenceIs(std::stoul(number), rule(text));
    for (const auto &[number, text] : old)
      if (!rules.contains(number)) to->ruleBySequenceDel(std::stoul(number));
    acl.currCfgIs(to);
  }

  Random &random_;
  const Kiv::Ptr<Bsr::Config> config_ = Kiv::make<Bsr::Config>();
  const Kiv::Ptr<Bsr::VrfIntfConfig> vrfIntfConfig_ = Kiv::make<Bsr::VrfIntfConfig>("default");
  const Kiv::Ptr<Bsr::ClearConfig> clearConfig_ = Kiv::make<Bsr::ClearConfig>();
  const Kiv::Ptr<Acl::Input::Config> acls_ = Kiv::make<Acl::Input::Config>();
  const Kiv::Ptr<Ip::AllIntfStatusDir> allIntf_ = Kiv::make<Ip::AllIntfStatusDir>();
  Ip::SourceIntfSm sourceIntfSm_{Kiv::make<Ip::SourceIntfDir>("source"), allIntf_};
  std::map<IntfId, Kiv::Ptr<Bsr::IntfConfig>> border_;
  std::unique_ptr<Bsr::ConfigSm> configSm_;
};

/// Changes configuration lines by one step. Some seeds know few prefixes and ACLs, so that sources meet.
class Mutation {
 public:
  Mutation(Lines &config, Random &random, const Addresses &addresses, uint32_t seed)
      : config_(config), random_(random), a_(addresses), groups_(2 + seed % 6), acls_(1 + seed % 4) {}

  void run() {
    const std::string intf = pick(interfaces), bsr = "bsr " + intf, rp = "rp " + intf, border = "border " + intf;
    const auto any = [&](int times, const std::function<void()> &change) {
      for (int i = 0; i < times; ++i) change();
    };
    switch (upTo(14)) {
      case 0: return address("address " + intf);
      case 1: return acl("acl " + acl());
      case 2: return ruleOf("acl " + acl());
      case 3: return flip("filter " + acl(), "");
      case 4: return put("times", path(100 + upTo(100), 1000 + upTo(1000)));
      case 5: return whole(bsr) ? void() : any(4, [&] { candidateBsr(bsr); });
      case 6: return whole(rp) ? void() : any(8, [&] { candidateRp(rp); });
      case 7: return whole(border) ? void() : any(4, [&] { borderOf(border); });
      case 8: return borderOf(border);
      case 9:
      case 10: return candidateRp(rp);
      default: return candidateBsr(bsr);
    }
  }

 private:
  uint32_t upTo(size_t count) { return static_cast<uint32_t>(random_() % count); }
  std::string pick(const Words &values) { return values[upTo(values.size())]; }
  std::string acl() { return std::string(1, "ABCD"[upTo(acls_)]); }
  std::string group() {
    return path(std::array{a_.scope(1), a_.inScope(1, 1), a_.scope(2), a_.scope(3), a_.global(), a_.group(1),
                           a_.inScope(1, 2)}[upTo(groups_)]);
  }
  std::string one(const std::string &at) { return upTo(2) ? at + " group " + group() : at + " acl " + acl(); }
  void put(const std::string &at, const std::string &value) { config_[at] = value; }
  void flip(const std::string &at, const std::string &value) {
    if (!config_.erase(at)) put(at, value);
  }
  bool whole(const std::string &at) {
    return std::erase_if(config_, [&](const auto &line) { return path(line.first, "").starts_with(at + ' '); }) > 0;
  }
  /// Some values are not set at first; what was set stays so.
  void candidateBsr(const std::string &bsr) {
    const std::string at = one(bsr);
    put(bsr, "");
    const bool is = config_.contains(at);
    if (is && upTo(3) == 0) return void(config_.erase(at));
    Words values = words(is ? config_[at] : "256 128 60");
    for (int i = 0; i < 3; ++i)
      if (upTo(is ? 2 : 5)) values[i] = path(upTo(8) + (i == 2 ? 60 : 0));
    put(at, path(values[0], values[1], values[2]));
  }
  void candidateRp(const std::string &rp) {
    config_.emplace(rp, "sparsemode 60");
    const auto option = [&](const std::string &at) { upTo(2) ? flip(at, path(upTo(8))) : put(at, path(upTo(8))); };
    switch (upTo(5)) {
      case 0: return flip(rp + " range " + group(), "");
      case 1: return option(rp + " rangeOptions " + group());
      case 2: return flip(rp + " acl " + acl(), "");
      case 3: return option(rp + " aclOptions " + acl());
      default: return put(rp, path(pick({"sparsemode", "bidir"}), 60 + upTo(8)));
    }
  }
  void borderOf(const std::string &border) {
    put(border, "");
    flip(one(border), "");
  }
  /// Lost, exchanged, changed; few addresses, so that interfaces meet on one.
  void address(const std::string &at) {
    if (upTo(4) == 0) return void(config_.erase(at));
    if (upTo(4) == 0) return put(at, "-");
    if (upTo(3) == 0 && config_.contains(at))
      return std::swap(config_[at], config_.emplace("address lo", "-").first->second);
    put(at, path(a_.host(upTo(4))));
  }
  void ruleOf(const std::string &at) {
    put(at, "");
    const std::string number = path(at, "rule", upTo(6));
    if (upTo(3) == 0 && config_.erase(number)) return;
    const IpGenAddr host = a_.host(upTo(4));
    const std::string source = upTo(2) ? group() : path(IpGenPrefix(host, std::vector<uint8_t>{0, 16, 128}[upTo(3)]));
    put(number, (upTo(3) ? '+' : '-') + source);
  }
  void acl(const std::string &at) {
    whole(at);
    if (upTo(3) == 0) return;
    for (int i = 0; i < 4; ++i) ruleOf(at);
  }

  Lines &config_;
  Random &random_;
  const Addresses &a_;
  const uint32_t groups_, acls_;
};

/// One change that leaves the configuration valid.
void mutate(Lines &config, Random &random, const Addresses &addresses, uint32_t seed) {
  Lines wanted;
  do {
    wanted = config;
    Mutation(wanted, random, addresses, seed).run();
  } while (!isValid(wanted, addresses.af));
  config = wanted;
}

/// Whether no zone, or ACL for zones, goes from one interface to another at once, and no value is unset.
bool isOneReload(const Lines &from, const Lines &to) {
  for (const auto &[at, values] : under(to, "bsr")) {
    const size_t name = at.find(' ');
    if (name == std::string::npos) continue;
    for (const std::string &intf : interfaces)
      if (intf != words(at)[0] && from.contains("bsr " + intf + at.substr(name))) return false;
    const std::string old = value(from, "bsr " + at);
    for (const std::string &which : unset(values))
      if (old != nothing && std::ranges::count(unset(old), which) == 0) return false;
  }
  return true;
}

/// The elements whose going the engine feels.
std::map<std::string, const void *> elements(const Bsr::Status &status) {
  std::map<std::string, const void *> found;
  for (const auto &[zone, cbsr] : status.cbsr()) found[path("cbsr", zone)] = cbsr.get();
  for (const auto &[address, crp] : status.crp()) found[path("crp", address, crp->intfId())] = crp.get();
  return found;
}

/// What is wrong in the world's state; empty when nothing is.
std::string faults(const World &world, const Lines &before, const Lines &now) {
  std::string text;
  auto want = Oracle(world.config, world.status->af(), before, now).want;
  want["szTimeout"] = {std::to_string(world.szTimeout)};
  for (const auto &[at, values] : want) {
    if (values.contains(value(now, at))) continue;
    text += path("  ", at, "=", value(now, at), ", not");
    for (const std::string &wanted : values) text += " \"" + wanted + "\"";
    text += "\n";
  }
  for (const auto &[at, here] : now)
    if (!want.contains(at)) text += path("  ", at, "=", here, ", and must not be\n");
  return text;
}

/// One random life of a VRF's configuration. Empty, or what went wrong after which changes.
std::string life(const Addresses &addresses, uint32_t seed) {
  Random random(seed);
  World world(addresses.af, random);
  world.start();
  Lines before = world.state();
  std::string history;
  for (int step = 0; step < 250; ++step) {
    const bool restart = random() % 12 == 0;
    const uint32_t changes = restart ? random() % 4 : random() % 4 == 0 ? 2 + random() % 7 : 1;
    const Lines configured = world.config;
    const auto kept = elements(*world.status);
    Lines wanted;
    do {
      wanted = configured;
      for (uint32_t i = 0; i < changes; ++i) mutate(wanted, random, addresses, seed);
    } while (!restart && !isOneReload(configured, wanted));
    if (restart) {
      world.stop();
      // Entries without address are given up, and elements of which nothing remains.
      std::erase_if(before, [&](const auto &line) {
        return line.first.starts_with("zone") || (changes > 0 && line.first.starts_with("crp "));
      });
    }
    world.apply(wanted);
    if (restart) world.start();
    history += std::to_string(step) + (restart ? ": restart\n" : ":\n") + difference(configured, wanted);
    const Lines now = world.state();
    std::string wrong = faults(world, changes > 1 && !restart ? now : before, now);
    for (const auto &[at, element] : elements(*world.status))
      if (changes <= (restart ? 0 : 1) && kept.contains(at) && kept.at(at) != element)
        wrong += "  " + at + " went and came again\n";
    if (!wrong.empty()) {
      const size_t last = history.size() > 2000 ? history.find('\n', history.size() - 2000) + 1 : 0;
      return path(addresses.af, "seed", seed, "step", step) + ":\n" + wrong + "after\n" + history.substr(last) +
             "which changed\n" + difference(before, now);
    }
    before = now;
  }
  return "";
}

// Between the two writes of the reload, two interfaces offer the zone.
TEST(RandomConfig, AZoneThatWasTakenOverForAMomentGoesBack) {
  const Lines wanted{{"times", "130 1300"},
                     {"address lo", "10.0.0.1"},
                     {"address eth0", "10.0.0.2"},
                     {"bsr eth0", ""},
                     {"bsr eth0 group 239.1.0.0/16", "9 30 60"},
                     {"bsr lo", ""},
                     {"acl A", ""},
                     {"acl A rule 1", "+239.1.0.0/16"}};
  Lines old = wanted;
  old["acl A rule 1"] = "+239.2.0.0/16";
  old["bsr lo acl A"] = "5 30 60";
  for (uint32_t seed = 1; seed <= 4; ++seed) {
    Random random(seed);
    World world(Pax::AddressFamily::ipv4, random);
    world.start();
    world.apply(old);
    world.apply(wanted);
    EXPECT_EQ(faults(world, {}, world.state()), "");
  }
}

TEST(RandomConfig, StatusIsWhatTheConfigurationSaysAfterEveryChange) {
  for (const Addresses &addresses : {ipv4, ipv6}) {
    for (uint32_t seed = 1; seed <= 12; ++seed) {
      const std::string wrong = life(addresses, seed);
      ASSERT_TRUE(wrong.empty()) << wrong;
    }
  }
}

}  // namespace
