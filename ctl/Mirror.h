/// The rows of a noun as a stream tells them.
#pragma once

#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "daemon/control/Request.h"

namespace Control {

/// Keeps the rows of one noun, by their key.
class Mirror {
 public:
  /// The line is one about this noun: a snapshot or a change.
  void apply(const Rows &line);

  /// Ordered by key, without what changes by itself and so is not told.
  Rows rows() const;
  const std::vector<std::string> &key() const { return key_; }
  /// The row that a change is about, as it was before; null when there was none.
  Rows before(const Rows &row) const;

 private:
  std::string keyOf(const Rows &row) const;

  std::vector<std::string> key_;
  std::map<std::string, Rows> rows_;
};

/// What a line of a stream tells, as lines for an operator. `mirror` has the rows before it.
std::string textOf(const Rows &line, const Mirror &mirror);

}  // namespace Control
