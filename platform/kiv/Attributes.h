/// How an entity declares its attributes.
///
///   class Lamp : public Kiv::Entity {
///   #define ATTRIBUTES(ATTRIBUTE) ATTRIBUTE(value, bool, on, On, false) ATTRIBUTE(counter, blown, Blown)
///     KIV_ENTITY(Lamp, ATTRIBUTES)
///   #undef ATTRIBUTES
///   };
///
/// The list is the only place that names an attribute: accessors, Notifiee, replay, description and access by
/// name all come from it. The kinds, and what each gives beside the virtual on<Name> of Notifiee:
///
///   value(Type, name, Name, initial)   name(), nameIs(value); an equal value does not notify
///   pointer(Type, name, Name)          the same for a Ptr<Type>; notifies when the pointer changes
///   counter(name, Name)                uint32_t name(), nameIs(value), nameInc(n); Inc notifies always
///   child(Type, name, Name)            Ptr<Type> name(), nameIs(entityName) creates, nameDel()
///   set(Key, name, Name)               name() the table, name(key) is it in, nameIs(key[, true])
///   values(Key, Type, name, Name)      name() the table, name(key) pointer or null, nameIs(key, value)
///   map(Key, Type, name, Name)         name() the table, name(key) Ptr or empty, nameIs(key) creates or finds
///
/// The last three are collections, with nameDel(key) and nameDelAll() too. They notify with the key, after the
/// element has come or gone; deleting what is not there does nothing. The key is copied before reactors are
/// told, so it may be part of an element that they delete. A map element is constructed with its key if its
/// class takes one, a child with its name.
///
/// Pointers and children are not written by name, and collections neither: only scalars are.
#pragma once

#include "platform/kiv/Entity.h"
#include "platform/kiv/Table.h"

namespace Kiv {

/// What an attribute starts with. `{}` always means the default of the attribute's type, never what some
/// constructor makes of empty braces.
template <class Type>
struct Initial {
  Initial() = default;
  template <class Given>
  Initial(const Given &given) : value(given) {}
  Type value{};
};

/// A new map element or child, constructed with its key if its class takes one.
template <class Type, class Key>
Ptr<Type> makeElement(const Key &key) {
  if constexpr (std::is_constructible_v<Type, const Key &>) {
    return make<Type>(key);
  } else {
    return make<Type>();
  }
}

/// Describes an element of a `values` collection; a Ptr to an entity is described as that entity.
template <class Key, class Type>
void describeElement(Visitor &visitor, const Key &key, const Type &value) {
  visitor.element(toValue(key), toValue(value));
}
template <class Key, class Type>
void describeElement(Visitor &visitor, const Key &key, const Ptr<Type> &entity) {
  if (entity) visitor.element(toValue(key), *entity);
}

}  // namespace Kiv

/// The list of an entity without attributes, of which only the name is needed.
#define KIV_NO_ATTRIBUTES(ATTRIBUTE)

/// Ends the declaration of an entity; what follows it is public.
#define KIV_ENTITY(Class, ATTRIBUTES)                                                                                  \
  KIV_ENTITY_PARTS(Class, ATTRIBUTES(KIV_ON), ATTRIBUTES(KIV_ACCESS), ATTRIBUTES(KIV_DESCRIBE), ATTRIBUTES(KIV_WRITE), \
                   ATTRIBUTES(KIV_REPLAY), ATTRIBUTES(KIV_MEMBER))

/// The same for an entity with one attribute: KIV_ENTITY_WITH(Lamp, value, bool, on, On, false)
#define KIV_ENTITY_WITH(Class, ...)                                                                \
  KIV_ENTITY_PARTS(Class, KIV_ON(__VA_ARGS__), KIV_ACCESS(__VA_ARGS__), KIV_DESCRIBE(__VA_ARGS__), \
                   KIV_WRITE(__VA_ARGS__), KIV_REPLAY(__VA_ARGS__), KIV_MEMBER(__VA_ARGS__))

