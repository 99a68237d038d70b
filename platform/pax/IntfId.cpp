#include "platform/pax/IntfId.h"

#include <ostream>
#include <tuple>
#include <unordered_set>

#include "platform/pax/Ranged.h"

namespace Pax {

// All that there are. Never destroyed, since ids are static too.
struct IntfId::Records {
  struct Hash {
    using is_transparent = void;
    size_t operator()(const Names &names) const {
      return std::hash<std::string_view>()(names.name) * 31 + std::hash<std::string_view>()(names.vrf);
    }
    size_t operator()(const Record *record) const { return record->hash; }
  };
  struct Equal {
    using is_transparent = void;
    bool operator()(const Names &names, const Record *record) const { return names == record->names(); }
    bool operator()(const Record *record, const Names &names) const { return names == record->names(); }
    bool operator()(const Record *one, const Record *other) const { return one == other; }
  };
  static std::unordered_set<const Record *, Hash, Equal> &all() {
    static auto &records = *new std::unordered_set<const Record *, Hash, Equal>;
    return records;
  }
};

IntfId::Record::Record(const Names &names) : vrf(names.vrf), name(names.name), hash(Records::Hash()(names)) {
  Records::all().insert(this);
}

IntfId::Record::~Record() { Records::all().erase(this); }

Kiv::Ptr<const IntfId::Record> IntfId::recordOf(const Names &names) {
  const auto present = Records::all().find(names);
  return present != Records::all().end() ? Kiv::Ptr<const Record>(*present) : Kiv::make<const Record>(names);
}

IntfId::IntfId(std::string_view vrf, std::string_view name)
    : record_(recordOf({vrf.empty() ? L3::defaultVrf : vrf, name})) {}

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
