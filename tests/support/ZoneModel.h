/// The election of one zone, told a second time and plainly, to hold the machines to it: one flow for
/// candidates and others, in absolute times. What can be seen of it are lines of text.
#pragma once

#include <algorithm>
#include <cmath>
#include <map>
#include <optional>
#include <set>
#include <sstream>

#include "platform/orb/TimerWheel.h"
#include "platform/pax/IpGenPrefix.h"

namespace Test {

template <class... Word>
std::string line(const Word &...word) {
  std::ostringstream out;
  out.precision(15);
  ((out << word << ' '), ...);
  return out.str();
}

/// A BSR, of others or our own candidate.
struct ZoneBsr {
  Pax::IpGenAddr address;
  unsigned priority = 256, hashMaskLen = 128, period = 0;
  bool operator==(const ZoneBsr &) const = default;
  bool operator<(const ZoneBsr &o) const { return std::tie(priority, address) < std::tie(o.priority, o.address); }
};

using RpKey = std::pair<Pax::IpGenPrefix, Pax::IpGenAddr>;  // group range and RP

/// A message lists RPs of one range; one that we originate, of all.
struct ZoneMessage : ZoneBsr {
  bool forward = true;
  unsigned tag = 0;
  std::map<RpKey, unsigned> holdTimes{};

  std::string text() const {
    std::string text = line("message", address, priority, hashMaskLen, forward ? "forward" : "no-forward");
    for (const auto &[key, holdTime] : holdTimes) text += line(key.first, key.second, holdTime);
    return text;
  }
};

struct ZoneModel {
  struct Elected : ZoneBsr {
    double setup = 0, expiry = 0;
  };
  struct Rp {
    unsigned holdTime = 0, hashMaskLen = 0;
    double setup = 0, expires = 0;
  };
  /// What ends with the machine.
  struct Machine {
    double timer = Orb::never, szTimer = Orb::never;
    double ready = 0;                // when an answer may go out
    bool answering = false;          // the timer is for that answer
    std::optional<double> resumed;   // when an election outlived a restart, until that has settled
    bool unheard = false;            // no message of it went out
    std::map<RpKey, int> withdrawn;  // and how often they are still to be listed
    std::vector<std::pair<double, ZoneMessage>> kept;
  };

  const bool global, ipv4;
  double now;
  bool linked = true;  // there is a neighbor
  unsigned bsTimeout = 130, szTimeout = 1300, ownTag = 1 << 16;
  std::string state = "gone";  // no machine
  bool elected = false;
  std::optional<Elected> bsr{};
  std::optional<ZoneBsr> own{};
  std::map<RpKey, Rp> rps{};
  Machine m{};
  std::multiset<std::string> sent{};

  std::multiset<std::string> view() const {
    auto lines = sent;
    lines.insert(line(state, elected));
    if (bsr) lines.insert(line("BSR", bsr->address, bsr->priority, bsr->hashMaskLen, bsr->setup, bsr->expiry));
    for (const auto &[key, rp] : rps) {
      lines.insert(line(key.first, key.second, rp.holdTime, rp.hashMaskLen, rp.setup, rp.expires));
    }
    return lines;
  }

  /// When something happens next by itself.
  double next() const {
    double least = std::min(m.timer, m.szTimer);
    for (const auto &[key, rp] : rps) least = std::min(least, rp.expires);
    return least;
  }
  void runUntil(double time) {
    for (; next() <= time; runTimers()) now = std::max(now, next());
    now = time;
  }

  void hear(const ZoneMessage &message) {
    if (!own && state == "acceptPreferred" && message.address != bsr->address && message < *bsr) return;
    if (!own || (complete() && !(message < *own))) {
      state = own ? "cBsr" : "acceptPreferred";
      m.szTimer = Orb::never;
      if (bsr && bsr->address != message.address) rps.clear();
      if (elected) resign();
      publish(message);
      floodAndKeep(message);
      store(message, false);
      arm(now + timeout());
    } else if (state == "eBsr") {
      if (now < m.ready && m.timer <= m.ready) return;
      m.answering = true;
      arm(std::max(now, m.ready));
      if (now >= m.ready) runTimers();
    } else if (complete()) {
      floodAndKeep(message);
      if (state != "cBsr") return;
      if (message.address == bsr->address) publish(message);
      pend(*bsr);
    }
  }

  /// An advertisement that came to us, the BSR.
  void hearCrp(const RpKey &key, unsigned holdTime) {
    const bool known = rps.contains(key);
    if (holdTime == 0 && !known) return;
    m.withdrawn.erase(key);
    Rp &rp = rps[key];
    if (!known) rp = {0, own->hashMaskLen, now, 0};
    rp.holdTime = holdTime > 2.5 * own->period ? holdTime : 3 * own->period;
    rp.expires = now + rp.holdTime;
    if (holdTime == 0 || !known) arm(std::min(m.timer, now + 10));
    if (holdTime != 0) return;
    m.withdrawn[key] = 3;
    rps.erase(key);
  }

  void candidateIs(const ZoneBsr &candidate) {
    if (own == candidate) return;
    const std::optional<ZoneBsr> before = std::exchange(own, candidate);
    if (!before) succeed();
    if (before && before->period != own->period && state != "unset" && complete()) return shorten();
    if (elected && complete()) return publish(*own);
    begin();
  }
  void candidateDel() {
    if (elected) {
      originate(0);
      resign();
      rps.clear();
    }
    own.reset();
    succeed();
    begin();
  }
  /// The machine ends, and the next begins with what the status has.
  void restart(const std::optional<ZoneBsr> &candidate) {
    own = candidate;
    m = {};
    begin();
  }

