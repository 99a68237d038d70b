/// Who is on one link, from what saved routers heard of one another.
#pragma once

#include "plan/SavedRouter.h"

namespace Planning {

/// An interface of a saved router.
struct SavedEnd {
  const SavedRouter *router = nullptr;
  std::string vrf;
  std::string interface;
  const SavedInterface *saved = nullptr;
};

/// "r1:eth0", "r1/blue:eth0".
std::string memberText(const SavedEnd &end);

/// A neighbor that no saved router is.
struct Stranger {
  std::string name;  ///< "unknown1"
  SavedNeighbor saved;
};

struct SavedLink {
  std::vector<SavedEnd> ends;
  std::vector<Stranger> strangers;
};

struct Wiring {
  std::vector<SavedLink> links;    ///< in the order of their first ends
  std::vector<std::string> notes;  ///< what had to be assumed, for people
};

/// A neighbor is the interface that has its address, and lists ours among its own neighbors. Where several do, as
/// where a link-local address is the same on all links of a router, those are on our link that have an address of the
/// neighbor's, or of its subnet. The routers are in their order, and outlive the wiring.
Wiring wiringOf(const std::vector<SavedRouter> &routers);

}  // namespace Planning
