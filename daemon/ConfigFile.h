/// The configuration file: JSON, comments allowed, everything checked before anything is used.
///
///   { "pim":       { VRF: { "namespace": NAME, "interfaces": [NAME...], "hello": "speak" | "listen",
///                           "drPriority": 0..4294967295 } },
///     "vrfConfig": { VRF: { "holdTime": 1..65535, "szTimeout": 1..655350 } } }
///
/// The VRF "default" is the namespace that the program starts in; another VRF's namespace has the
/// VRF's name unless it says otherwise. `hello` is "speak" and `drPriority` 0 by default, `holdTime`
/// 130 and `szTimeout` ten times `holdTime`. The bounds of the two times keep them within what
/// Bootstrap messages can carry as hold times (16 bits), and ten times that.
#pragma once

#include <string>
#include <string_view>

#include "daemon/Configuration.h"
#include "daemon/Findings.h"

namespace Routing::Pim::Bsr {

/// The configuration is meant to be used only if there are no errors.
struct LoadedConfiguration {
  Configuration configuration;
  Findings findings;
  bool good() const { return findings.errors.empty(); }
};

LoadedConfiguration configurationFromText(std::string_view text);
/// Nothing throws: a file that cannot be read is an error with an empty place.
LoadedConfiguration configurationFromFile(const std::string &file);

}  // namespace Routing::Pim::Bsr