  /// A timeout was set: no timer runs longer.
  void shorten() {
    if ((state == "cBsr" || state == "acceptPreferred") && m.timer > now + timeout()) arm(now + timeout());
    if (m.szTimer != Orb::never) m.szTimer = std::min(m.szTimer, now + szTimeout);
  }

  /// A triggered Hello went out where we are the DR.
  void helloSent() {
    for (auto [at, message] : m.kept) {
      message.forward = false;
      sent.insert(message.text());
    }
    if (m.resumed && m.unheard) m.timer = now;
  }

 private:
  bool complete() const {
    return own->priority != 256 && own->hashMaskLen != 128 && own->period != 0 && !own->address.isZero();
  }
  unsigned timeout() const { return !own || bsTimeout > own->period ? bsTimeout : 2 * own->period + 10; }

  void begin() {
    m.timer = Orb::never;
    if (!own) {
      state = bsr ? "acceptPreferred" : "gone";
      if (bsr) arm(now + timeout());
    } else if (!complete()) {
      if (elected) rps.clear();
      if (state.ends_with("Bsr")) resign();
      state = "unset";
    } else if (elected) {
      state = "eBsr";
      publish(*own);
      bsr->expiry = now + own->period;
      m.resumed = m.timer = now;
      m.unheard = true;
    } else {
      pend(bsr && *own < *bsr ? ZoneBsr(*bsr) : *own);
    }
  }

  void runTimers() {
    std::erase_if(rps, [&](const auto &entry) { return entry.second.expires <= now; });
    if (m.szTimer <= now) restart(std::nullopt);
    if (m.timer > now) return;
    m.timer = Orb::never;
    if (state == "acceptPreferred") {
      state = "acceptAny";
      for (const auto &[at, message] : m.kept) store(message, true);
      m.kept.clear();
      bsr.reset();
      if (!global) m.szTimer = now + szTimeout;
    } else if (state == "cBsr") {
      pend(*bsr);
    } else {
      state = "eBsr";
      if (!std::exchange(elected, true)) publish(*own);
      announce();
    }
  }

  /// The other kind of machine follows, with the messages that were kept.
  void succeed() {
    Machine next;
    if (bsr) next.kept = m.kept;
    m = next;
  }

  void resign() {
    if (elected) m.kept.clear();
    elected = m.answering = false;
    bsr.reset();
    m.resumed.reset();
    m.withdrawn.clear();
  }

  void publish(const ZoneBsr &source) {
    if (!bsr || bsr->address != source.address) bsr = {source, now, bsr ? bsr->expiry : 0};
    static_cast<ZoneBsr &>(*bsr) = source;
    for (auto &[key, rp] : rps) {
      if (elected) rp.hashMaskLen = own->hashMaskLen;
    }
  }

  /// RFC 5059 section 5, BS_Rand_Override.
  void pend(const ZoneBsr &best) {
    state = "pBsr";
    const double behind = std::max(best.priority, own->priority) - own->priority;
    const double mine = own->address.v4(), highest = std::max(best.address, own->address).v4();
    const double addressDelay = !ipv4 ? 5 : behind == 0 ? std::log2(highest - mine + 1) / 16 : 2 - mine / std::exp2(31);
    m.timer = now + std::floor(5 + 2 * std::log2(1 + behind) + addressDelay);
  }

  void arm(double time) {
    m.timer = time;
    if (bsr) bsr->expiry = time;
  }

  void announce() {
    double interval = rps.empty() && !m.answering ? 10 : own->period;
    // Five answers at once, one more each 2 s. What another message brings forward costs nothing.
    if (std::exchange(m.answering, false) && now >= m.ready) m.ready = std::max(now - 8, m.ready) + 2;
    originate(own->priority);
    if (!m.withdrawn.empty()) interval = std::min(interval, 10.0);
    if (m.resumed) {
      // Again 10 s after the start, and then every 10 s until somebody is there to hear it.
      const double early = *m.resumed + 10 - now;
      m.unheard = m.unheard && !linked;
      if (early > 0 || !linked) interval = std::min(interval, early > 0 ? early : 10);
      if (early <= 0 && linked) m.resumed.reset();
    }
    arm(now + interval);
  }

  void originate(unsigned priority) {
    ZoneMessage message{{own->address, priority, own->hashMaskLen}, true, ++ownTag};
    for (const auto &[key, rp] : rps) message.holdTimes[key] = rp.holdTime;
    for (auto &[key, listings] : m.withdrawn) {
      message.holdTimes[key] = 0;
      --listings;
    }
    std::erase_if(m.withdrawn, [](const auto &entry) { return entry.second == 0; });
    floodAndKeep(message);
  }

  /// Kept is the last message, with the others of its tag if it came in fragments.
  void floodAndKeep(const ZoneMessage &message) {
    if (linked && message.forward) sent.insert(message.text());
    const auto range = [](const auto &of) { return of.empty() ? Pax::IpGenPrefix() : of.begin()->first.first; };
    std::erase_if(m.kept, [&](const auto &kept) {
      return kept.second.tag != message.tag || kept.second.address != message.address || now - kept.first > 25 ||
             range(kept.second.holdTimes) == range(message.holdTimes);
    });
    m.kept.emplace_back(now, message);
  }

  void store(const ZoneMessage &message, bool refresh) {
    for (const auto &[key, holdTime] : message.holdTimes) {
      if (holdTime == 0) rps.erase(key);
      if (holdTime == 0 || (refresh && !rps.contains(key))) continue;
      if (message.hashMaskLen > 128) return;
      const double setup = rps.contains(key) ? rps[key].setup : now;
      rps[key] = {holdTime, message.hashMaskLen, setup, now + holdTime};
    }
  }
};

}  // namespace Test
