/// A reactor that hands what it is told on to whoever owns it.
///
///   class KivStatus : public Kiv::ReactorOf<Status, Machine> {
///     using ReactorOf::ReactorOf;
///     void onHoldTime() override { owner_.handleHoldTime(); }
///   };
///   KivStatus kivStatus_{*this, status};
#pragma once

#include "platform/kiv/Entity.h"

namespace Kiv {

/// A member of its owner, and goes with it. Attaches quietly, since most owners do the first full
/// synchronisation themselves; one that wants to be told of the elements present calls
/// `notifierReplay()` in a constructor of its own. Without an entity it waits for notifierIs().
template <class EntityType, class Owner>
class ReactorOf : public EntityType::Notifiee {
 public:
  ReactorOf(Owner &owner, const Ptr<const EntityType> &entity = nullptr) : owner_(owner) { this->notifierIs(entity); }

 protected:
  Owner &owner_;
};

}  // namespace Kiv
