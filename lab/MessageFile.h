/// Bootstrap messages written by hand, as a JSON file:
///
///   { "messages": [ {
///       "bsr": "10.255.0.1", "priority": 64, "hashMaskLen": 30, "interval": 60, "fragmentTag": 7, "noForward": false,
///       "groups": [ { "prefix": "239.1.0.0/16", "adminScope": true, "bidir": false, "rpCount": 2,
///                     "rps": [ { "address": "10.255.0.2", "holdTime": 150, "priority": 192 } ] } ] } ] }
///
/// `bsr`, `prefix` and `address` are required; the numbers above are the defaults, and the flags default to false.
/// Without `fragmentTag` each sending has a tag of its own; without `rpCount` a block is complete. Messages with the
/// same tag are fragments of one. Values may be wrong on purpose, if they fit into their fields. Comments are allowed.
#pragma once

#include <string>
#include <vector>

#include "platform/pim/Packet.h"

namespace Lab {

struct FileMessage {
  Kiv::Ptr<Routing::Pim::Packet::BootstrapMessage> message;
  bool ownTag = false;  ///< the file gives the fragment tag
  double interval = 60;
};

/// The messages of `file`, all of `family`. Throws std::runtime_error with FILE:PATH: message.
std::vector<FileMessage> readMessageFile(const std::string &file, Pax::AddressFamily family);

}  // namespace Lab
