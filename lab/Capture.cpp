#include "lab/Capture.h"

#include <pcap/pcap.h>

#include <memory>
#include <optional>
#include <span>
#include <stdexcept>

namespace Lab {
namespace {

using Bytes = std::span<const uint8_t>;

constexpr uint8_t pim = 103;
constexpr uint8_t bootstrap = 4;

uint16_t number16(Bytes bytes, size_t at) { return static_cast<uint16_t>(bytes[at] << 8 | bytes[at + 1]); }

// The IP packet inside a frame; empty when there is none.
Bytes ipPacket(int linkType, Bytes frame) {
  constexpr uint16_t vlan = 0x8100, serviceVlan = 0x88a8;
  size_t typeAt = 0, header = 0;
  switch (linkType) {
    case DLT_EN10MB: typeAt = 12, header = 14; break;
    case DLT_LINUX_SLL: typeAt = 14, header = 16; break;
    case DLT_LINUX_SLL2: typeAt = 0, header = 20; break;
    case DLT_RAW:
    case DLT_IPV4:
    case DLT_IPV6: return frame;
    default: throw std::runtime_error(std::string("cannot read link type ") + pcap_datalink_val_to_name(linkType));
  }
  if (frame.size() < header) return {};
  while (header == typeAt + 2 && frame.size() >= header + 4 &&
         (number16(frame, typeAt) == vlan || number16(frame, typeAt) == serviceVlan)) {
    typeAt += 4, header += 4;
  }
  const uint16_t type = number16(frame, typeAt);
  return type == 0x0800 || type == 0x86dd ? frame.subspan(header) : Bytes();
}

CapturedMessage messageFrom(Bytes source, Bytes destination, Bytes payload) {
  return {
      0, Pax::IpGenAddr::fromBytes(source), Pax::IpGenAddr::fromBytes(destination), {payload.begin(), payload.end()}};
}

std::optional<CapturedMessage> fromIpv4(Bytes packet) {
  if (packet.size() < 20) return {};
  const size_t header = size_t{packet[0]} % 16 * 4, length = number16(packet, 2);
  const bool fragment = (number16(packet, 6) & 0x3fff) != 0;
  if (packet[9] != pim || fragment || header < 20 || length < header || length > packet.size()) return {};
  return messageFrom(packet.subspan(12, 4), packet.subspan(16, 4), packet.subspan(header, length - header));
}

std::optional<CapturedMessage> fromIpv6(Bytes packet) {
  constexpr size_t header = 40;
  if (packet.size() < header) return {};
  const size_t length = number16(packet, 4);
  if (packet[6] != pim || length > packet.size() - header) return {};
  return messageFrom(packet.subspan(8, 16), packet.subspan(24, 16), packet.subspan(header, length));
}

std::optional<CapturedMessage> bootstrapMessage(Bytes packet, Pax::AddressFamily family) {
  if (packet.empty()) return {};
  std::optional<CapturedMessage> message;
  if (family == Pax::AddressFamily::ipv4 && packet[0] >> 4 == 4) message = fromIpv4(packet);
  if (family == Pax::AddressFamily::ipv6 && packet[0] >> 4 == 6) message = fromIpv6(packet);
  if (!message || message->payload.size() < 4 || message->payload[0] % 16 != bootstrap) return {};
  return message;
}

}  // namespace

std::vector<CapturedMessage> readCapture(const std::string &file, Pax::AddressFamily family) {
  char error[PCAP_ERRBUF_SIZE];
  const std::unique_ptr<pcap_t, decltype(&pcap_close)> capture(pcap_open_offline(file.c_str(), error), pcap_close);
  if (!capture) throw std::runtime_error(file + ": " + error);

  std::vector<CapturedMessage> messages;
  double first = 0;
  pcap_pkthdr *header = nullptr;
  const u_char *bytes = nullptr;
  int result = 0;
  while ((result = pcap_next_ex(capture.get(), &header, &bytes)) == 1) {
    auto message = bootstrapMessage(ipPacket(pcap_datalink(capture.get()), {bytes, header->caplen}), family);
    if (!message) continue;
    const double time = static_cast<double>(header->ts.tv_sec) + static_cast<double>(header->ts.tv_usec) / 1e6;
    if (messages.empty()) first = time;
    message->offset = std::max(0.0, time - first);
    messages.push_back(*std::move(message));
  }
  if (result == PCAP_ERROR) throw std::runtime_error(file + ": " + pcap_geterr(capture.get()));
  if (messages.empty()) throw std::runtime_error(file + ": no Bootstrap message of this family");
  return messages;
}

void readdress(CapturedMessage &message, const Pax::IpGenAddr &source, const Pax::IpGenAddr &destination) {
  if (source.af() == Pax::AddressFamily::ipv6) {
    uint32_t sum = static_cast<uint16_t>(~number16(message.payload, 2));
    const auto replace = [&sum](const Pax::IpGenAddr &from, const Pax::IpGenAddr &to) {
      const auto fromBytes = from.bytes(), toBytes = to.bytes();
      for (size_t at = 0; at < fromBytes.size(); at += 2) {
        sum += static_cast<uint16_t>(~number16(fromBytes, at)) + number16(toBytes, at);
      }
    };
    replace(message.source, source);
    replace(message.destination, destination);
    while (sum > 0xffff) sum = (sum & 0xffff) + (sum >> 16);
    const auto checksum = static_cast<uint16_t>(~sum);
    message.payload[2] = static_cast<uint8_t>(checksum >> 8);
    message.payload[3] = static_cast<uint8_t>(checksum);
  }
  message.source = source;
  message.destination = destination;
}

}  // namespace Lab
