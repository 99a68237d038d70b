#include "view/Drops.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace Routing::Pim::Bsr {

namespace {

struct Words {
  const char *word;
  const char *text;
};
constexpr std::array reasons{
    Words{"wrongFamily", "it is of the other address family"},
    Words{"pimOff", "PIM is not on there"},
    Words{"malformed", "it is malformed"},
    Words{"tooLong", "it is longer than what is received"},
    Words{"badHello", "a Hello that is not from a neighbor to all"},
    Words{"noHello", "no Hello came from there before"},
    Words{"ownBsr", "its BSR is this router"},
    Words{"contradiction", "it contradicts earlier fragments of the same message"},
    Words{"openBytes", "too many incomplete groups are held"},
    Words{"unicast", "it was sent to a unicast address"},
    Words{"destination", "it was sent to another group than all PIM routers"},
    Words{"noForward", "it is not to be forwarded, and no quick refresh is expected"},
    Words{"noRoute", "there is no RPF neighbor toward its BSR"},
    Words{"rpfNeighbor", "it did not come from the RPF neighbor toward its BSR"},
    Words{"border", "the interface is a border of its zone"},
    Words{"filter", "the filter does not permit its sender"},
    Words{"notBsr", "this router is not the BSR of its zone"},
};
static_assert(reasons.size() == static_cast<size_t>(IO::Refusal::notBsr) + 1);

}  // namespace

const char *wordOf(IO::Refusal reason) { return reasons[static_cast<size_t>(reason)].word; }
const char *textOf(IO::Refusal reason) { return reasons[static_cast<size_t>(reason)].text; }

bool isExpected(IO::Refusal reason) {
  return reason == IO::Refusal::border || reason == IO::Refusal::pimOff || reason == IO::Refusal::noForward ||
         reason == IO::Refusal::ownBsr;
}

bool isOfAdvertisement(IO::Refusal reason) { return reason == IO::Refusal::filter || reason == IO::Refusal::notBsr; }

void Drops::add(const Key &key, double now) {
  const auto present = row_.find(key);
  if (present != row_.end()) {
    rows_.splice(rows_.begin(), rows_, present->second);
  } else {
    const Sharers sharers = sharersOf(key);
    makeRoomFor(sharers);
    size_t &share = shares_[sharers];
    ++share;
    rows_.push_front({.key = key, .share = &share});
    row_[key] = rows_.begin();
  }
  ++rows_.front().count;
  rows_.front().last = now;
  if (key.isEcho) ++echoes_[key.vrf];
}

uint64_t Drops::echoes(const L3::VrfName &vrf) const {
  const auto counted = echoes_.find(vrf);
  return counted == echoes_.end() ? 0 : counted->second;
}

Drops::Sharers Drops::sharersOf(const Key &key) {
  return {key.vrf, key.intfId, isOfAdvertisement(key.reason) ? Pax::IpGenAddr() : key.neighbor};
}

void Drops::makeRoomFor(const Sharers &sharers) {
  const auto share = shares_.find(sharers);
  if (share != shares_.end() && share->second == mostOfOne) {
    const auto isTheirs = [&](const Row &row) { return row.share == &share->second; };
    remove(std::prev(std::find_if(rows_.rbegin(), rows_.rend(), isTheirs).base()));
  } else if (rows_.size() == most) {
    remove(std::prev(rows_.end()));
  }
}

void Drops::remove(Place row) {
  if (--*row->share == 0) shares_.erase(sharersOf(row->key));
  row_.erase(row->key);
  rows_.erase(row);
}

void Drops::clear(const std::string &vrf) {
  std::erase_if(echoes_, [&](const auto &counted) { return vrf.empty() || counted.first.text() == vrf; });
  for (auto row = rows_.begin(); row != rows_.end();) {
    const auto each = row++;
    if (vrf.empty() || each->key.vrf.text() == vrf) remove(each);
  }
}

Rows dropRows(const Drops &drops, const std::string &vrf, double now) {
  Rows rows = Rows::array();
  for (const Drops::Row &row : drops.rows()) {
    const Drops::Key &key = row.key;
    if (!vrf.empty() && key.vrf.text() != vrf) continue;
    rows.push_back({{"vrf", toJson(key.vrf)},
                    {"interface", key.intfId.isEmpty() ? Rows() : toJson(key.intfId)},
                    {"neighbor", toJson(key.neighbor)},
                    {"reason", wordOf(key.reason)},
                    {"bsr", toJson(key.bsr)},
                    {"count", row.count},
                    {"last", secondsBetween(row.last, now)},
                    {"echo", key.isEcho}});
  }
  return rows;
}

}  // namespace Routing::Pim::Bsr
