#include "plan/PlanFile.h"

#include <filesystem>
#include <stdexcept>

#include "daemon/file/JsonPlaces.h"
#include "daemon/file/MemberReader.h"
#include "daemon/file/MemberSchema.h"
#include "plan/PlanText.h"
#include "plan/Resolver.h"
#include "platform/linux/RegularFile.h"

namespace Planning {

using namespace Routing::Pim::Bsr;

namespace {

constexpr size_t longestFile = 64 << 20;

}  // namespace

LoadedPlan planFromText(std::string_view text, const std::string &folder) {
  LoadedPlan loaded;
  PlanText written;
  const nlohmann::json root = parseJson(text, loaded.findings);
  if (!loaded.good() && !root.is_object()) return loaded;
  MemberReader::File file{loaded.findings, {}};
  MemberReader::read(root, "", "", {written.scope, ""}, file, written);
  Resolver(written, folder, loaded.plan, loaded.findings).resolve();
  findPlaces(text, loaded.findings);
  return loaded;
}

LoadedPlan planFromFile(const std::string &file) {
  std::string text;
  try {
    text = Linux::readRegularFile(file, longestFile);
  } catch (const std::runtime_error &error) {
    LoadedPlan unread;
    unread.findings.error("", std::string("cannot be read: ") + error.what());
    return unread;
  }
  return planFromText(text, std::filesystem::path(file).parent_path());
}

std::string planSchemaText() {
  nlohmann::ordered_json schema = {{"$schema", "http://json-schema.org/draft-07/schema#"},
                                   {"title", "Plan of pimbsr-sim"}};
  const Configuration empty;
  schema.update(MemberSchema::of({empty, ""}, static_cast<const PlanText *>(nullptr)));
  return schema.dump(2) + "\n";
}

}  // namespace Planning
