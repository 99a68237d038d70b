#include "platform/ip/IntfStatus.h"

#include <ostream>

namespace Ip {

namespace {

bool isCandidate(const Pax::IpGenAddr &address, const AddressInfo &info) {
  return info.global && info.usable && !address.isLoopback() && !address.isLinkLocal();
}

bool isForPim(const Pax::IpGenAddr &address, const AddressInfo &info) {
  if (address.af() == Pax::AddressFamily::ipv4) return info.usable && !info.secondary;
  return info.usable && address.isLinkLocal();
}

Pax::IpGenAddr first(const IntfStatus &intf, Pax::AddressFamily family,
                     bool (&fits)(const Pax::IpGenAddr &, const AddressInfo &)) {
  for (const auto &[address, info] : intf.address()) {
    if (address.af() == family && fits(address, info)) return address;
  }
  return {};
}

}  // namespace

std::ostream &operator<<(std::ostream &out, const AddressInfo &info) {
  return out << info.subnet << (info.secondary ? " secondary" : "") << (info.global ? "" : " local")
             << (info.usable ? "" : " unusable");
}

void chooseAddresses(IntfStatus &intf, Pax::AddressFamily family) {
  const Pax::IpGenAddr chosen = intf.ipAddr();
  const AddressInfo *present = chosen.af() == family ? intf.address(chosen) : nullptr;
  const bool stays = intf.adminUp() && present && isCandidate(chosen, *present);
  const Pax::IpGenAddr forPim = first(intf, family, isForPim);
  if (!stays) intf.ipAddrIs(intf.adminUp() ? first(intf, family, isCandidate) : Pax::IpGenAddr());
  intf.pimAddrIs(forPim);
}

}  // namespace Ip
