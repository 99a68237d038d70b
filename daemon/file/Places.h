/// Where each entry of a configuration is in the file, for error messages.
#pragma once

#include <map>
#include <string>

namespace Routing::Pim::Bsr {

/// Filled by MemberReader. An entry is looked up by the path that configurationJson() would give it; the
/// file may spell a prefix or an interface differently, and elements of a list are counted there.
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
