#include "daemon/file/Forms.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <optional>

#include "daemon/file/ObjectReader.h"

namespace Routing::Pim::Bsr {

namespace {

using Kiv::RangeError;
using Kiv::toText;

bool isBlank(char c) { return std::strchr(" \t\n\v\f\r", c) != nullptr; }

// The kernel's own rule.
constexpr const char *interfacePattern = "[^/:\\s]{1,15}";

void checkInterface(const std::string &name) {
  const bool good = !name.empty() && name.size() <= 15 && name != "." && name != ".." &&
                    std::none_of(name.begin(), name.end(), [](char c) { return c == '/' || c == ':' || isBlank(c); });
  if (good) return;
  throw RangeError(shown(name) + " is not an interface name (1 to 15 bytes without blanks, '/' or ':')");
}

void checkPresent(const Scope &scope, const L3::VrfName &vrf) {
  if (!scope.file.pim.contains(vrf)) throw RangeError("VRF " + vrf.text() + " is not in pim");
}

// The only VRF of `pim` with an interface of this name.
std::optional<Pax::IntfId> onlyListed(const Configuration &file, const std::string &name) {
  std::optional<Pax::IntfId> only;
  for (const auto &[vrf, pim] : file.pim) {
    const Pax::IntfId intfId(vrf.text(), name);
    if (std::find(pim.interfaces.begin(), pim.interfaces.end(), intfId) == pim.interfaces.end()) continue;
    if (only) return std::nullopt;
    only = intfId;
  }
  return only;
}

Pax::IntfId interfaceOfBareName(const Scope &scope, const std::string &name) {
  checkInterface(name);
  if (const auto only = onlyListed(scope.file, name)) return *only;
  if (scope.file.pim.contains(L3::defaultVrf)) return {L3::defaultVrf, name};
  throw RangeError(shown(name) + " is not listed in exactly one VRF of pim; write VRF/" + name);
}

Pax::IntfId readInterfaceKey(const Scope &scope, const std::string &text) {
  const size_t slash = text.find('/');
  if (slash == text.npos) return interfaceOfBareName(scope, text);
  const std::string name = text.substr(slash + 1);
  const L3::VrfName vrf = vrfNames().read(text.substr(0, slash));
  checkInterface(name);
  checkPresent(scope, vrf);
  return {vrf.text(), name};
}

std::string writeInterfaceKey(const Scope &scope, const Pax::IntfId &intfId) {
  const std::string name(intfId.name());
  const bool elsewhere = intfId.vrf() == L3::defaultVrf && onlyListed(scope.file, name).value_or(intfId) != intfId;
  return elsewhere ? std::string(L3::defaultVrf) + "/" + name : toText(intfId);
}

const char *familyName(Pax::AddressFamily family) { return family == Pax::AddressFamily::ipv6 ? "IPv6" : "IPv4"; }

template <class Type>
std::optional<Type> parsed(std::string_view text) {
  try {
    return Type::fromText(text);
  } catch (const RangeError &) {
    return std::nullopt;
  }
}

Pax::IpGenPrefix readPrefix(Pax::AddressFamily family, const std::string &text) {
  const auto prefix = parsed<Pax::IpGenPrefix>(text);
  if (!prefix || prefix->af() != family) throw RangeError(shown(text) + " is not an " + familyName(family) + " prefix");
  if (parsed<Pax::IpGenAddr>(text.substr(0, text.find('/'))) == prefix->address()) return *prefix;
  throw RangeError(shown(text) + " has host bits set; the prefix is " + toText(*prefix));
}

std::string prefixPattern(Pax::AddressFamily family, const char *ipv4First, const char *ipv6First) {
  if (family == Pax::AddressFamily::ipv6) {
    return std::string(ipv6First) + "[0-9a-fA-F:.]*/([0-9]|[1-9][0-9]|1[01][0-9]|12[0-8])";
  }
  return std::string(ipv4First) + "(\\.[0-9]{1,3}){3}/([0-9]|[12][0-9]|3[0-2])";
}

// 0 if it is none.
uint16_t portFrom(const std::string &text) {
  uint16_t port = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
  return error == std::errc() && end == text.data() + text.size() ? port : 0;
}

Endpoint readEndpoint(const std::string &text) {
  const size_t colon = text.rfind(':');
  const bool isPort = colon == text.npos;
  std::string host = isPort ? "127.0.0.1" : text.substr(0, colon);
  const bool isBracketed = host.size() > 2 && host.front() == '[' && host.back() == ']';
  if (isBracketed) host = host.substr(1, host.size() - 2);
  const auto address = parsed<Pax::IpGenAddr>(host);
  const uint16_t port = portFrom(isPort ? text : text.substr(colon + 1));
  if (address && (address->af() == Pax::AddressFamily::ipv6) == isBracketed && port != 0) return {*address, port};
  throw RangeError(shown(text) + " is not ADDRESS:PORT (as 127.0.0.1:9716 or [::1]:9716) or PORT");
}

std::string writeEndpoint(const Endpoint &endpoint) {
  const std::string address = toText(endpoint.address), port = std::to_string(endpoint.port);
  return (endpoint.address.af() == Pax::AddressFamily::ipv6 ? "[" + address + "]" : address) + ":" + port;
}

std::string whole(const std::string &pattern) { return "^" + pattern + "$"; }

}  // namespace

Form<L3::VrfName> vrfNames() {
  const auto read = [](const std::string &name) {
    const bool good = !name.empty() && name != "." && name != ".." &&
                      std::none_of(name.begin(), name.end(), [](char c) { return c == '/' || isBlank(c); });
    if (!good) throw RangeError(shown(name) + " is not a VRF name (not empty, '.' or '..', without blanks or '/')");
    return L3::VrfName(name);
  };
  return {read, toText<L3::VrfName>, whole("[^/\\s]{1,100}")};
}

Form<L3::VrfName> vrfNamesPresent(const Scope &scope) {
  Form<L3::VrfName> form = vrfNames();
  form.read = [scope, any = form.read](const std::string &name) {
    const L3::VrfName vrf = any(name);
    checkPresent(scope, vrf);
    return vrf;
  };
  return form;
}

Form<Pax::NamespaceName> namespaceNames(const Scope &scope) {
  const auto read = [isDefault = scope.vrf == L3::defaultVrf](const std::string &name) {
    if (isDefault) throw RangeError("the VRF default is the namespace that the program starts in, and takes no name");
    if (name.empty() || name == "." || name == "..") throw RangeError(shown(name) + " is not a namespace name");
    return Pax::NamespaceName(name);
  };
  return {read, toText<Pax::NamespaceName>, whole(".{1,150}")};
}

Form<std::string> deviceNames(const Scope &scope) {
  const auto read = [isDefault = scope.vrf == L3::defaultVrf](const std::string &name) {
    if (isDefault) throw RangeError("the VRF default is what belongs to no VRF device, and takes no device");
    checkInterface(name);
    return name;
  };
  return {read, toText<std::string>, whole(interfacePattern)};
}

Form<Pax::IntfId> interfaceNames(const Scope &scope) {
  const auto read = [vrf = scope.vrf](const std::string &name) {
    checkInterface(name);
    return Pax::IntfId(vrf, name);
  };
  return {read, [](const Pax::IntfId &intfId) { return std::string(intfId.name()); }, whole(interfacePattern)};
}

Form<Pax::IntfId> interfaceKeys(const Scope &scope) {
  return {[scope](const std::string &text) { return readInterfaceKey(scope, text); },
          [scope](const Pax::IntfId &intfId) { return writeInterfaceKey(scope, intfId); },
          whole(std::string("([^/\\s]{1,100}/)?") + interfacePattern)};
}

Form<Pax::IpGenPrefix> groupRanges(const Scope &scope) {
  const auto family = scope.file.family;
  const auto read = [family](const std::string &text) {
    const Pax::IpGenPrefix prefix = readPrefix(family, text);
    const Pax::IpGenPrefix groups = Pax::allGroups(family);
    if (!groups.covers(prefix))
      throw RangeError(shown(text) + " is not a range of multicast groups (" + toText(groups) + ")");
    return prefix;
  };
  return {read, toText<Pax::IpGenPrefix>, whole(prefixPattern(family, "2(2[4-9]|3[0-9])", "[fF][fF]"))};
}

Form<Pax::IpGenPrefix> aclSources(const Scope &scope) {
  const auto family = scope.file.family;
  const auto zero = family == Pax::AddressFamily::ipv6 ? Pax::IpGenAddr::v6(0, 0) : Pax::IpGenAddr::v4(0);
  const Pax::IpGenPrefix any(zero, 0);
  return {[any, family](const std::string &text) { return text == "any" ? any : readPrefix(family, text); },
          [any](const Pax::IpGenPrefix &prefix) { return prefix == any ? "any" : toText(prefix); },
          whole("(any|" + prefixPattern(family, "[0-9]{1,3}", "") + ")")};
}

Form<std::string> aclNames() {
  const auto read = [](const std::string &name) {
    if (name.empty()) throw RangeError("an ACL needs a name");
    return name;
  };
  return {read, toText<std::string>, whole(".+")};
}

Form<Endpoint> endpoints() {
  return {readEndpoint, writeEndpoint, whole("(([0-9.]{7,15}|\\[[0-9a-fA-F:.]{2,45}\\]):)?[0-9]{1,5}")};
}

}  // namespace Routing::Pim::Bsr
