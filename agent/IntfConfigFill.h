/// The one way in which a VRF's VrfIntfConfig is filled.
#pragma once

#include <functional>

#include "agent/Container.h"

namespace Routing::Pim::Bsr {

/// A VRF has the configuration of its interfaces that are there, and of no others. RootSm calls when configuration
/// changes and when a VRF or its interfaces appear, ContainerSm as the VRF starts and for interfaces that come and go
/// while it runs.
/// Made for a call; what it refers to outlives it.
class IntfConfigFill {
 public:
  enum class Step { add, remove, missing };  ///< missing: configured, but the interface is not there
  using Say = std::function<void(Step step, const Pax::IntfId &intfId)>;

  /// Null `interfaces` are not known: then none is there, and what the VRF has stays while it is configured. `say` is
  /// called before anything is written.
  IntfConfigFill(const Container &container, const Ip::AllIntfStatusDir *interfaces, Say say)
      : configColl_(*container.configColl),
        interfaces_(interfaces),
        own_(*container.vrfIntfConfig),
        say_(std::move(say)) {}

  /// Every interface that the VRF had or has.
  void all() const;
  void one(const Pax::IntfId &intfId) const;

 private:
  const ConfigColl &configColl_;
  const Ip::AllIntfStatusDir *const interfaces_;
  VrfIntfConfig &own_;
  const Say say_;
};

}  // namespace Routing::Pim::Bsr
