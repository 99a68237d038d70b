/// Reads a configuration file according to its description.
#pragma once

#include <algorithm>

#include "daemon/file/Description.h"
#include "daemon/file/JsonText.h"
#include "daemon/file/ObjectReader.h"
#include "daemon/file/Places.h"

namespace Routing::Pim::Bsr {

/// Fills the settings of one object from its JSON. A bad member becomes an error, and its field keeps its
/// value; an entry with a good key is created even if its members are bad.
class MemberReader {
 public:
  /// What all objects of one file share.
  struct File {
    Findings &findings;
    Places places;
  };

  /// `entry` is the path of the object for Places.
  MemberReader(const nlohmann::json &value, std::string path, std::string entry, const Scope &scope, File &file)
      : object_(value, std::move(path), file.findings), entry_(std::move(entry)), scope_(scope), file_(file) {}

  template <class Settings>
  static void read(const nlohmann::json &value, const std::string &path, const std::string &entry, const Scope &scope,
                   File &file, Settings &settings) {
    MemberReader members(value, path, entry, scope, file);
    describe(members, settings);
    members.object_.noOthers();
  }

  const Scope &scope() const { return scope_; }

  template <class Field>
  void number(const char *name, Field &field, uint64_t least, uint64_t most, const char *) {
    if (const auto given = object_.number(name, least, most)) field = static_cast<Field>(*given);
  }

  template <class Field>
  void computed(const char *name, Field &field, uint64_t least, uint64_t most, const char *help) {
    field = 0;
    number(name, field, least, most, help);
  }

  void real(const char *name, double &field, double least, double most, const char *) {
    if (const auto given = object_.real(name, least, most)) field = *given;
  }
  template <class Field>
  void option(const char *name, std::optional<Field> &field, Field least, Field most, const char *) {
    if constexpr (std::is_integral_v<Field>) {
      if (const auto given = object_.number(name, least, most)) field = static_cast<Field>(*given);
    } else {
      if (const auto given = object_.real(name, least, most)) field = *given;
    }
  }

  void json(const char *name, nlohmann::json &field, const char *) {
    if (const nlohmann::json *given = object_.find(name)) {
      readElement(*given, object_.path(name), pathTo(entry_, name), scope_, field);
    }
  }

  template <class Field>
  void word(const char *name, Field &field, const Words<Field> &words, const char *) {
    std::vector<std::string> known;
    for (const auto &[text, value] : words) known.emplace_back(text);
    const auto given = object_.word(name, known);
    for (const auto &[text, value] : words) {
      if (given == text) field = value;
    }
  }

  template <class Field>
  void text(const char *name, Field &field, const Form<Field> &form, const char *) {
    const auto given = object_.text(name);
    if (!given) return;
    if (const auto value = parsed(form, *given, object_.path(name))) field = *value;
  }

  template <class Container>
  void list(const char *name, Container &field, const Form<typename Container::value_type> &form, const char *) {
    const std::string entries = pathTo(entry_, name);
    object_.elements(name, [&](const std::string &, const nlohmann::json &element, const std::string &path) {
      if (!element.is_string()) return file_.findings.error(path, mustBe("a string", element));
      const auto value = parsed(form, element.get<std::string>(), path);
      if (!value) return;
      if (std::find(field.begin(), field.end(), *value) != field.end()) {
        return file_.findings.error(path, shown(element) + " is listed twice");
      }
      field.insert(field.end(), *value);
      file_.places.placeIs(pathTo(entries, form.write(*value)), path);
    });
  }

  template <class Settings>
  void object(const char *name, Settings &field, const char *) {
    if (const nlohmann::json *given = object_.find(name)) {
      read(*given, object_.path(name), pathTo(entry_, name), scope_, file_, field);
    }
  }

  template <class Settings>
  void objects(const char *name, std::vector<Settings> &field, const char *) {
    if (const nlohmann::json *given = object_.find(name)) {
      readElement(*given, object_.path(name), pathTo(entry_, name), scope_, field);
    }
  }

  template <class Map>
  void map(const char *name, Map &field, const Form<typename Map::key_type> &form, const char *) {
    const std::string entries = pathTo(entry_, name);
    object_.each(name, [&](const std::string &text, const nlohmann::json &value, const std::string &path) {
      const auto key = parsed(form, text, path);
      if (!key) return;
      const std::string entry = pathTo(entries, form.write(*key));
      const Scope scope = scopeOf(scope_, *key);
      const auto [place, isNew] = field.emplace(*key, initial<typename Map::mapped_type>(scope));
      if (!isNew) return file_.findings.error(path, "is given twice, also as " + file_.places.of(entry));
      file_.places.placeIs(entry, path);
      readElement(value, path, entry, scope, place->second);
    });
  }

  template <class Action, class Field>
  void either(Action &action, const Words<Action> &words, Field &field, const Form<Field> &form, const char *help) {
    size_t given = 0;
    std::string names;
    for (const auto &[name, value] : words) {
      names += (names.empty() ? "" : " or ") + std::string(name);
      if (object_.has(name)) ++given, action = value;
      text(name, field, form, help);
    }
    if (given != 1 && object_.isObject()) file_.findings.error(object_.path(), "must have either " + names);
  }

  void needsOne(const std::vector<const char *> &names, const char *lack) {
    const auto hasEntry = [this](const char *name) { return object_.hasEntries(name); };
    if (!object_.isObject() || std::any_of(names.begin(), names.end(), hasEntry)) return;
    file_.findings.error(object_.path(), lack);
  }

 private:
  template <class Settings>
  void readElement(const nlohmann::json &value, const std::string &path, const std::string &entry, const Scope &scope,
                   Settings &settings) {
    read(value, path, entry, scope, file_, settings);
  }
  void readElement(const nlohmann::json &value, const std::string &path, const std::string &, const Scope &,
                   nlohmann::json &field) {
    if (!value.is_object()) return file_.findings.error(path, mustBe("an object", value));
    field = value;
  }
  template <class Settings>
  void readElement(const nlohmann::json &value, const std::string &path, const std::string &entry, const Scope &scope,
                   std::vector<Settings> &settings) {
    if (!value.is_array()) return file_.findings.error(path, mustBe("a list", value));
    for (size_t i = 0; i < value.size(); ++i) {
      const std::string number = std::to_string(i);
      read(value[i], pathTo(path, number), pathTo(entry, number), scope, file_,
           settings.emplace_back(initial<Settings>(scope)));
    }
  }

  /// An error where the form refuses the text.
  template <class Type>
  std::optional<Type> parsed(const Form<Type> &form, const std::string &text, const std::string &path) {
    try {
      return form.read(text);
    } catch (const Kiv::RangeError &error) {
      file_.findings.error(path, error.what());
      return std::nullopt;
    }
  }

  ObjectReader object_;
  const std::string entry_;
  const Scope scope_;
  File &file_;
};

}  // namespace Routing::Pim::Bsr
