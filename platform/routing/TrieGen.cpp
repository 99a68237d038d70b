#include "platform/routing/TrieGen.h"

#include <algorithm>
#include <array>
#include <bit>

namespace Routing {

namespace {

constexpr unsigned stride = 6;
constexpr unsigned chunks = 1u << stride;

// The place of a prefix that ends `length` (0 to 5) bits into the chunk. Places are those of a binary heap:
// longer prefixes have higher ones, and those of one length are adjacent.
constexpr unsigned placeOf(unsigned chunk, unsigned length) { return 1u << length | chunk >> (stride - length); }

// The places of all prefixes that cover a chunk, by chunk.
constexpr auto covering = [] {
  std::array<uint64_t, chunks> result{};
  for (unsigned chunk = 0; chunk < chunks; ++chunk) {
    for (unsigned length = 0; length < stride; ++length) result[chunk] |= uint64_t{1} << placeOf(chunk, length);
  }
  return result;
}();

// The places of the prefixes of at most `length` bits.
constexpr uint64_t upTo(unsigned length) {
  return length + 1 >= stride ? ~uint64_t{0} : (uint64_t{1} << (2u << length)) - 1;
}

constexpr uint64_t bitOf(unsigned chunk) { return uint64_t{1} << chunk; }

// How many bits are set. std::popcount would be a call where the processor is not known to have an instruction.
constexpr unsigned countOf(uint64_t word) {
  word -= word >> 1 & 0x5555555555555555;
  word = (word & 0x3333333333333333) + (word >> 2 & 0x3333333333333333);
  return static_cast<unsigned>(((word + (word >> 4)) & 0x0f0f0f0f0f0f0f0f) * 0x0101010101010101 >> 56);
}

// The bits of an address, the first at the top; an IPv4 address takes the top 32 of them.
struct Bits {
  uint64_t high = 0;
  uint64_t low = 0;

  static Bits of(const Pax::IpGenAddr &address) {
    if (address.af() == Pax::AddressFamily::ipv4) return {uint64_t{address.v4()} << 32, 0};
    return {address.high(), address.low()};
  }
  Pax::IpGenAddr address(Pax::AddressFamily family) const {
    if (family == Pax::AddressFamily::ipv4) return Pax::IpGenAddr::v4(static_cast<uint32_t>(high >> 32));
    return Pax::IpGenAddr::v6(high, low);
  }
  // The chunk that begins `depth` bits (a multiple of the stride) into the address.
  unsigned chunkAt(unsigned depth) const {
    if (depth < 60) return high >> (58 - depth) & (chunks - 1);
    if (depth == 60) return (high << 2 | low >> 62) & (chunks - 1);
    return (depth < 126 ? low >> (122 - depth) : low << 4) & (chunks - 1);
  }
  // Whether the first `depth` bits (6 at least) agree.
  bool agrees(const Bits &other, unsigned depth) const {
    if (depth <= 64) return (high ^ other.high) >> (64 - depth) == 0;
    return high == other.high && (low ^ other.low) >> (128 - depth) == 0;
  }
  // How many leading bits agree.
  unsigned common(const Bits &other) const {
    if (high != other.high) return std::countl_zero(high ^ other.high);
    return 64 + std::countl_zero(low ^ other.low);
  }
};

}  // namespace

// Every node but the root has prefixes or several children. Chains of single children are left out, so a node
// says where it is, and a lookup that comes down to it compares.
struct TrieGen::Node {
  uint64_t prefixes = 0;  // a bit per place
  uint64_t children = 0;  // a bit per chunk
  Bits bits;              // on the way to any prefix below; the first `depth` count
  unsigned depth = 0;
  std::unique_ptr<Node[]> child;  // one per bit of children, in their order

  bool hasChild(unsigned chunk) const { return children >> chunk & 1; }
  unsigned indexOf(unsigned chunk) const { return countOf(children & (bitOf(chunk) - 1)); }
  Node &childAt(unsigned chunk) const { return child[indexOf(chunk)]; }

  Node &childAdd(unsigned chunk, const Bits &at, unsigned atDepth) {
    const unsigned before = indexOf(chunk), count = countOf(children);
    auto grown = std::make_unique<Node[]>(count + 1);
    std::move(child.get(), child.get() + before, grown.get());
    std::move(child.get() + before, child.get() + count, grown.get() + before + 1);
    child = std::move(grown);
    children |= bitOf(chunk);
    child[before].bits = at;
    child[before].depth = atDepth;
    return child[before];
  }

  void childDel(unsigned chunk) {
    const unsigned before = indexOf(chunk), count = countOf(children);
    auto rest = std::make_unique<Node[]>(count - 1);
    std::move(child.get(), child.get() + before, rest.get());
    std::move(child.get() + before + 1, child.get() + count, rest.get() + before);
    child = std::move(rest);
    children &= ~bitOf(chunk);
  }

