/// The JSON Schema of a file, according to its description.
#pragma once

#include <nlohmann/json.hpp>

#include "daemon/file/Description.h"

namespace Routing::Pim::Bsr {

/// Notes the members of one object.
class MemberSchema {
 public:
  explicit MemberSchema(const Scope &scope) : scope_(scope) {
    schema_ = {{"type", "object"}, {"properties", nlohmann::ordered_json::object()}, {"additionalProperties", false}};
  }

  template <class Settings>
  static nlohmann::ordered_json of(const Scope &scope, const Settings *) {
    MemberSchema members(scope);
    Settings settings = initial<Settings>(scope);
    describe(members, settings);
    return members.schema_;
  }
  static nlohmann::ordered_json of(const Scope &, const nlohmann::json *) { return {{"type", "object"}}; }
  template <class Settings>
  static nlohmann::ordered_json of(const Scope &scope, const std::vector<Settings> *) {
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
  void real(const char *name, double field, double least, double most, const char *help) {
    propertyIs(name, help, {{"type", "number"}, {"minimum", least}, {"maximum", most}, {"default", field}});
  }
  template <class Field>
  void option(const char *name, const std::optional<Field> &, Field least, Field most, const char *help) {
    propertyIs(name, help,
               {{"type", std::is_integral_v<Field> ? "integer" : "number"}, {"minimum", least}, {"maximum", most}});
  }
  void json(const char *name, const nlohmann::json &, const char *help) {
    propertyIs(name, help, {{"type", "object"}});
  }
  template <class Field>
  void word(const char *name, Field &field, const Words<Field> &words, const char *help) {
    nlohmann::ordered_json known = nlohmann::ordered_json::array();
    const char *initially = nullptr;
    for (const auto &[text, value] : words) {
      known.push_back(text);
      if (value == field) initially = text;
    }
    propertyIs(name, help, {{"enum", known}, {"default", initially}});
  }
  template <class Field>
  void text(const char *name, Field &, const Form<Field> &form, const char *help) {
    propertyIs(name, help, texts(form.pattern));
  }
  template <class Container>
  void list(const char *name, Container &, const Form<typename Container::value_type> &form, const char *help) {
    propertyIs(name, help, {{"type", "array"}, {"items", texts(form.pattern)}, {"uniqueItems", true}});
  }
  template <class Settings>
  void object(const char *name, const Settings &, const char *help) {
    propertyIs(name, help, of(scope_, static_cast<const Settings *>(nullptr)));
  }
  template <class Settings>
  void objects(const char *name, const std::vector<Settings> &, const char *help) {
    propertyIs(name, help, of(scope_, static_cast<const std::vector<Settings> *>(nullptr)));
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
    for (const auto &[name, value] : words) {
      propertyIs(name, help, texts(form.pattern));
      schema_["oneOf"].push_back({{"required", {name}}});
    }
  }
  void needsOne(const std::vector<const char *> &names, const char *) {
    nlohmann::ordered_json ways = nlohmann::ordered_json::array();
    for (const char *name : names) {
      ways.push_back(
          {{"required", nlohmann::ordered_json::array({name})}, {"properties", {{name, {{"minProperties", 1}}}}}});
    }
    schema_["anyOf"] = ways;
  }

 private:
  static nlohmann::ordered_json texts(const std::string &pattern) { return {{"type", "string"}, {"pattern", pattern}}; }
  nlohmann::ordered_json &property(const char *name) { return schema_["properties"][name]; }
  void propertyIs(const char *name, const char *help, const nlohmann::ordered_json &schema) {
    property(name) = {{"description", help}};
    property(name).update(schema);
  }

  const Scope scope_;
  nlohmann::ordered_json schema_;
};

}  // namespace Routing::Pim::Bsr
