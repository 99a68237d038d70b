#include "platform/acl/Acl.h"

#include <ostream>

namespace Acl {

std::ostream &operator<<(std::ostream &out, Action action) {
  return out << (action == Action::permit ? "permit" : "deny");
}

std::ostream &operator<<(std::ostream &out, const IpRule &rule) {
  out << rule.action << ' ';
  if (rule.filter.source.length() == 0 && !rule.filter.source.isEmpty()) {
    out << "any";
  } else {
    out << rule.filter.source;
  }
  if (rule.filter.vni.number() != 0) out << " vni " << rule.filter.vni;
  if (rule.filter.tni.number() != 0) out << " tni " << rule.filter.tni;
  return out;
}

}  // namespace Acl
