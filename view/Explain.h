/// The rows that answer "explain TOPIC": why something is as it is, a statement a row.
///
/// Each statement has its sentence (`text`), what it is about (`about`) and, as members, what the sentence is made
/// from. The statements about one thing stand together and begin with the same members; the first one is the answer,
/// the others are its reasons.
#pragma once

#include <string>
#include <vector>

#include "view/Sentence.h"
#include "view/Show.h"

namespace Routing::Pim::Bsr {

/// About all VRFs. Throws std::invalid_argument when there is no such topic, or when the argument is not what it needs.
/// `views` are sorted by VRF.
Rows explanationOf(std::string_view topic, const std::vector<VrfView> &views, const std::string &argument = "");
/// The next statements about one VRF, as nextRowsOf().
bool nextExplanationOf(std::string_view topic, const VrfView &view, const std::string &argument, ShowCursor &cursor,
                       Rows &rows);

// Each appends statements about one VRF.
/// Who is the BSR of the zone, or of each zone if none is named, and why.
bool explainBsr(const VrfView &view, const std::string &zone, ShowCursor &cursor, Rows &rows);
/// Where the address is an RP, whether it is in use, announced, and why not.
bool explainRp(const VrfView &view, const std::string &rp, ShowCursor &cursor, Rows &rows);
/// Which RP serves the group, and by which rule.
bool explainGroup(const VrfView &view, const std::string &group, ShowCursor &cursor, Rows &rows);

/// The statements about one thing.
class Statements {
 public:
  /// `subject` are the members that all of them begin with.
  Statements(Rows &rows, Rows subject) : rows_(rows), subject_(std::move(subject)) {}

  void say(const char *about, const Rows &members, const std::string &text) {
    Rows row = subject_;
    row["about"] = about;
    row.update(members);
    row["text"] = text;
    rows_.push_back(std::move(row));
  }

 private:
  Rows &rows_;
  const Rows subject_;
};

/// "VRF blue: ", or nothing for the default VRF.
std::string vrfLead(const VrfView &view);
/// What the answer of a VRF ends with: a full stop, after what to look at where it does not run.
std::string vrfEnd(const VrfView &view);
/// The column `reason` of a row, in words.
std::string reasonOf(const Rows &row);
/// How long ago, or how far ahead, as "2m03s".
std::string durationBetween(double from, double to);

}  // namespace Routing::Pim::Bsr
