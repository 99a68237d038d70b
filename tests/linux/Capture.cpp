#include "tests/linux/Capture.h"

#include <arpa/inet.h>
#include <linux/if_ether.h>
#include <linux/if_packet.h>
#include <net/if.h>
#include <sys/socket.h>

#include <array>
#include <fstream>

namespace Test {

namespace {

void writeCaptureFile(const std::string &file, const std::vector<std::string> &frames) {
  std::ofstream out(file, std::ios::binary);
  const auto numbers = [&](std::initializer_list<uint32_t> values) {
    for (const uint32_t value : values) out.write(reinterpret_cast<const char *>(&value), sizeof value);
  };
  constexpr uint32_t version = 2 | 4 << 16, ethernet = 1;
  numbers({0xa1b2c3d4, version, 0, 0, 65535, ethernet});
  for (const std::string &frame : frames) {
    const auto size = static_cast<uint32_t>(frame.size());
    numbers({0, 0, size, size});
    out << frame;
  }
}

}  // namespace

Capture::Capture(const Linux::Namespace &where, const std::string &interface)
    : file_("/tmp/pimbsr-test-" + std::to_string(getpid()) + ".pcap") {
  where.inside([&] {
    socket_ = Linux::Descriptor(socket(AF_PACKET, SOCK_RAW | SOCK_NONBLOCK | SOCK_CLOEXEC, htons(ETH_P_ALL)));
    sockaddr_ll address{};
    address.sll_family = AF_PACKET;
    address.sll_protocol = htons(ETH_P_ALL);
    address.sll_ifindex = static_cast<int>(if_nametoindex(interface.c_str()));
    if (bind(socket_.number(), reinterpret_cast<sockaddr *>(&address), sizeof address) != 0) {
      throw Linux::systemError("capturing on " + interface);
    }
  });
}

Capture::~Capture() { unlink(file_.c_str()); }

void Capture::read() {
  std::array<char, 65536> buffer;
  sockaddr_ll from{};
  socklen_t size = sizeof from;
  ssize_t got = 0;
  while ((got = recvfrom(socket_.number(), buffer.data(), buffer.size(), 0, reinterpret_cast<sockaddr *>(&from),
                         &size)) > 0) {
    if (from.sll_pkttype != PACKET_OUTGOING) frames_.emplace_back(buffer.data(), static_cast<size_t>(got));
  }
}

std::vector<Capture::Packet> Capture::pimPackets() {
  read();
  std::vector<Packet> packets;
  for (const std::string &frame : frames_) {
    if (frame.size() < ETH_HLEN + 20u) continue;
    const auto *header = reinterpret_cast<const uint8_t *>(frame.data()) + ETH_HLEN;
    if (header[0] >> 4 == 4 && header[9] == 103) packets.push_back({header[1], header[8]});
    if (header[0] >> 4 == 6 && header[6] == 103) {
      packets.push_back({static_cast<uint8_t>(header[0] << 4 | header[1] >> 4), header[7]});
    }
  }
  return packets;
}

Ran Capture::tshark(const std::string &field) {
  read();
  writeCaptureFile(file_, frames_);
  return run("tshark -r " + file_ + " -Y pim -T fields -e pim.type -e pim.cksum.status -e pim.fragment_tag " + field +
             " 2>/dev/null");
}

}  // namespace Test
