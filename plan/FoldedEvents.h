/// Events as lines, in which what many routers tell is told once.
#pragma once

#include <map>
#include <ostream>
#include <set>
#include <tuple>
#include <vector>

#include "plan/Naming.h"
#include "view/Event.h"

namespace Planning {

/// Events wait until nothing more is told for a while, or somebody flushes. Then those of one kind about one thing are
/// a line if more than five routers told them, and else a line each.
class FoldedEvents {
 public:
  /// Both outlive it.
  FoldedEvents(const Plan &plan, const Naming &naming, std::ostream &out);

  void add(double at, size_t router, const Routing::Pim::Bsr::Event &event);
  void flush();
  /// "  123.456  "
  static std::string timeText(double at);

 private:
  static constexpr size_t fewest = 6;  ///< routers that are folded
  static constexpr double quiet = 1;   ///< seconds after which more is told anew
  static constexpr double longest = 10;

  struct Line {
    size_t order;
    double at;
    size_t router;
    Routing::Pim::Bsr::Severity severity;
    std::string text;
  };
  // What events have in common that are folded.
  using Key = std::tuple<Routing::Pim::Bsr::EventKind, Routing::Pim::Bsr::Severity, L3::VrfName, Pax::IpGenPrefix,
                         Pax::IpGenPrefix, Pax::IpGenAddr, Pax::IpGenAddr>;
  struct Group {
    std::vector<Line> lines;  // the first alone once it is folded
    std::vector<Node> routers;
    std::set<size_t> known;
    size_t count = 0;
    double last = 0;
    bool varies = false;
  };

  void print(const Line &line, const std::string &who, const std::string &text);
  std::string foldedText(const Group &group) const;

  const Naming &naming_;
  std::ostream &out_;
  size_t nameWidth_ = 0;
  std::map<Key, Group> groups_;
  size_t order_ = 0;
  double first_ = 0, last_ = 0;
};

}  // namespace Planning
