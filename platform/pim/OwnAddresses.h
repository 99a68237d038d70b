/// The addresses of all interfaces of a VRF, to be asked with each Hello.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "platform/ip/IntfStatus.h"
#include "platform/kiv/Table.h"

namespace Routing::Pim::IO {

/// It follows the interfaces and their addresses, and gathers them anew when it is asked after a change.
class OwnAddresses {
 public:
  explicit OwnAddresses(const Kiv::Ptr<const Ip::AllIntfStatusDir> &interfaces);
  ~OwnAddresses();
  /// Whether an interface has the address.
  bool contains(const Pax::IpGenAddr &address);
  /// Another one after each change.
  uint32_t version() const { return version_; }

 private:
  class DirReactor;
  class IntfReactor;
  void follow(const Pax::IntfId &intfId);
  void gather();

  const Kiv::Ptr<const Ip::AllIntfStatusDir> interfaces_;
  std::vector<Pax::IpGenAddr> sorted_;
  uint32_t version_ = 1;
  uint32_t gathered_ = 0;  // the version of sorted_
  Kiv::Table<Pax::IntfId, std::unique_ptr<IntfReactor>> intfReactor_;
  std::unique_ptr<DirReactor> dirReactor_;
};

}  // namespace Routing::Pim::IO
