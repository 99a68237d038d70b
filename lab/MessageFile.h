/// Bootstrap messages written by hand, as a JSON file:
///
///   { "messages": [ {
///       "bsr": "10.255.0.1", "priority": 64, "hashMaskLen": 30, "interval": 60, "fragmentTag": 7, "noForward": false,
///       "groups": [ { "prefix": "239.1.0.0/16", "adminScope": true, "bidir": false, "rpCount": 2,
///                     "rps": [ { "address": "10.255.0.2", "holdTime": 150, "priority": 192 } ] } ] } ] }
///
/// Needed are `bsr`, `prefix` and `address`; the numbers above are the defaults, the flags' default is
/// false. Without `fragmentTag` each sending has one of its own; without `rpCount` a block is whole.
/// Two messages with one tag are fragments. Values may be wrong on purpose as far as the wire has room
/// for them. Comments are allowed.
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
