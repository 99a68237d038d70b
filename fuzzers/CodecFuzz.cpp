// Whatever arrives, decoding neither crashes nor throws; and a message that decodes, written and read again, has
// the same fields.

#include <cstdlib>
#include <iostream>

#include "tests/support/Addresses.h"
#include "tests/support/PacketText.h"

using namespace Routing::Pim::Packet;

// The first byte says which family to use, and whether to correct the checksum first: without that, hardly anything
// would get past it. The codecs live on, so records are reused.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  static Codec codec4(Pax::AddressFamily::ipv4), codec6(Pax::AddressFamily::ipv6);
  static Kiv::Ptr<Message> kept;
  if (size == 0) return 0;
  const Test::Addresses &a = data[0] & 1 ? Test::ipv6 : Test::ipv4;
  Codec &codec = data[0] & 1 ? codec6 : codec4;
  const Pax::IpGenAddr source = a.onLink(1), destination = Pax::allPimRouters(a.af);
  std::vector<uint8_t> bytes(data + 1, data + size);
  if (!(data[0] & 2)) Test::seal(bytes, source, destination);

  const auto first = codec.decode(bytes, source, destination);
  if (!first.message) return 0;
  const std::string text = Test::textOf(*first.message);
  codec.encode(*first.message, source, destination, bytes);
  const auto second = codec.decode(bytes, source, destination);
  if (!second.message || Test::textOf(*second.message) != text || Test::textOf(*first.message) != text) {
    std::cerr << "first:  " << text << "\nsecond: " << toText(second.error) << '\n';
    if (second.message) std::cerr << Test::textOf(*second.message) << '\n';
    std::abort();
  }
  kept = second.message;
  return 0;
}
