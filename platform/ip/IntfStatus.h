/// Interface and address status of the router's interfaces, as the backend learns it.
#pragma once

#include <cstdint>

#include "platform/kiv/Attributes.h"
#include "platform/pax/IntfId.h"
#include "platform/pax/IpGenPrefix.h"

namespace Ip {

/// What is known of one address of an interface. Written by the backend.
struct AddressInfo {
  Pax::IpGenPrefix subnet;  ///< the on-link prefix
  bool secondary = false;   ///< an IPv4 secondary
  bool global = true;       ///< of global scope; false for link, host and site scope
  bool usable = true;       ///< not tentative, failed, deprecated or temporary
  bool operator==(const AddressInfo &) const = default;
};
std::ostream &operator<<(std::ostream &out, const AddressInfo &info);

/// One interface. The backend writes `adminUp`, `up`, `mtu` and `address`; the two chosen addresses
/// follow through chooseAddresses().
class IntfStatus : public Kiv::Entity {
 public:
  explicit IntfStatus(const Pax::IntfId &intfId) : intfId_(intfId) {}
  const Pax::IntfId &intfId() const { return intfId_; }

#define ATTRIBUTES(ATTRIBUTE)                                                  \
  /* administratively, whether there is a carrier or not */                    \
  ATTRIBUTE(value, bool, adminUp, AdminUp, false)                              \
  /* administratively and operationally: packets can pass */                   \
  ATTRIBUTE(value, bool, up, Up, false)                                        \
  ATTRIBUTE(value, uint32_t, mtu, Mtu, 0)                                      \
  ATTRIBUTE(values, Pax::IpGenAddr, AddressInfo, address, Address)             \
  /* the first global address of the family; stays chosen while it is there */ \
  ATTRIBUTE(value, Pax::IpGenAddr, ipAddr, IpAddr, {})                         \
  /* source of Hello and Bootstrap messages */                                 \
  ATTRIBUTE(value, Pax::IpGenAddr, pimAddr, PimAddr, {})
  KIV_ENTITY(IntfStatus, ATTRIBUTES)
#undef ATTRIBUTES

 private:
  const Pax::IntfId intfId_;
};

/// Sets `ipAddr` and `pimAddr` of the family from the addresses present, in the order in which the
/// backend added them. `ipAddr`, only while the interface is administratively up, since the kernel
/// leaves an IPv4 address in place when it goes down: the first that is global, usable and neither
/// loopback nor link-local; it stays while it is there and still is all that. `pimAddr`: for IPv4
/// the first usable that is not secondary, for IPv6 the first usable link-local. Call after a change
/// of `address` or `adminUp`.
void chooseAddresses(IntfStatus &intf, Pax::AddressFamily family);

/// All interfaces of a VRF ("interface/status/all").
class AllIntfStatusDir : public Kiv::Entity {
#define ATTRIBUTES(ATTRIBUTE) ATTRIBUTE(map, Pax::IntfId, IntfStatus, intfStatus, IntfStatus)
  KIV_ENTITY(AllIntfStatusDir, ATTRIBUTES)
#undef ATTRIBUTES
};

}  // namespace Ip
