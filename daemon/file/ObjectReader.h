/// Reads the members of one JSON object of a configuration file, each checked where it is read.
#pragma once

#include <cstdint>
#include <functional>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "daemon/file/Findings.h"

namespace Routing::Pim::Bsr {

/// Hands out members by name. A bad member becomes an error with its path, and is treated as absent. When all known
/// members have been asked for, noOthers() refuses the rest. Refers to the value and to the findings.
class ObjectReader {
 public:
  using Member = std::function<void(const std::string &name, const nlohmann::json &value, const std::string &path)>;

  /// An error if `value` is not an object; it has no members then.
  ObjectReader(const nlohmann::json &value, std::string path, Findings &findings);

  const std::string &path() const { return path_; }
  std::string path(std::string_view name) const;
  bool isObject() const { return value_.is_object(); }
  bool has(std::string_view name) const { return value_.is_object() && value_.contains(name); }
  /// Whether there is such a member, other than an empty object.
  bool hasEntries(std::string_view name) const { return has(name) && value_.at(name) != nlohmann::json::object(); }

  /// An integer from `least` to `most`.
  std::optional<uint64_t> number(const char *name, uint64_t least, uint64_t most);
  /// A number from `least` to `most`.
  std::optional<double> real(const char *name, double least, double most);
  std::optional<std::string> text(const char *name);
  /// One of the words given.
  std::optional<std::string> word(const char *name, const std::vector<std::string> &words);
  /// The elements of a member that is a list, each with its number as its name.
  void elements(const char *name, const Member &element);
  /// The member as it is, or null.
  const nlohmann::json *find(const char *name);
  /// The members of a member that is an object with free names.
  void each(const char *name, const Member &member);

  void noOthers();

 private:
  /// Calls `member` for what is in the member `name`, an object or a list, or finds that it is not `what`.
  void visit(const char *name, bool (nlohmann::json::*isRight)() const noexcept, const char *what,
             const Member &member);

  const nlohmann::json &value_;
  const std::string path_;
  Findings &findings_;
  std::vector<std::string> known_;
};

/// The value as messages show it, cut short.
std::string shown(const nlohmann::json &value);
/// "must be WHAT, not VALUE"
std::string mustBe(const std::string &what, const nlohmann::json &value);

}  // namespace Routing::Pim::Bsr
