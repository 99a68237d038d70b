/// The sources of the RPF lookup in a VRF. ContainerSm makes them and owns them; they write nothing.
#pragma once

#include <string>

#include "platform/flume/Fib.h"
#include "platform/routing/Multicast.h"

namespace Routing {

/// The unicast routes of a VRF under the name of the RPF source. Since routes are asked for one address at a time,
/// there is no shadow table to keep.
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

/// A multicast topology of its own, if a router had one. None has here: only the name is needed.
class MribTrieBuilder : public Kiv::Counted {
 public:
  MribTrieBuilder(std::string name, const Kiv::Ptr<const Multicast::Rib::Status> &status)
      : name_(std::move(name)), status_(status) {}
  const std::string &name() const { return name_; }

 private:
  const std::string name_;
  const Kiv::Ptr<const Multicast::Rib::Status> status_;
};

/// Both sources together. Lookups use the unicast routes; the multicast topology is only kept.
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
