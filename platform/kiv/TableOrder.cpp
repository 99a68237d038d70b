#include "platform/kiv/TableOrder.h"

#include <bit>

namespace Kiv {

void TableOrder::append(Link &link) {
  link.previous = last_;
  (last_ ? last_->next : first_) = &link;
  last_ = &link;
  ++size_;
  for (Walk *walk = walks_; walk; walk = walk->outer) {
    if (walk->moved && !walk->at) walk->at = &link;
  }
}

void TableOrder::remove(Link &link) {
  for (Walk *walk = walks_; walk; walk = walk->outer) {
    if (walk->at != &link) continue;
    walk->at = link.next;
    walk->moved = true;
  }
  if (expected_ == &link) expected_ = nullptr;
  (link.previous ? link.previous->next : first_) = link.next;
  (link.next ? link.next->previous : last_) = link.previous;
  --size_;
}

void TableOrder::moreBuckets() { buckets_.assign(std::bit_ceil(2 * size_), nullptr); }

void TableOrder::enchain(Link *&bucket, Link &link) {
  link.chain = bucket;
  bucket = &link;
}

void TableOrder::unchain(Link *&bucket, Link &link) {
  Link **at = &bucket;
  while (*at != &link) at = &(*at)->chain;
  *at = link.chain;
}

}  // namespace Kiv
