/// Status of the router's interfaces and their addresses, as the backend learns it from the kernel or makes it in
/// a simulation.
#pragma once

#include <cstdint>

#include "platform/kiv/Attributes.h"
#include "platform/pax/IntfId.h"
#include "platform/pax/IpGenPrefix.h"

namespace Ip {

/// What is known about one address of an interface. Written by the backend.
struct AddressInfo {
  Pax::IpGenPrefix subnet;  ///< the on-link prefix
  bool secondary = false;   ///< an IPv4 secondary
  bool global = true;       ///< of global scope; false for link, host and site scope
  bool usable = true;       ///< not tentative, failed, deprecated or temporary
  bool operator==(const AddressInfo &) const = default;
};
/// "10.0.0.0/24 secondary local unusable", with only the words that apply.
std::ostream &operator<<(std::ostream &out, const AddressInfo &info);

/// One interface. The backend writes `adminUp`, `up`, `mtu` (bytes, the link's) and `address`, then calls
/// chooseAddresses(), which writes the two chosen addresses. Everybody else only reads.
class IntfStatus : public Kiv::Entity {
 public:
  explicit IntfStatus(const Pax::IntfId &intfId) : intfId_(intfId) {}
  const Pax::IntfId &intfId() const { return intfId_; }

#define ATTRIBUTES(ATTRIBUTE)                                      \
  /* set up by the operator, whether there is a carrier or not */  \
  ATTRIBUTE(value, bool, adminUp, AdminUp, false)                  \
  /* up and with a carrier: packets can pass */                    \
  ATTRIBUTE(value, bool, up, Up, false)                            \
  ATTRIBUTE(value, uint32_t, mtu, Mtu, 0)                          \
  ATTRIBUTE(values, Pax::IpGenAddr, AddressInfo, address, Address) \
  /* the address of candidates; stays chosen while it is there */  \
  ATTRIBUTE(value, Pax::IpGenAddr, ipAddr, IpAddr, {})             \
  /* source of Hello and Bootstrap messages */                     \
  ATTRIBUTE(value, Pax::IpGenAddr, pimAddr, PimAddr, {})
  KIV_ENTITY(IntfStatus, ATTRIBUTES)
#undef ATTRIBUTES

 private:
  const Pax::IntfId intfId_;
};

/// Sets `ipAddr` and `pimAddr` from the addresses of the family, in the order in which the backend added them. To
/// be called after every change of `address` or `adminUp`.
///
/// `ipAddr` is the first address that is global, usable and neither loopback nor link-local. It stays chosen as
/// long as it is there and fits. It is unset while the interface is administratively down, where the kernel
/// leaves an IPv4 address in place. `pimAddr` is, for IPv4, the first usable address that is not secondary, for
/// IPv6 the first usable link-local address, up or down.
void chooseAddresses(IntfStatus &intf, Pax::AddressFamily family);

/// All interfaces of a VRF ("interface/status/all").
class AllIntfStatusDir : public Kiv::Entity {
  KIV_ENTITY_WITH(AllIntfStatusDir, map, Pax::IntfId, IntfStatus, intfStatus, IntfStatus)
};

}  // namespace Ip
