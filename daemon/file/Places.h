/// Where in the file each part of a configuration stands, for messages about it.
#pragma once

#include <map>
#include <string>

namespace Routing::Pim::Bsr {

/// Where the entries of a configuration stand in the file. An entry is asked for by the path that
/// configurationJson() would give it; the file may spell a prefix or an interface in another way, and
/// an element of a list is found by its number.
class Places {
 public:
  void placeIs(const std::string &entry, const std::string &written) {
    if (entry != written) written_.emplace(entry, written);
  }
  std::string of(const std::string &entry) const {
    const auto found = written_.find(entry);
    return found == written_.end() ? entry : found->second;
  }

 private:
  std::map<std::string, std::string> written_;
};

}  // namespace Routing::Pim::Bsr