  // Becomes a node at `atDepth`, with what it was as the only child.
  void splitAt(unsigned atDepth) {
    Node below = std::exchange(*this, Node());
    bits = below.bits;
    depth = atDepth;
    children = bitOf(bits.chunkAt(depth));
    child = std::make_unique<Node[]>(1);
    child[0] = std::move(below);
  }

  // Becomes its only child if nothing else keeps it.
  void joinIfSingle() {
    if (prefixes != 0 || countOf(children) != 1) return;
    Node only = std::move(child[0]);
    *this = std::move(only);
  }

  void collect(std::vector<Pax::IpGenPrefix> &routes, Pax::AddressFamily family) const {
    for (unsigned place = 1; place < chunks; ++place) {
      if (!(prefixes & bitOf(place))) continue;
      const unsigned length = std::bit_width(place) - 1;
      routes.emplace_back(at(place << (stride - length) & (chunks - 1)).address(family), depth + length);
    }
    for (unsigned i = 0; i < countOf(children); ++i) child[i].collect(routes, family);
  }

 private:
  // The bits of the node, then the chunk.
  Bits at(unsigned chunk) const {
    const uint64_t top = uint64_t{chunk} << (64 - stride);
    if (depth < 60) return {(bits.high & ~(~uint64_t{0} >> depth)) | top >> depth, 0};
    if (depth == 60) return {(bits.high & ~uint64_t{0xf}) | top >> 60, top << 4};
    return {bits.high, (bits.low & ~(~uint64_t{0} >> (depth - 64))) | top >> (depth - 64)};
  }
};

TrieGen::TrieGen(std::string name, Pax::AddressFamily family)
    : NamedEntity(std::move(name)), family_(family), root_(std::make_unique<Node>()) {}

TrieGen::~TrieGen() = default;

void TrieGen::routeIs(const Pax::IpGenPrefix &prefix, bool) {
  if (prefix.isEmpty() || prefix.af() != family_) return;
  const Bits bits = Bits::of(prefix.address());
  const unsigned within = prefix.length() % stride;
  const unsigned depth = prefix.length() - within;
  Node *node = root_.get();
  while (node->depth < depth) {
    const unsigned chunk = bits.chunkAt(node->depth);
    if (!node->hasChild(chunk)) {
      node = &node->childAdd(chunk, bits, depth);
      break;
    }
    node = &node->childAt(chunk);
    const unsigned fork = std::min(depth, bits.common(node->bits) / stride * stride);
    if (fork < node->depth) node->splitAt(fork);
  }
  const uint64_t place = bitOf(placeOf(bits.chunkAt(depth), within));
  if (node->prefixes & place) return;
  node->prefixes |= place;
  ++size_;
  ++version_;
  notify(&Notifiee::onRoute, Pax::IpGenPrefix(prefix));
}

void TrieGen::routeDel(const Pax::IpGenPrefix &prefix) {
  if (!route(prefix)) return;
  const Bits bits = Bits::of(prefix.address());
  const unsigned within = prefix.length() % stride;
  const unsigned depth = prefix.length() - within;
  Node *parent = nullptr, *node = root_.get();
  while (node->depth < depth) {
    parent = node;
    node = &node->childAt(bits.chunkAt(node->depth));
  }
  node->prefixes &= ~bitOf(placeOf(bits.chunkAt(depth), within));
  if (parent && node->prefixes == 0 && node->children == 0) {
    parent->childDel(bits.chunkAt(parent->depth));
    node = parent;
  }
  if (node != root_.get()) node->joinIfSingle();
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
  const Bits bits = Bits::of(address);
  uint64_t longest = 0;  // the matches in the deepest node that has any
  unsigned depth = 0;    // of that node
  for (const Node *node = root_.get();;) {
    const unsigned chunk = bits.chunkAt(node->depth);
    if (const uint64_t matches = node->prefixes & covering[chunk] & upTo(most - node->depth)) {
      longest = matches;
      depth = node->depth;
    }
    if (!node->hasChild(chunk)) break;
    node = &node->childAt(chunk);
    if (node->depth > most || !bits.agrees(node->bits, node->depth)) break;
  }
  if (longest == 0) return -1;
  const auto place = static_cast<unsigned>(std::bit_width(longest) - 1);
  return static_cast<int>(depth + std::bit_width(place) - 1);
}

void TrieGen::describe(Kiv::Visitor &visitor) const {
  visitor.enter("route");
  for (const Pax::IpGenPrefix &prefix : routes()) visitor.key(Kiv::toValue(prefix));
  visitor.leave();
}

std::vector<Pax::IpGenPrefix> TrieGen::routes() const {
  std::vector<Pax::IpGenPrefix> result;
  root_->collect(result, family_);
  std::sort(result.begin(), result.end());
  return result;
}

}  // namespace Routing
