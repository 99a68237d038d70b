/// The configuration file: JSON, comments allowed, everything checked before anything is used. Its
/// members are described in daemon/file/Description.h, and for operators in docs/operator.md.
#pragma once

#include <string>
#include <string_view>

#include "daemon/file/Configuration.h"
#include "daemon/file/Findings.h"

namespace Routing::Pim::Bsr {

/// The configuration may be used only if there are no errors.
struct LoadedConfiguration {
  Configuration configuration;
  std::string effective;  ///< the text of configurationJson() where somebody made it, else empty
  Findings findings;
  bool good() const { return findings.errors.empty(); }
};

LoadedConfiguration configurationFromText(std::string_view text, Pax::AddressFamily family);
/// Of a regular file of up to 16 MiB that is no link. Never throws: a file that cannot be read is an error with an
/// empty place.
LoadedConfiguration configurationFromFile(const std::string &file, Pax::AddressFamily family);

}  // namespace Routing::Pim::Bsr
