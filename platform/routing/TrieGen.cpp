#include "platform/routing/TrieGen.h"

#include <algorithm>
#include <array>
#include <bit>

namespace Routing {

namespace {

constexpr unsigned stride = 6;
constexpr unsigned chunks = 1u << stride;

/// Place of a prefix that ends `length` (0 to 5) bits into the chunk: a binary heap, so that longer
/// ones stand higher and the places of each length are neighbours.
constexpr unsigned placeOf(unsigned chunk, unsigned length) { return 1u << length | chunk >> (stride - length); }

/// The places of all prefixes that cover a chunk, by chunk.
constexpr auto covering = [] {
  std::array<uint64_t, chunks> result{};
  for (unsigned chunk = 0; chunk < chunks; ++chunk) {
    for (unsigned length = 0; length < stride; ++length) result[chunk] |= uint64_t{1} << placeOf(chunk, length);
  }
  return result;
}();

/// The places of the prefixes of at most `length` bits.
constexpr uint64_t upTo(unsigned length) {
  return length + 1 >= stride ? ~uint64_t{0} : (uint64_t{1} << (2u << length)) - 1;
}

/// The bits of an address from the first on, taken off chunk by chunk.
class Bits {
 public:
  explicit Bits(const Pax::IpGenAddr &address)
      : high_(address.af() == Pax::AddressFamily::ipv4 ? uint64_t{address.v4()} << 32 : address.high()),
        low_(address.af() == Pax::AddressFamily::ipv4 ? 0 : address.low()) {}
  unsigned chunk() const { return static_cast<unsigned>(high_ >> (64 - stride)); }
  void advance() {
    high_ = high_ << stride | low_ >> (64 - stride);
    low_ <<= stride;
  }

 private:
  uint64_t high_;
  uint64_t low_;
};

/// The way from the root to a node, as the leading bits of the addresses there.
struct Path {
  uint64_t high = 0;
  uint64_t low = 0;
  unsigned depth = 0;

  Path with(unsigned chunk) const {
    const uint64_t bits = uint64_t{chunk} << (64 - stride);
    Path result = *this;
    if (depth < 64) result.high |= bits >> depth;
    if (depth >= 64) result.low |= bits >> (depth - 64);
    if (depth < 64 && depth + stride > 64) result.low |= bits << (64 - depth);
    return result;
  }
  Path deeper() const { return {high, low, depth + stride}; }
  Pax::IpGenAddr address(Pax::AddressFamily family) const {
    return family == Pax::AddressFamily::ipv4 ? Pax::IpGenAddr::v4(static_cast<uint32_t>(high >> 32))
                                              : Pax::IpGenAddr::v6(high, low);
  }
};

}  // namespace

struct TrieGen::Node {
  uint64_t prefixes = 0;          // a bit per place
  uint64_t children = 0;          // a bit per chunk
  std::unique_ptr<Node[]> child;  // one per bit of children, in their order

  bool empty() const { return prefixes == 0 && children == 0; }
  bool hasChild(unsigned chunk) const { return children >> chunk & 1; }
  int indexOf(unsigned chunk) const { return std::popcount(children & ((uint64_t{1} << chunk) - 1)); }
  Node &childAt(unsigned chunk) const { return child[indexOf(chunk)]; }

  void childAdd(unsigned chunk) {
    const int before = indexOf(chunk), count = std::popcount(children);
    auto grown = std::make_unique<Node[]>(count + 1);
    std::move(child.get(), child.get() + before, grown.get());
    std::move(child.get() + before, child.get() + count, grown.get() + before + 1);
    child = std::move(grown);
    children |= uint64_t{1} << chunk;
  }

  void childDel(unsigned chunk) {
    const int before = indexOf(chunk), count = std::popcount(children);
    auto rest = std::make_unique<Node[]>(count - 1);
    std::move(child.get(), child.get() + before, rest.get());
    std::move(child.get() + before + 1, child.get() + count, rest.get() + before);
    child = std::move(rest);
    children &= ~(uint64_t{1} << chunk);
  }

