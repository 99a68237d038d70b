/// The errors and warnings about a configuration file.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "daemon/file/Places.h"

namespace Routing::Pim::Bsr {

/// `place` is where in the file: the path of the culprit ("/vrfConfig/default/holdTime", keys as they
/// are written), LINE:COLUMN where the text is not JSON, or empty for the file as a whole.
struct Finding {
  std::string place;
  std::string message;
  std::string at{};   ///< LINE:COLUMN of the member or element at `place`; empty where that is not known
  size_t repeat = 0;  ///< which of several members of one name, from 0
  bool operator==(const Finding &) const = default;
};

struct Findings {
  std::vector<Finding> errors;
  std::vector<Finding> warnings;
  std::vector<std::string> found;         ///< on this machine: where each VRF is
  std::map<std::string, std::string> at;  ///< LINE:COLUMN by path, where that is known
  Places places;                          ///< of the entries in `at` that the file spells differently

  void error(std::string place, std::string message) { add(errors, std::move(place), std::move(message)); }
  void warning(std::string place, std::string message) { add(warnings, std::move(place), std::move(message)); }

 private:
  void add(std::vector<Finding> &list, std::string place, std::string message) {
    const auto known = at.find(place);
    list.push_back({std::move(place), std::move(message), known == at.end() ? "" : known->second});
  }
};

/// "FILE:PATH: message (line 3, column 5)", as it is shown to operators.
inline std::string toText(const std::string &file, const Finding &finding) {
  std::string text = file + (finding.place.empty() ? "" : ":" + finding.place) + ": " + finding.message;
  if (const size_t colon = finding.at.find(':'); colon != std::string::npos) {
    text += " (line " + finding.at.substr(0, colon) + ", column " + finding.at.substr(colon + 1) + ")";
  }
  return text;
}

/// A line for each of the first. A file may have tens of thousands, which nobody reads and which take long to trace.
std::vector<std::string> firstOf(const std::vector<Finding> &findings, const std::string &file);

/// The first of them, and how many there are besides, all of the kind "error" or "warning"; empty where there is none.
std::string oneOf(const std::vector<Finding> &findings, const std::string &file, const std::string &kind);

/// The words as one text.
inline std::string joined(const std::vector<std::string> &words, const char *between) {
  std::string text;
  for (const std::string &word : words) text += (text.empty() ? "" : between) + word;
  return text;
}

}  // namespace Routing::Pim::Bsr