/// What both expand to; for nobody else.
#define KIV_ENTITY_PARTS(Class, REACTIONS, ACCESSORS, DESCRIPTION, WRITING, REPLAYING, MEMBERS)                       \
 public:                                                                                                              \
  class Notifiee : public ::Kiv::NotifieeOf<Class> {                                                                  \
   public:                                                                                                            \
    REACTIONS                                                                                                         \
  };                                                                                                                  \
  using NotifieeConst = Notifiee;                                                                                     \
  ACCESSORS                                                                                                           \
  const char *fwkType() const override { return #Class; }                                                             \
  void describe([[maybe_unused]] ::Kiv::Visitor &visitor) const override { DESCRIPTION }                              \
  bool attributeIs([[maybe_unused]] std::string_view wanted, [[maybe_unused]] const ::Kiv::Value &general) override { \
    WRITING                                                                                                           \
    return false;                                                                                                     \
  }                                                                                                                   \
  /** Tells `notifiee` of every element of every collection, as if new. */                                            \
  void replay(Notifiee &notifiee) const {                                                                             \
    const Notification running(*this, &notifiee, &notifiee);                                                          \
    REPLAYING                                                                                                         \
  }                                                                                                                   \
                                                                                                                      \
 private:                                                                                                             \
  MEMBERS                                                                                                             \
                                                                                                                      \
 public:

#define KIV_ON(kind, ...) KIV_ON_##kind(__VA_ARGS__)
#define KIV_ACCESS(kind, ...) KIV_ACCESS_##kind(__VA_ARGS__)
#define KIV_DESCRIBE(kind, ...) KIV_DESCRIBE_##kind(__VA_ARGS__)
#define KIV_WRITE(kind, ...) KIV_WRITE_##kind(__VA_ARGS__)
#define KIV_REPLAY(kind, ...) KIV_REPLAY_##kind(__VA_ARGS__)
#define KIV_MEMBER(kind, ...) KIV_MEMBER_##kind(__VA_ARGS__)

// value
#define KIV_ON_value(Type, name, Name, initial) \
  virtual void on##Name() {}
#define KIV_ACCESS_value(Type, name, Name, initial) \
  const Type &name() const { return name##_; }      \
  void name##Is(const Type &value) {                \
    if (name##_ == value) return;                   \
    name##_ = value;                                \
    notify(&Notifiee::on##Name);                    \
  }
#define KIV_DESCRIBE_value(Type, name, Name, initial) visitor.attribute(#name, ::Kiv::toValue(name##_));
#define KIV_WRITE_value(Type, name, Name, initial) \
  if (wanted == #name) {                           \
    name##Is(::Kiv::fromValue<Type>(general));     \
    return true;                                   \
  }
#define KIV_REPLAY_value(Type, name, Name, initial)
#define KIV_MEMBER_value(Type, name, Name, initial) Type name##_ = ::Kiv::Initial<Type>(initial).value;

// pointer
#define KIV_ON_pointer(Type, name, Name) KIV_ON_value(::Kiv::Ptr<Type>, name, Name, nullptr)
#define KIV_ACCESS_pointer(Type, name, Name) KIV_ACCESS_value(::Kiv::Ptr<Type>, name, Name, nullptr)
#define KIV_DESCRIBE_pointer(Type, name, Name)
#define KIV_WRITE_pointer(Type, name, Name)
#define KIV_REPLAY_pointer(Type, name, Name)
#define KIV_MEMBER_pointer(Type, name, Name) ::Kiv::Ptr<Type> name##_;

// counter
#define KIV_ON_counter(name, Name) KIV_ON_value(uint32_t, name, Name, 0)
#define KIV_ACCESS_counter(name, Name) \
  void name##Inc(uint32_t by = 1) {    \
    name##_ += by;                     \
    notify(&Notifiee::on##Name);       \
  }                                    \
  KIV_ACCESS_value(uint32_t, name, Name, 0)
#define KIV_DESCRIBE_counter(name, Name) KIV_DESCRIBE_value(uint32_t, name, Name, 0)
#define KIV_WRITE_counter(name, Name) KIV_WRITE_value(uint32_t, name, Name, 0)
#define KIV_REPLAY_counter(name, Name)
#define KIV_MEMBER_counter(name, Name) uint32_t name##_ = 0;

// child
#define KIV_ON_child(Type, name, Name) KIV_ON_pointer(Type, name, Name)
#define KIV_ACCESS_child(Type, name, Name)                                        \
  const ::Kiv::Ptr<Type> &name() const { return name##_; }                        \
  ::Kiv::Ptr<Type> name##Is(const std::string &entityName) {                      \
    if (name##_) return name##_;                                                  \
    const auto created = ::Kiv::makeElement<Type>(entityName);                    \
    name##_ = created;                                                            \
    notify(&Notifiee::on##Name);                                                  \
    return created;                                                               \
  }                                                                               \
  void name##Del() {                                                              \
    if (auto gone = std::exchange(name##_, nullptr)) notify(&Notifiee::on##Name); \
  }
#define KIV_DESCRIBE_child(Type, name, Name) visitor.child(#name, name##_.get());
#define KIV_WRITE_child(Type, name, Name)
#define KIV_REPLAY_child(Type, name, Name) \
  if (running.pending() && name##_) notifiee.on##Name();
#define KIV_MEMBER_child(Type, name, Name) ::Kiv::Ptr<Type> name##_;

// What the three kinds of collection share.
#define KIV_ON_COLLECTION(Key, Name) \
  virtual void on##Name(const Key &) {}
#define KIV_DELETE(Key, name, Name)                         \
  void name##Del(const Key &key) {                          \
    if (!name##_.contains(key)) return;                     \
    const Key copy = key; /* it may be the element's own */ \
    [[maybe_unused]] const auto gone = name##_.erase(copy); \
    notify(&Notifiee::on##Name, copy);                      \
  }                                                         \
  void name##DelAll() {                                     \
    for (const Key &key : name##_.keys()) name##Del(key);   \
  }
#define KIV_REPLAY_COLLECTION(Key, name, Name)         \
  for (const Key &key : name##_.keys()) {              \
    if (!running.pending()) return;                    \
    if (name##_.contains(key)) notifiee.on##Name(key); \
  }

// set
#define KIV_ON_set(Key, name, Name) KIV_ON_COLLECTION(Key, Name)
#define KIV_ACCESS_set(Key, name, Name)                             \
  const ::Kiv::Table<Key, bool> &name() const { return name##_; }   \
  bool name(const Key &key) const { return name##_.contains(key); } \
  void name##Is(const Key &key, bool = true) {                      \
    if (name##_.contains(key)) return;                              \
    const Key copy = key;                                           \
    name##_.insert(copy, true);                                     \
    notify(&Notifiee::on##Name, copy);                              \
  }                                                                 \
  KIV_DELETE(Key, name, Name)
#define KIV_DESCRIBE_set(Key, name, Name)                                 \
  visitor.enter(#name);                                                   \
  for (const auto &[key, in] : name##_) visitor.key(::Kiv::toValue(key)); \
  visitor.leave();
#define KIV_WRITE_set(Key, name, Name)
#define KIV_REPLAY_set(Key, name, Name) KIV_REPLAY_COLLECTION(Key, name, Name)
#define KIV_MEMBER_set(Key, name, Name) ::Kiv::Table<Key, bool> name##_;

// values
#define KIV_ON_values(Key, Type, name, Name) KIV_ON_COLLECTION(Key, Name)
#define KIV_ACCESS_values(Key, Type, name, Name)                       \
  const ::Kiv::Table<Key, Type> &name() const { return name##_; }      \
  const Type *name(const Key &key) const { return name##_.find(key); } \
  void name##Is(const Key &key, const Type &value) {                   \
    Type *present = name##_.find(key);                                 \
    if (present && *present == value) return;                          \
    const Key copy = key;                                              \
    if (present) *present = value;                                     \
    if (!present) name##_.insert(copy, value);                         \
    notify(&Notifiee::on##Name, copy);                                 \
  }                                                                    \
  KIV_DELETE(Key, name, Name)
#define KIV_DESCRIBE_values(Key, Type, name, Name) \
  visitor.enter(#name);                            \
  for (const auto &[key, value] : name##_) {       \
    ::Kiv::describeElement(visitor, key, value);   \
  }                                                \
  visitor.leave();
#define KIV_WRITE_values(Key, Type, name, Name)
#define KIV_REPLAY_values(Key, Type, name, Name) KIV_REPLAY_COLLECTION(Key, name, Name)
#define KIV_MEMBER_values(Key, Type, name, Name) ::Kiv::Table<Key, Type> name##_;

// map
#define KIV_ON_map(Key, Type, name, Name) KIV_ON_COLLECTION(Key, Name)
#define KIV_ACCESS_map(Key, Type, name, Name)                                 \
  const ::Kiv::Table<Key, ::Kiv::Ptr<Type>> &name() const { return name##_; } \
  ::Kiv::Ptr<Type> name(const Key &key) const {                               \
    const auto *present = name##_.find(key);                                  \
    return present ? *present : nullptr;                                      \
  }                                                                           \
  ::Kiv::Ptr<Type> name##Is(const Key &key) {                                 \
    if (const auto *present = name##_.find(key)) return *present;             \
    const Key copy = key;                                                     \
    const ::Kiv::Ptr<Type> element = ::Kiv::makeElement<Type>(copy);          \
    name##_.insert(copy, element);                                            \
    notify(&Notifiee::on##Name, copy);                                        \
    return element;                                                           \
  }                                                                           \
  KIV_DELETE(Key, name, Name)
#define KIV_DESCRIBE_map(Key, Type, name, Name) KIV_DESCRIBE_values(Key, Type, name, Name)
#define KIV_WRITE_map(Key, Type, name, Name)
#define KIV_REPLAY_map(Key, Type, name, Name) KIV_REPLAY_COLLECTION(Key, name, Name)
#define KIV_MEMBER_map(Key, Type, name, Name) ::Kiv::Table<Key, ::Kiv::Ptr<Type>> name##_;

/// A field of a plain record, which nobody watches: name() and nameIs(value). What follows it is public.
#define KIV_FIELD(Type, name, initial)                  \
 public:                                                \
  const Type &name() const { return name##_; }          \
  void name##Is(const Type &value) { name##_ = value; } \
                                                        \
 private:                                               \
  Type name##_ = ::Kiv::Initial<Type>(initial).value;   \
                                                        \
 public:
