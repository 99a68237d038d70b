/// The state store of a process: entities under paths, and typed mounts of them.
///
/// Whoever owns a piece of state publishes its entity under a path; whoever needs it mounts the path and gets a
/// Ptr, to a const entity if it only reads. A mount of a path that is not there yet is filled when the path is
/// published. All mounts that a part of the agent needs make up one MountGroup, which says once that everything
/// is there. The store holds the entities after their users are gone, so state outlasts a restart of the agent
/// object.
///
/// A path has one type for good: to publish or mount it with another type is fatal, and so is publishing over an
/// entity that has not been withdrawn.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <typeindex>
#include <vector>

#include "platform/kiv/Entity.h"

namespace Statehub {

class MountGroup;

/// Owned by the program. It must outlive every MountGroup, and changes nothing in the entities.
class Store {
 public:
  Store() = default;
  Store(const Store &) = delete;
  Store &operator=(const Store &) = delete;

  /// Before this returns, every mount of the path in a waiting group has the entity, and the groups that thereby
  /// become complete have been told.
  template <class Type>
  void publish(std::string_view path, const Kiv::Ptr<Type> &entity) {
    publish(path, typeid(Type), entity);
  }
  /// Takes the path away; does nothing if it is not there. Groups that are complete keep what they mounted, the
  /// others wait for the path again.
  void withdraw(std::string_view path);

  /// What is published under the path, or an empty Ptr.
  Kiv::Ptr<Kiv::Entity> entity(std::string_view path) const;
  /// The paths with an entity, sorted.
  std::vector<std::string> paths() const;

 private:
  friend class MountGroup;
  struct Entry {
    std::type_index type;
    Kiv::Ptr<Kiv::Entity> entity;
  };

  void publish(std::string_view path, std::type_index type, const Kiv::Ptr<Kiv::Entity> &entity);
  Entry &entry(std::string_view path, std::type_index type);

  std::map<std::string, Entry, std::less<>> entries_;
  std::vector<MountGroup *> waiting_;
};

/// Mounts that complete together. It belongs to the part that mounts, and may go before it is complete. The store
/// and the Ptrs that it fills must outlive it.
class MountGroup {
 public:
  explicit MountGroup(Store &store) : store_(store) {}
  ~MountGroup() { std::erase(store_.waiting_, this); }
  MountGroup(const MountGroup &) = delete;
  MountGroup &operator=(const MountGroup &) = delete;

  /// Fills `target` as soon as the path is there, at once if it is already; use a Ptr<const Type> to read only.
  template <class Type>
  void mount(std::string_view path, Kiv::Ptr<Type> &target) {
    mount(path, typeid(Type), [&target](Kiv::Entity *entity) { target = Kiv::Ptr<Type>(static_cast<Type *>(entity)); });
  }
  /// To be called once, after the last mount. `onComplete` is called once, when everything is there: inside this
  /// call if it is there already. It may destroy the group.
  void whenComplete(std::function<void()> onComplete);

 private:
  friend class Store;
  using Fill = std::function<void(Kiv::Entity *)>;
  struct Mount {
    std::string path;
    Fill fill;
    bool filled;
  };

  void mount(std::string_view path, std::type_index type, Fill fill);
  void changed(std::string_view path, Kiv::Entity *entity);
  bool ready() const;
  void tell();

  Store &store_;
  std::vector<Mount> mounts_;
  std::function<void()> onComplete_;
  bool complete_ = false;
};

}  // namespace Statehub
