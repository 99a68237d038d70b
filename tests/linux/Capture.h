/// What really goes over a link.
#pragma once

#include <string>
#include <vector>

#include "platform/linux/Namespace.h"
#include "tests/linux/Netns.h"

namespace Test {

/// Every frame that an interface gets, from the construction on.
class Capture {
 public:
  Capture(const Linux::Namespace &where, const std::string &interface);
  ~Capture();

  struct Packet {
    uint8_t trafficClass;
    uint8_t hopLimit;
  };
  /// IP headers of the PIM packets so far.
  std::vector<Packet> pimPackets();
  /// What tshark reads in the PIM packets so far, a line each: type, checksum status, fragment tag
  /// and one more field, given as "-e pim.bsr".
  Ran tshark(const std::string &field);

 private:
  void read();

  Linux::Descriptor socket_;
  std::string file_;  // a capture file of the frames
  std::vector<std::string> frames_;
};

}  // namespace Test
