#include "daemon/file/Schema.h"

#include "daemon/file/MemberSchema.h"
#include "platform/system/AgentName.h"

namespace Routing::Pim::Bsr {

using nlohmann::ordered_json;

ordered_json configurationSchema(Pax::AddressFamily family) {
  Configuration empty;
  empty.family = family;
  ordered_json schema = {{"$schema", "http://json-schema.org/draft-07/schema#"},
                         {"title", std::string("Configuration of ") + agentName(family)}};
  schema.update(MemberSchema::of({empty, ""}, static_cast<const Configuration *>(nullptr)));
  return schema;
}

std::string schemaText(Pax::AddressFamily family) { return configurationSchema(family).dump(2) + "\n"; }

}  // namespace Routing::Pim::Bsr
