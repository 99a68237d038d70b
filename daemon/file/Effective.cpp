#include "daemon/file/Effective.h"

#include "daemon/control/Request.h"
#include "daemon/file/Description.h"

namespace Routing::Pim::Bsr {

using nlohmann::ordered_json;

namespace {

// Writes the members of one object.
class MemberWriter {
 public:
  explicit MemberWriter(const Scope &scope) : scope_(scope) {}

  template <class Settings>
  static ordered_json written(const Scope &scope, Settings &settings) {
    MemberWriter members(scope);
    describe(members, settings);
    return members.object_;
  }
  template <class Settings>
  static ordered_json written(const Scope &scope, std::vector<Settings> &settings) {
    ordered_json list = ordered_json::array();
    for (Settings &element : settings) list.push_back(written(scope, element));
    return list;
  }

  const Scope &scope() const { return scope_; }

  template <class Field>
  void number(const char *name, const Field &field, uint64_t, uint64_t, const char *) {
    object_[name] = field;
  }
  template <class Field>
  void computed(const char *name, const Field &field, uint64_t, uint64_t, const char *) {
    object_[name] = field;
  }
  template <class Field>
  void word(const char *name, const Field &field, const Words<Field> &words, const char *) {
    for (const auto &[text, value] : words) {
      if (value == field) object_[name] = text;
    }
  }
  template <class Field>
  void text(const char *name, const Field &field, const Form<Field> &form, const char *) {
    if (!field.empty()) object_[name] = form.write(field);
  }
  template <class Container>
  void list(const char *name, const Container &field, const Form<typename Container::value_type> &form, const char *) {
    ordered_json &list = object_[name] = ordered_json::array();
    for (const auto &element : field) list.push_back(form.write(element));
  }
  template <class Settings>
  void object(const char *name, Settings &field, const char *) {
    object_[name] = written(scope_, field);
  }
  template <class Map>
  void map(const char *name, Map &field, const Form<typename Map::key_type> &form, const char *) {
    ordered_json &entries = object_[name] = ordered_json::object();
    for (auto &[key, element] : field) entries[form.write(key)] = written(scopeOf(scope_, key), element);
  }
  template <class Action, class Field>
  void either(const Action &action, const Words<Action> &words, const Field &field, const Form<Field> &form,
              const char *) {
    for (const auto &[name, value] : words) {
      if (value == action) object_[name] = form.write(field);
    }
  }
  void needsOne(const std::vector<const char *> &, const char *) {}

 private:
  const Scope scope_;
  ordered_json object_ = ordered_json::object();
};

}  // namespace

ordered_json configurationJson(const Configuration &configuration) {
  Configuration copy = configuration;  // what is described can be written to
  return MemberWriter::written({configuration, ""}, copy);
}

std::string effectiveText(const Configuration &configuration) {
  return Control::rowText(configurationJson(configuration));
}

}  // namespace Routing::Pim::Bsr
