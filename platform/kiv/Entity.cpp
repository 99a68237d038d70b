#include "platform/kiv/Entity.h"

namespace Kiv {

void NotifieeLink::attach(Ptr<const Entity> entity) {
  if (entity_) {
    for (auto *running = entity_->running_; running; running = running->outer()) running->skip(this);
    (previous_ ? previous_->next_ : entity_->first_) = next_;
    (next_ ? next_->previous_ : entity_->last_) = previous_;
    previous_ = next_ = nullptr;
  }
  if (entity) {
    previous_ = entity->last_;
    (previous_ ? previous_->next_ : entity->first_) = this;
    entity->last_ = this;
  }
  entity_ = std::move(entity);
}

NotifieeLink *Entity::Notification::next() {
  NotifieeLink *link = next_;
  if (link) next_ = link == last_ ? nullptr : link->next_;
  return link;
}

void Entity::Notification::skip(const NotifieeLink *link) {
  if (next_ == link) next_ = link == last_ ? nullptr : link->next_;
  if (last_ == link) last_ = link->previous_;
}

std::string toText(const Value &value) {
  return std::visit(
      [](const auto &content) -> std::string {
        using Content = std::decay_t<decltype(content)>;
        if constexpr (std::is_same_v<Content, std::string>) {
          return content;
        } else if constexpr (std::is_same_v<Content, bool>) {
          return content ? "true" : "false";
        } else {
          std::ostringstream text;
          text << content;
          return text.str();
        }
      },
      value);
}

}  // namespace Kiv
