/// What was refused: a table by VRF, interface, neighbor, reason and BSR.
#pragma once

#include <list>
#include <map>
#include <string>
#include <tuple>

#include "platform/pax/Ranged.h"
#include "platform/pim/Refusal.h"
#include "view/Json.h"

namespace Routing::Pim::Bsr {

/// "rpfNeighbor"
const char *wordOf(IO::Refusal reason);
/// As a part of a sentence, after "was refused: ".
const char *textOf(IO::Refusal reason);
/// What a router of a healthy network refuses all day long: what its borders are there for, and what comes where PIM is
/// not to be. Whenever a neighbor or a link comes back, no-forward messages go to routers that do not need them, and to
/// a restarted BSR its own of before.
bool isExpected(IO::Refusal reason);

/// Whether it is about an advertisement: its sender is a candidate RP, and seldom a neighbor.
bool isOfAdvertisement(IO::Refusal reason);

/// Keeps at most `most` rows, of them `mostOfOne` of a neighbor, and as many of all who are none on an interface. Where
/// there is no room for one more, the one that was counted longest ago goes. So nobody who invents BSRs, or sources,
/// pushes out what others have. One per process. Times are of the platform's clock, in seconds.
class Drops {
 public:
  static constexpr size_t most = 1000;
  static constexpr size_t mostOfOne = 100;

  struct Key {
    L3::VrfName vrf{};
    Pax::IntfId intfId{};
    Pax::IpGenAddr neighbor{};  ///< who sent it, a candidate RP perhaps; zero for all others who are no neighbors
    IO::Refusal reason{};
    Pax::IpGenAddr bsr{};
    bool isEcho = false;  ///< a copy of a message that this router accepted or sent itself
    auto operator<=>(const Key &) const = default;
  };
  struct Row {
    Key key;
    uint64_t count = 0;
    double last = 0;
    size_t *share = nullptr;  ///< of whom it is
  };

  void add(const Key &key, double now);
  /// Of one VRF, or all where it is empty.
  void clear(const std::string &vrf);
  /// The one counted last comes first.
  const std::list<Row> &rows() const { return rows_; }
  /// How many echoes there were, those included whose rows had to go.
  uint64_t echoes(const L3::VrfName &vrf) const;

 private:
  using Place = std::list<Row>::iterator;
  /// Those who share their room: a neighbor has his own, and all others of an interface have one.
  using Sharers = std::tuple<L3::VrfName, Pax::IntfId, Pax::IpGenAddr>;

  static Sharers sharersOf(const Key &key);
  void makeRoomFor(const Sharers &sharers);
  void remove(Place row);

  std::list<Row> rows_;
  std::map<Key, Place> row_;
  std::map<Sharers, size_t> shares_;  // how many rows they have
  std::map<L3::VrfName, uint64_t> echoes_;
};

/// The rows of "show drops" of one VRF, or of all where it is empty; the one counted last comes first.
Rows dropRows(const Drops &drops, const std::string &vrf, double now);

}  // namespace Routing::Pim::Bsr
