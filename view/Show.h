/// The rows that answer "show NOUN": one file a noun, one function a file.
#pragma once

#include <string>
#include <vector>

#include "view/Json.h"
#include "view/VrfView.h"

namespace Routing::Pim::Bsr {

/// The rows of a noun that is about VRFs, sorted by VRF and then by the noun's own keys. Throws
/// std::invalid_argument when there is no such noun, or when the argument is not what it needs. `views`
/// are sorted by VRF.
Rows rowsOf(std::string_view noun, const std::vector<VrfView> &views, const std::string &argument = "");

/// Where in the rows of a VRF a slice of them ended; as it is made, before the first.
struct ShowCursor {
  static constexpr size_t slice = 500;  ///< rows, a few milliseconds
  Pax::IpGenPrefix zone;
  Pax::IpGenPrefix group;
  Pax::IpGenAddr rp;
  Pax::IntfId interface;
};
/// Appends the next rows of one VRF, which may have changed since the slice before: what comes behind the cursor is
/// shown as it is now. Of nouns that are never long that is all. True while there may be more. Throws like rowsOf.
bool nextRowsOf(std::string_view noun, const VrfView &view, const std::string &argument, ShowCursor &cursor,
                Rows &rows);

// Each appends the rows of one VRF.
bool showBsr(const VrfView &view, ShowCursor &cursor, Rows &rows);
// Everything configured has a row, which says why if it is not in force.
bool showCandidateBsr(const VrfView &view, ShowCursor &cursor, Rows &rows);
void showCandidateRp(const VrfView &view, Rows &rows);
void showBorder(const VrfView &view, Rows &rows);
void showInterfaces(const VrfView &view, Rows &rows);
void showAcl(const VrfView &view, Rows &rows);
void showFilter(const VrfView &view, Rows &rows);
/// All, or those of one RP, of the prefixes within one, or of those that cover a group.
bool showRpSet(const VrfView &view, const std::string &argument, ShowCursor &cursor, Rows &rows);
/// The RPs that serve the group, a row for each mode in which there is one.
void showRp(const VrfView &view, const std::string &group, Rows &rows);
void showNeighbors(const VrfView &view, Rows &rows);
void showCounters(const VrfView &view, Rows &rows);

}  // namespace Routing::Pim::Bsr
