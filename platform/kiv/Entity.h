/// Entities: plain classes with attributes whose changes are notified to reactors.
///
/// An entity declares its attributes once (platform/kiv/Attributes.h) and so gets accessors, a
/// `Notifiee` class with one virtual `on<Attribute>` each, and its description for generic access.
/// Writing notifies synchronously: every reactor has been told, and everything that it wrote in
/// turn has been told, before the setter returns. Nothing is queued or merged. Reactors are told
/// in the order of their attachment; one that attaches while a notification runs is not told of
/// that one; one that goes while it runs is skipped. A reactor may be destroyed in its own callback,
/// also during a replay.
#pragma once

#include <string>
#include <string_view>

#include "platform/kiv/Ptr.h"
#include "platform/kiv/Value.h"

namespace Kiv {

class Entity;

/// The link of a reactor in its entity's list. Holds the entity, and leaves the list with its own
/// destruction.
class NotifieeLink {
 public:
  NotifieeLink(const NotifieeLink &) = delete;
  NotifieeLink &operator=(const NotifieeLink &) = delete;

 protected:
  NotifieeLink() = default;
  virtual ~NotifieeLink() { attach(nullptr); }
  /// Moves to the end of the list of `entity`, or out of any list.
  void attach(Ptr<const Entity> entity);
  const Entity *entity() const { return entity_.get(); }

 private:
  friend class Entity;
  Ptr<const Entity> entity_;
  NotifieeLink *previous_ = nullptr;
  NotifieeLink *next_ = nullptr;
};

class Entity : public Counted {
 public:
  /// The class name, for example "PimBsmStatus".
  virtual const char *fwkType() const = 0;
  virtual void describe(Visitor &visitor) const = 0;
  /// Generic write of a scalar by its name. False when there is no such attribute; throws
  /// RangeError for a value that the attribute's type does not allow.
  virtual bool attributeIs(std::string_view name, const Value &value) = 0;
  /// Entities are not replicated to a second supervisor.
  bool hasBackupSupport() const { return false; }

 protected:
  /// One notification under way; keeps the entity alive and its own place in the list right.
  class Notification {
   public:
    /// Of every reactor attached now.
    explicit Notification(const Entity &entity);
    /// Of this one.
    Notification(const Entity &entity, NotifieeLink &only);
    ~Notification() { entity_->running_ = outer_; }
    NotifieeLink *next();
    /// Whether a reactor is left to be told.
    bool pending() const { return next_ != nullptr; }
    void skip(const NotifieeLink *link);
    Notification *outer() const { return outer_; }

   private:
    Ptr<const Entity> entity_;
    NotifieeLink *next_;
    NotifieeLink *last_;
    Notification *outer_;
  };

  template <class Notifiee, class... Arguments>
  void notify(void (Notifiee::*on)(Arguments...), const std::type_identity_t<Arguments> &...arguments) const {
    if (!first_) return;
    Notification running(*this);
    while (NotifieeLink *link = running.next()) (static_cast<Notifiee *>(link)->*on)(arguments...);
  }

 private:
  friend class NotifieeLink;

  mutable NotifieeLink *first_ = nullptr;
  mutable NotifieeLink *last_ = nullptr;
  mutable Notification *running_ = nullptr;
};

/// An entity that was given a name of its own.
class NamedEntity : public Entity {
 public:
  explicit NamedEntity(std::string name) : name_(std::move(name)) {}
  const std::string &name() const { return name_; }

 private:
  std::string name_;
};

/// Base of every entity's `Notifiee`. Attaching is quiet (notifierIs) for a reactor that does its
/// own full synchronisation, or with a replay that tells it of every element of every collection
/// as if it were new; a reactor asks for the replay at the end of its own construction.
template <class EntityType>
class NotifieeOf : public NotifieeLink {
 public:
  const EntityType *notifier() const { return static_cast<const EntityType *>(entity()); }
  void notifierIs(const Ptr<const EntityType> &entity) { attach(entity); }

 protected:
  void notifierReplay() {
    if (notifier()) notifier()->replay(static_cast<typename EntityType::Notifiee &>(*this));
  }
};

}  // namespace Kiv
