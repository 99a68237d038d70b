/// A reactor that passes on what it is told to its owner.
///
///   class KivStatus : public Kiv::ReactorOf<Status, Machine> {
///     using ReactorOf::ReactorOf;
///     void onHoldTime() override { owner_.handleHoldTime(); }
///   };
///   KivStatus kivStatus_{*this, status};
#pragma once

#include "platform/kiv/Entity.h"

namespace Kiv {

/// A member of its owner, so it goes with it. It attaches quietly, since most owners do the first full
/// synchronization themselves; one that wants to hear of the elements present calls notifierReplay() in a
/// constructor of its own. Without an entity it waits for notifierIs().
template <class EntityType, class Owner>
class ReactorOf : public EntityType::Notifiee {
 public:
  ReactorOf(Owner &owner, const Ptr<const EntityType> &entity = nullptr) : owner_(owner) { this->notifierIs(entity); }

 protected:
  Owner &owner_;
};

}  // namespace Kiv
