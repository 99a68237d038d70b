#include "daemon/file/Schema.h"

#include "daemon/file/Description.h"
#include "platform/system/AgentName.h"

namespace Routing::Pim::Bsr {

using nlohmann::ordered_json;

namespace {

template <class Type>
ordered_json texts(const Form<Type> &form) {
  return {{"type", "string"}, {"pattern", form.pattern}};
}

// Notes the members of one object.
class MemberSchema {
 public:
  explicit MemberSchema(const Scope &scope) : scope_(scope) {
    schema_ = {{"type", "object"}, {"properties", ordered_json::object()}, {"additionalProperties", false}};
  }

  template <class Settings>
  static ordered_json of(const Scope &scope, const Settings *) {
    MemberSchema members(scope);
    Settings settings = initial<Settings>(scope);
    describe(members, settings);
    return members.schema_;
  }
  template <class Settings>
  static ordered_json of(const Scope &scope, const std::vector<Settings> *) {
    return {{"type", "array"}, {"items", of(scope, static_cast<const Settings *>(nullptr))}};
  }

  const Scope &scope() const { return scope_; }

  template <class Field>
  void number(const char *name, Field &field, uint64_t least, uint64_t most, const char *help) {
    computed(name, field, least, most, help);
    property(name)["default"] = field;
  }
  template <class Field>
  void computed(const char *name, Field &, uint64_t least, uint64_t most, const char *help) {
    propertyIs(name, help, {{"type", "integer"}, {"minimum", least}, {"maximum", most}});
  }
  template <class Field>
  void word(const char *name, Field &field, const Words<Field> &words, const char *help) {
    ordered_json known = ordered_json::array();
    const char *initially = nullptr;
    for (const auto &[text, value] : words) {
      known.push_back(text);
      if (value == field) initially = text;
    }
    propertyIs(name, help, {{"enum", known}, {"default", initially}});
  }
  template <class Field>
  void text(const char *name, Field &, const Form<Field> &form, const char *help) {
    propertyIs(name, help, texts(form));
  }
  template <class Container>
  void list(const char *name, Container &, const Form<typename Container::value_type> &form, const char *help) {
    propertyIs(name, help, {{"type", "array"}, {"items", texts(form)}, {"uniqueItems", true}});
  }
  template <class Settings>
  void object(const char *name, const Settings &, const char *help) {
    propertyIs(name, help, of(scope_, static_cast<const Settings *>(nullptr)));
  }
  template <class Map>
  void map(const char *name, Map &, const Form<typename Map::key_type> &form, const char *help) {
    const typename Map::mapped_type *element = nullptr;
    propertyIs(name, help,
               {{"type", "object"},
                {"propertyNames", {{"pattern", form.pattern}}},
                {"additionalProperties", of(scopeOf(scope_, typename Map::key_type()), element)}});
  }
  template <class Action, class Field>
  void either(Action &, const Words<Action> &words, Field &, const Form<Field> &form, const char *help) {
    for (const auto &[name, value] : words) propertyIs(name, help, texts(form));
    schema_["minProperties"] = schema_["maxProperties"] = 1;
  }
  void needsOne(const std::vector<const char *> &names, const char *) {
    ordered_json ways = ordered_json::array();
    for (const char *name : names) {
      ways.push_back({{"required", ordered_json::array({name})}, {"properties", {{name, {{"minProperties", 1}}}}}});
    }
    schema_["anyOf"] = ways;
  }

 private:
  ordered_json &property(const char *name) { return schema_["properties"][name]; }
  void propertyIs(const char *name, const char *help, const ordered_json &schema) {
    property(name) = {{"description", help}};
    property(name).update(schema);
  }

  const Scope scope_;
  ordered_json schema_;
};

}  // namespace

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
