#include "platform/statehub/Store.h"

#include <algorithm>

#include "platform/tracelet/Require.h"

namespace Statehub {

void Store::publish(std::string_view path, std::type_index type, const Kiv::Ptr<Kiv::Entity> &entity) {
  REQUIRE(entity);
  Entry &published = entry(path, type);
  REQUIRE(!published.entity);
  published.entity = entity;
  for (MountGroup *group : waiting_) group->changed(path, entity.get());
  const auto ready = [](const MountGroup *group) { return group->ready(); };
  for (auto next = waiting_.begin();
       (next = std::find_if(waiting_.begin(), waiting_.end(), ready)) != waiting_.end();) {
    (*next)->tell();
  }
}

void Store::withdraw(std::string_view path) {
  const auto found = entries_.find(path);
  if (found == entries_.end() || !found->second.entity) return;
  const Kiv::Ptr<Kiv::Entity> gone = std::exchange(found->second.entity, nullptr);
  for (MountGroup *group : waiting_) group->changed(path, nullptr);
}

Kiv::Ptr<Kiv::Entity> Store::entity(std::string_view path) const {
  const auto found = entries_.find(path);
  return found == entries_.end() ? nullptr : found->second.entity;
}

std::vector<std::string> Store::paths() const {
  std::vector<std::string> result;
  for (const auto &[path, entry] : entries_) {
    if (entry.entity) result.push_back(path);
  }
  return result;
}

Store::Entry &Store::entry(std::string_view path, std::type_index type) {
  const auto found = entries_.try_emplace(std::string(path), Entry{type, nullptr}).first;
  REQUIRE(found->second.type == type);
  return found->second;
}

void MountGroup::mount(std::string_view path, std::type_index type, Fill fill) {
  REQUIRE(!onComplete_ && !complete_);
  const Kiv::Ptr<Kiv::Entity> present = store_.entry(path, type).entity;
  if (mounts_.empty()) store_.waiting_.push_back(this);
  fill(present.get());
  mounts_.push_back({std::string(path), std::move(fill), bool(present)});
}

void MountGroup::whenComplete(std::function<void()> onComplete) {
  REQUIRE(onComplete && !onComplete_ && !complete_);
  onComplete_ = std::move(onComplete);
  if (ready()) tell();
}

void MountGroup::changed(std::string_view path, Kiv::Entity *entity) {
  for (Mount &mount : mounts_) {
    if (mount.path != path) continue;
    mount.fill(entity);
    mount.filled = entity != nullptr;
  }
}

bool MountGroup::ready() const {
  return onComplete_ && std::all_of(mounts_.begin(), mounts_.end(), [](const Mount &mount) { return mount.filled; });
}

void MountGroup::tell() {
  complete_ = true;
  std::erase(store_.waiting_, this);
  std::exchange(onComplete_, nullptr)();
}

}  // namespace Statehub
