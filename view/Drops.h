/// What was refused: a table by VRF, interface, neighbor, reason and BSR.
#pragma once

#include <list>
#include <map>
#include <string>

#include "platform/pax/Ranged.h"
#include "platform/pim/Refusal.h"
#include "view/Json.h"

namespace Routing::Pim::Bsr {

/// "rpfNeighbor"
const char *wordOf(IO::Refusal reason);
/// As a part of a sentence, after "was refused: ".
const char *textOf(IO::Refusal reason);
/// What a router of a healthy network refuses all day long: what its borders are there for, and what comes where PIM is
/// not to be. Whenever a neighbor or a link comes back, no-forward messages go to routers that do not need them, and to a
/// restarted BSR its own of before.
bool isExpected(IO::Refusal reason);

/// Keeps at most `most` rows; where there is no room for one more, the one that was counted longest ago goes. One per
/// process. Times are of the platform's clock, in seconds.
class Drops {
 public:
  static constexpr size_t most = 1000;

  struct Key {
    L3::VrfName vrf{};
    Pax::IntfId intfId{};
    Pax::IpGenAddr neighbor{};  ///< who sent it
    IO::Refusal reason{};
    Pax::IpGenAddr bsr{};
    bool isEcho = false;  ///< a copy of a message that this router accepted or sent itself
    auto operator<=>(const Key &) const = default;
  };
  struct Row {
    Key key;
    uint64_t count = 0;
    double last = 0;
  };

  void add(const Key &key, double now);
  /// Of one VRF, or all where it is empty.
  void clear(const std::string &vrf);
  /// The one counted last comes first.
  const std::list<Row> &rows() const { return rows_; }

 private:
  std::list<Row> rows_;
  std::map<Key, std::list<Row>::iterator> row_;
};

/// The rows of "show drops" of one VRF, or of all where it is empty; the one counted last comes first.
Rows dropRows(const Drops &drops, const std::string &vrf, double now);

}  // namespace Routing::Pim::Bsr
