/// Entities: plain classes with attributes whose changes are notified to reactors.
///
/// An entity declares its attributes once (platform/kiv/Attributes.h) and so gets accessors, a `Notifiee` class
/// with a virtual function `on<Attribute>` for each, and its description for access by name.
///
/// Writing notifies synchronously: before the setter returns, every reactor has been told, and so has everybody
/// who reacts to what those reactors wrote. Nothing is queued or merged. Reactors are told in the order in which
/// they were attached. One that is attached during a notification is not told of that change; one that is
/// detached before its turn is skipped. A reactor may be destroyed in its own callback, during a replay too.
#pragma once

#include <string>
#include <string_view>

#include "platform/kiv/Ptr.h"
#include "platform/kiv/Value.h"

namespace Kiv {

class Entity;

/// A reactor's place in the list of its entity. It keeps the entity alive while attached; the entity does not
/// own it. Its destruction detaches it.
class NotifieeLink {
 public:
  NotifieeLink(const NotifieeLink &) = delete;
  NotifieeLink &operator=(const NotifieeLink &) = delete;

 protected:
  NotifieeLink() = default;
  virtual ~NotifieeLink() { attach(nullptr); }
  /// Detaches from any list, then joins the end of the list of `entity` if there is one. Tells nothing.
  void attach(Ptr<const Entity> entity);
  const Entity *entity() const { return entity_.get(); }

 private:
  friend class Entity;
  Ptr<const Entity> entity_;
  NotifieeLink *previous_ = nullptr;
  NotifieeLink *next_ = nullptr;
};

/// Base of all entities. Each attribute has one writer by agreement, which is not checked; everybody else holds
/// the entity as const and reacts. KIV_ENTITY implements the first three functions.
class Entity : public Counted {
 public:
  /// The name of the class, for example "PimBsmStatus".
  virtual const char *fwkType() const = 0;
  /// Shows every attribute to the visitor, pointers aside: those are of somebody else's state.
  virtual void describe(Visitor &visitor) const = 0;
  /// Writes a scalar attribute by name, and notifies as its setter does. False when there is no such attribute;
  /// throws RangeError, and changes nothing, when the attribute's type does not allow the value.
  virtual bool attributeIs(std::string_view name, const Value &value) = 0;
  /// Entities are not replicated to a second supervisor.
  bool hasBackupSupport() const { return false; }

 protected:
  /// A notification under way, on the stack of notify() or replay(). It keeps the entity alive, and a reactor
  /// that is detached meanwhile moves it on. Notifications of one entity nest.
  class Notification {
   public:
    /// For the reactors from `first` to `last`.
    Notification(const Entity &entity, NotifieeLink *first, NotifieeLink *last)
        : entity_(&entity), next_(first), last_(last), outer_(entity.running_) {
      entity.running_ = this;
    }
    ~Notification() { entity_->running_ = outer_; }
    /// The next reactor to be told, or null.
    NotifieeLink *next();
    /// Whether a reactor is left to be told.
    bool pending() const { return next_ != nullptr; }
    /// The reactor is being detached.
    void skip(const NotifieeLink *link);
    Notification *outer() const { return outer_; }

   private:
    Ptr<const Entity> entity_;
    NotifieeLink *next_;
    NotifieeLink *last_;
    Notification *outer_;
  };

  /// Calls `on` of every reactor. Costs one branch when there is none.
  template <class Notifiee, class... Arguments>
  void notify(void (Notifiee::*on)(Arguments...), const std::type_identity_t<Arguments> &...arguments) const {
    if (!first_) return;
    Notification running(*this, first_, last_);
    while (NotifieeLink *link = running.next()) (static_cast<Notifiee *>(link)->*on)(arguments...);
  }

 private:
  friend class NotifieeLink;

  mutable NotifieeLink *first_ = nullptr;
  mutable NotifieeLink *last_ = nullptr;
  mutable Notification *running_ = nullptr;
};

/// An entity with a name of its own, given at its creation and never changed.
class NamedEntity : public Entity {
 public:
  explicit NamedEntity(std::string name) : name_(std::move(name)) {}
  const std::string &name() const { return name_; }

 private:
  std::string name_;
};

/// Base of every entity's `Notifiee`, and so of every reactor. Attaching is quiet: the reactor synchronizes
/// itself with what is there already, or calls notifierReplay().
template <class EntityType>
class NotifieeOf : public NotifieeLink {
 public:
  /// The entity that it is attached to, or null.
  const EntityType *notifier() const { return static_cast<const EntityType *>(entity()); }
  /// Attaches to the entity instead of any other, or to none. Nothing is told.
  void notifierIs(const Ptr<const EntityType> &entity) { attach(entity); }

 protected:
  /// Tells this reactor of every element of every collection as if it were new. Virtual functions are called, so
  /// the final class does it last in its constructor, or later.
  void notifierReplay() {
    if (notifier()) notifier()->replay(static_cast<typename EntityType::Notifiee &>(*this));
  }
};

}  // namespace Kiv
