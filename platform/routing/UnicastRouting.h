/// Where the way back to an address is looked up.
#pragma once

#include <string>

#include "platform/flume/Fib.h"
#include "platform/routing/Multicast.h"

namespace Routing {

/// Follows the unicast routes of a VRF under the name of the RPF source. Routes are asked for per
/// address, so there is no shadow to keep.
class UribRouteShadowSm : public Kiv::Counted {
 public:
  UribRouteShadowSm(std::string name, const Kiv::Ptr<const ::Flume::Fib::RouteStatus> &status)
      : name_(std::move(name)), status_(status) {}
  const std::string &name() const { return name_; }
  const Kiv::Ptr<RouteLookup> &routes() const { return status_->routes(); }

 private:
  const std::string name_;
  const Kiv::Ptr<const ::Flume::Fib::RouteStatus> status_;
};

/// Would hold the multicast topology, where one differs from the unicast one. None does here.
class MribTrieBuilder : public Kiv::Counted {
 public:
  MribTrieBuilder(std::string name, const Kiv::Ptr<const Multicast::Rib::Status> &status)
      : name_(std::move(name)), status_(status) {}
  const std::string &name() const { return name_; }

 private:
  const std::string name_;
  const Kiv::Ptr<const Multicast::Rib::Status> status_;
};

/// The sources of RPF together.
class UnicastRoutingStatus : public Kiv::Counted {
 public:
  UnicastRoutingStatus(const Kiv::Ptr<UribRouteShadowSm> &urib, const Kiv::Ptr<MribTrieBuilder> &mrib)
      : urib_(urib), mrib_(mrib) {}
  const Kiv::Ptr<RouteLookup> &routes() const { return urib_->routes(); }

 private:
  const Kiv::Ptr<UribRouteShadowSm> urib_;
  const Kiv::Ptr<MribTrieBuilder> mrib_;
};

}  // namespace Routing
