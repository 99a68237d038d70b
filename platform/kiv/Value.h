/// Attribute values in a general form, for reading and writing attributes by name.
///
/// What shows the state store, saves it or takes values from a file knows only this form. Everything else uses
/// the typed accessors of the entities, which never come here.
#pragma once

#include <concepts>
#include <cstdint>
#include <sstream>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>

#include "platform/kiv/RangeError.h"

namespace Kiv {

/// Numbers and booleans as themselves, every other type as text.
using Value = std::variant<bool, uint64_t, double, std::string>;

/// The value as operators read it: "true", "42", "10.0.0.1".
std::string toText(const Value &value);

/// The general form of a typed value: of an enumeration or an address, what `<<` prints.
template <class T>
Value toValue(const T &value) {
  if constexpr (std::is_same_v<T, bool>) {
    return value;
  } else if constexpr (std::unsigned_integral<T>) {
    return uint64_t{value};
  } else if constexpr (std::floating_point<T>) {
    return double{value};
  } else if constexpr (requires { value.number(); }) {
    return uint64_t{value.number()};
  } else {
    std::ostringstream text;
    text << value;
    return text.str();
  }
}

template <class T>
std::string toText(const T &value) {
  return toText(toValue(value));
}

/// The content of the general form. Throws RangeError if it is of another kind.
template <class Content>
const Content &contentOf(const Value &value) {
  if (const Content *content = std::get_if<Content>(&value)) return *content;
  throw RangeError("value is of the wrong type");
}

/// The typed value. Throws RangeError if the general form is of the wrong kind or out of the type's range. A
/// type that is written as text has a `static T fromText(std::string_view)`, which throws the same.
template <class T>
T fromValue(const Value &value) {
  if constexpr (std::is_same_v<T, bool> || std::is_same_v<T, std::string>) {
    return contentOf<T>(value);
  } else if constexpr (std::unsigned_integral<T>) {
    const uint64_t number = contentOf<uint64_t>(value);
    if (number > T(-1)) throw RangeError("value does not fit " + std::to_string(8 * sizeof(T)) + " bits");
    return static_cast<T>(number);
  } else if constexpr (std::floating_point<T>) {
    if (std::holds_alternative<uint64_t>(value)) return static_cast<T>(std::get<uint64_t>(value));
    return contentOf<double>(value);
  } else if constexpr (requires(T t) { t.number(); }) {
    return T(contentOf<uint64_t>(value));
  } else if constexpr (requires { T::fromText(std::string_view()); }) {
    return T::fromText(contentOf<std::string>(value));
  } else {
    throw RangeError("value is of the wrong type");
  }
}

class Entity;

/// Is shown the attributes of an entity in the order of their declaration. A collection begins with enter(),
/// its elements follow in their order, leave() ends it. The visitor must not change the entity meanwhile, and
/// owns nothing of what it is shown. What it does not override it passes over.
class Visitor {
 public:
  virtual ~Visitor() = default;
  virtual void attribute(std::string_view /*name*/, const Value & /*value*/) {}
  virtual void child(std::string_view /*name*/, const Entity * /*entity*/) {}  ///< null when there is none
  virtual void enter(std::string_view /*name*/) {}
  virtual void key(const Value & /*key*/) {}  ///< element of a set
  virtual void element(const Value & /*key*/, const Value & /*value*/) {}
  virtual void element(const Value & /*key*/, const Entity & /*entity*/) {}
  virtual void leave() {}
};

}  // namespace Kiv
