/// The texts that stand for values in a configuration file: how each is read, written and described.
#pragma once

#include <functional>
#include <string>

#include "daemon/file/Configuration.h"

namespace Routing::Pim::Bsr {

/// Where in the file a member stands.
struct Scope {
  const Configuration &file;  ///< all of it, or what has been read so far
  std::string vrf;            ///< the VRF that the member belongs to, if any
};

/// The form of one kind of text.
template <class Type>
struct Form {
  /// Throws Kiv::RangeError, whose text says what is wrong.
  std::function<Type(const std::string &text)> read;
  std::function<std::string(const Type &value)> write;
  /// A regular expression for the JSON Schema. It matches every text that is accepted, and some that are
  /// refused (a prefix with host bits).
  std::string pattern;
};

Form<L3::VrfName> vrfNames();
/// Only those that `pim` names.
Form<L3::VrfName> vrfNamesPresent(const Scope &scope);
Form<Pax::NamespaceName> namespaceNames(const Scope &scope);
/// Of a vrf device.
Form<std::string> deviceNames(const Scope &scope);
/// NAME, an interface of the VRF of the scope.
Form<Pax::IntfId> interfaceNames(const Scope &scope);
/// NAME or VRF/NAME. A bare name that `pim` lists in exactly one VRF is of that one, any other of the
/// default VRF.
Form<Pax::IntfId> interfaceKeys(const Scope &scope);
/// A prefix of the family without host bits, all of whose addresses are groups.
Form<Pax::IpGenPrefix> groupRanges(const Scope &scope);
/// "any", or a prefix of the family without host bits.
Form<Pax::IpGenPrefix> aclSources(const Scope &scope);
Form<std::string> aclNames();
/// ADDRESS:PORT, an IPv6 address in brackets; PORT alone is on 127.0.0.1.
Form<Endpoint> endpoints();

}  // namespace Routing::Pim::Bsr