  /// Appends every prefix stored from here on; `path` says where the node stands.
  void collect(std::vector<Pax::IpGenPrefix> &routes, Pax::AddressFamily family, const Path &path) const {
    for (unsigned place = 1; place < chunks; ++place) {
      if (!(prefixes >> place & 1)) continue;
      const unsigned length = std::bit_width(place) - 1;
      const unsigned leading = (place << (stride - length)) & (chunks - 1);
      routes.emplace_back(path.with(leading).address(family), static_cast<uint8_t>(path.depth + length));
    }
    for (unsigned chunk = 0, index = 0; chunk < chunks; ++chunk) {
      if (hasChild(chunk)) child[index++].collect(routes, family, path.with(chunk).deeper());
    }
  }
};

TrieGen::TrieGen(std::string name, Pax::AddressFamily family)
    : NamedEntity(std::move(name)), family_(family), root_(std::make_unique<Node>()) {}

TrieGen::~TrieGen() = default;

void TrieGen::routeIs(const Pax::IpGenPrefix &prefix, bool) {
  if (prefix.af() != family_ || prefix.isEmpty()) return;
  Bits bits(prefix.address());
  Node *node = root_.get();
  unsigned left = prefix.length();
  for (; left >= stride; left -= stride, bits.advance()) {
    if (!node->hasChild(bits.chunk())) node->childAdd(bits.chunk());
    node = &node->childAt(bits.chunk());
  }
  const uint64_t place = uint64_t{1} << placeOf(bits.chunk(), left);
  if (node->prefixes & place) return;
  node->prefixes |= place;
  ++size_;
  ++version_;
  notify(&Notifiee::onRoute, Pax::IpGenPrefix(prefix));
}

void TrieGen::routeDel(const Pax::IpGenPrefix &prefix) {
  if (!route(prefix)) return;
  std::array<std::pair<Node *, unsigned>, 128 / stride + 1> path;
  unsigned depth = 0;
  Bits bits(prefix.address());
  Node *node = root_.get();
  unsigned left = prefix.length();
  for (; left >= stride; left -= stride, bits.advance()) {
    path[depth++] = {node, bits.chunk()};
    node = &node->childAt(bits.chunk());
  }
  node->prefixes &= ~(uint64_t{1} << placeOf(bits.chunk(), left));
  for (; node->empty() && depth > 0; node = path[depth].first) {
    --depth;
    path[depth].first->childDel(path[depth].second);
  }
  --size_;
  ++version_;
  notify(&Notifiee::onRoute, Pax::IpGenPrefix(prefix));
}

void TrieGen::changedRouteIs(const Pax::IpGenPrefix &prefix) {
  if (route(prefix)) notify(&Notifiee::onRoute, Pax::IpGenPrefix(prefix));
}

bool TrieGen::route(const Pax::IpGenPrefix &prefix) const {
  return !prefix.isEmpty() && longestMatch(prefix) == prefix;
}

Pax::IpGenPrefix TrieGen::longestMatch(const Pax::IpGenPrefix &prefix) const {
  if (prefix.isEmpty() || prefix.af() != family_) return {};
  const int length = matchLength(prefix.address(), prefix.length());
  return length < 0 ? Pax::IpGenPrefix() : Pax::IpGenPrefix(prefix.address(), static_cast<uint8_t>(length));
}

Pax::IpGenPrefix TrieGen::findParent(const Pax::IpGenPrefix &prefix) const {
  if (prefix.length() == 0) return {};
  return longestMatch({prefix.address(), static_cast<uint8_t>(prefix.length() - 1)});
}

int TrieGen::matchLength(const Pax::IpGenAddr &address, unsigned most) const {
  Bits bits(address);
  int length = -1;
  const Node *node = root_.get();
  for (unsigned depth = 0;; depth += stride, bits.advance()) {
    const unsigned left = most - depth;
    const uint64_t matches = node->prefixes & covering[bits.chunk()] & upTo(left);
    if (matches) length = static_cast<int>(depth + std::bit_width(unsigned(std::bit_width(matches) - 1)) - 1);
    if (left < stride || !node->hasChild(bits.chunk())) return length;
    node = &node->childAt(bits.chunk());
  }
}

void TrieGen::describe(Kiv::Visitor &visitor) const {
  visitor.enter("route");
  for (const Pax::IpGenPrefix &prefix : routes()) visitor.key(Kiv::toValue(prefix));
  visitor.leave();
}

std::vector<Pax::IpGenPrefix> TrieGen::routes() const {
  std::vector<Pax::IpGenPrefix> result;
  root_->collect(result, family_, {});
  std::sort(result.begin(), result.end());
  return result;
}

}  // namespace Routing
