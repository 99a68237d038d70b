#include "platform/pax/IntfId.h"

#include <ostream>
#include <tuple>

#include "platform/pax/Ranged.h"

namespace Pax {

IntfId::Record::Record(std::string_view vrf, std::string_view name) : vrf(vrf), name(name) {}

IntfId::IntfId(std::string_view vrf, std::string_view name)
    : record_(Kiv::make<const Record>(vrf.empty() ? L3::defaultVrf : vrf, name)),
      hash_(std::hash<std::string_view>()(name) * 31 + std::hash<std::string_view>()(record_->vrf)) {}

bool IntfId::isSameName(const IntfId &other) const {
  return record_->name == other.record_->name && record_->vrf == other.record_->vrf;
}

IntfId IntfId::fromText(std::string_view text) {
  if (text.empty()) return {};
  const size_t slash = text.find('/');
  if (slash == std::string_view::npos) return {L3::defaultVrf, text};
  const std::string_view vrf = text.substr(0, slash), name = text.substr(slash + 1);
  if (vrf.empty() || name.empty() || name.find('/') != std::string_view::npos) {
    throw Kiv::RangeError("not an interface: \"" + std::string(text) + "\"");
  }
  return {vrf, name};
}

std::strong_ordering IntfId::operator<=>(const IntfId &other) const {
  if (record_ == other.record_) return std::strong_ordering::equal;
  return std::tuple(vrf(), name()) <=> std::tuple(other.vrf(), other.name());
}

std::ostream &operator<<(std::ostream &out, const IntfId &intfId) {
  if (!intfId.isEmpty() && intfId.vrf() != L3::defaultVrf) out << intfId.vrf() << '/';
  return out << intfId.name();
}

}  // namespace Pax
