/// Access lists as operators configure them. The rules of a list apply in the order of their sequence numbers,
/// whatever the order in which they were added; the first that matches decides, and what no rule matches is
/// denied. Written by the configuration, read by everybody else.
#pragma once

#include <string>

#include "platform/kiv/Attributes.h"
#include "platform/pax/IpGenPrefix.h"
#include "platform/pax/Ranged.h"

namespace Acl {

/// Bounds of the two 24-bit identifiers of a rule.
struct VniRule {
  using Rep = uint32_t;
  static constexpr uint64_t least = 0, most = 16777215;
  static constexpr Rep initial = 0;
  static constexpr const char *text = "IpFilterBase::vni < 0 or > 16777215 not allowed";
};
struct TniRule : VniRule {
  static constexpr const char *text = "IpFilterBase::tni < 0 or > 16777215 not allowed";
};

enum class Action : uint8_t { permit, deny };
std::ostream &operator<<(std::ostream &out, Action action);

/// What a rule matches. Only the source decides what an ACL permits here; the identifiers are kept and shown. A
/// source of length zero matches every address of its family, an empty one matches nothing.
struct IpFilterBase {
  Pax::IpGenPrefix source;
  Pax::Ranged<VniRule> vni{};  ///< virtual network identifier, 24 bits
  Pax::Ranged<TniRule> tni{};  ///< tunnel identifier, 24 bits
  bool operator==(const IpFilterBase &) const = default;
};

struct IpRule {
  Action action = Action::deny;
  IpFilterBase filter;
  bool operator==(const IpRule &) const = default;
};
/// "permit 10.0.0.0/8", "deny any".
std::ostream &operator<<(std::ostream &out, const IpRule &rule);

/// One set of rules. It may be changed in place, rule by rule, or built aside and put in force as a whole by
/// setting `AclConfig::currCfg`.
class AclSubConfig : public Kiv::Entity {
  KIV_ENTITY_WITH(AclSubConfig, values, uint32_t, IpRule, ruleBySequence, RuleBySequence)
};

/// An ACL and its rules in force. Without a `currCfg` it permits nothing.
class AclConfig : public Kiv::NamedEntity {
 public:
  using NamedEntity::NamedEntity;
  KIV_ENTITY_WITH(AclConfig, pointer, AclSubConfig, currCfg, CurrCfg)
};

namespace Input {

/// All ACLs of one address family, by name.
class Config : public Kiv::Entity {
  KIV_ENTITY_WITH(Config, map, std::string, AclConfig, acl, Acl)
};

}  // namespace Input

}  // namespace Acl
