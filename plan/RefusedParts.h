/// Which parts of a plan file could not be read, so that nothing more is said of them.
#pragma once

#include <set>
#include <string>

#include "daemon/file/Findings.h"

namespace Planning {

class RefusedParts {
 public:
  /// Of the errors that there are.
  explicit RefusedParts(const Routing::Pim::Bsr::Findings &findings);

  /// Whether something is refused at this path or below.
  bool has(const std::string &path) const { return isIn(all_, path); }
  /// Likewise, and it may have said which routers, interfaces and links there are.
  bool hasNames(const std::string &path) const { return isIn(names_, path); }
  bool hasNames() const { return !names_.empty(); }

 private:
  static bool isIn(const std::set<std::string> &places, const std::string &path);

  std::set<std::string> all_;
  std::set<std::string> names_;
};

}  // namespace Planning
