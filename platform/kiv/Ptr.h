/// Reference-counted ownership of entities and packet records.
///
/// The count lives in the object and is not atomic: everything runs on one thread. An object that has been
/// taken out of its collection lives on while somebody holds a Ptr to it. Two objects that hold each other are
/// never destroyed, so whoever is owned refers back by a plain reference.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>

namespace Kiv {

/// Base of everything that a Ptr can hold. The count starts at zero and the first Ptr takes ownership, so a
/// constructor must not hand out a Ptr to its own object: the object would be destroyed when that Ptr goes.
class Counted {
 public:
  Counted() = default;
  Counted(const Counted &) = delete;
  Counted &operator=(const Counted &) = delete;

  /// How many Ptrs hold this object.
  uint32_t refCount() const { return refCount_; }

 protected:
  virtual ~Counted() = default;

 private:
  template <class T>
  friend class Ptr;

  /// Ptrs that come and go while the destructor runs do not destroy the object again.
  static constexpr uint32_t beingDestroyed = uint32_t{1} << 31;
  mutable uint32_t refCount_ = 0;
};

/// A shared owner of an object, or empty. Moving one costs nothing, copying one counts. Like a plain pointer
/// it converts to a Ptr of a base or to const; using an empty one is undefined. Two are equal when they hold
/// the same object, whatever that contains.
template <class T>
class Ptr {
 public:
  Ptr() = default;
  Ptr(std::nullptr_t) {}
  explicit Ptr(T *object) : object_(object) { hold(); }
  Ptr(const Ptr &other) : object_(other.object_) { hold(); }
  Ptr(Ptr &&other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
  template <class U>
  requires std::is_convertible_v<U *, T *> Ptr(const Ptr<U> &other) : object_(other.get()) { hold(); }
  Ptr &operator=(Ptr other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }
  ~Ptr() { release(); }

  T *get() const { return object_; }
  T *operator->() const { return object_; }
  T &operator*() const { return *object_; }
  explicit operator bool() const { return object_ != nullptr; }

  template <class U>
  bool operator==(const Ptr<U> &other) const {
    return object_ == other.get();
  }
  bool operator==(std::nullptr_t) const { return object_ == nullptr; }

 private:
  void hold() {
    if (object_) ++static_cast<const Counted *>(object_)->refCount_;
  }
  void release() {
    const Counted *const counted = object_;
    if (!counted || --counted->refCount_ != 0) return;
    counted->refCount_ = Counted::beingDestroyed;
    delete counted;
  }

  T *object_ = nullptr;
};

/// Creates an object on the heap, owned by the Ptr returned. Entities come into being only this way.
template <class T, class... Arguments>
Ptr<T> make(Arguments &&...arguments) {
  return Ptr<T>(new T(std::forward<Arguments>(arguments)...));
}

}  // namespace Kiv
