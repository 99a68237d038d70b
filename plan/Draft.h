/// A plan file that is written for people: comments say what is what, and what can be on one line is.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace Planning {

/// What the file says, in its order. Comments are without "//"; an empty one is an empty line. What no terminal should
/// see in them becomes '?'.
struct Draft {
  using Json = nlohmann::ordered_json;
  using Comments = std::vector<std::string>;

  struct Entry {
    std::string name;  ///< of a member; empty in a list
    Json value;
    Comments comments{};  ///< above it
  };
  /// A member of the plan.
  struct Section {
    std::string name;
    Comments comments;  ///< above it
    std::vector<Entry> entries;
    bool isList = true;
  };

  Comments comments;
  std::vector<Entry> head;  ///< members that have no entries
  std::vector<Section> sections;
};

/// The JSON as it stands behind so many blanks: on one line if it fits, else an entry a line.
std::string laidOut(const Draft::Json &json, size_t indent);

/// The text of the file.
std::string toText(const Draft &draft);

}  // namespace Planning
