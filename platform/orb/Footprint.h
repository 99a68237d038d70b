/// The memory that something will look at when its time comes.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace Orb {

constexpr size_t cacheLine = 64;  ///< bytes

/// Begins to fetch the cache lines from that of `address` on. Nothing need be there.
// Inlined, since g++ drops a call that does nothing but this.
[[gnu::always_inline]] inline void fetchLines(uintptr_t address, size_t lines) {
  for (; lines > 0; --lines, address += cacheLine) {
    // Pointers that are added to must point at something.
    __builtin_prefetch(reinterpret_cast<const void *>(address));  // NOLINT(performance-no-int-to-ptr)
  }
}
[[gnu::always_inline]] inline void fetchLines(const void *object, size_t lines) {
  fetchLines(reinterpret_cast<uintptr_t>(object), lines);
}

/// In a simulation of thousands of routers most of what an event looks at is in no cache, and it would wait for one
/// object to find the next. Whoever knows the objects beforehand notes them here, so that all of them can be fetched at
/// once, while other events run. Only addresses are kept: what was noted may be gone, which costs time and nothing
/// else.
class Footprint {
 public:
  /// Forgets everything.
  void clear() { range_ = {}; }
  /// Notes the memory from `begin` to `end`. What does not fit is left out.
  void add(const void *begin, const void *end) {
    const uintptr_t first = reinterpret_cast<uintptr_t>(begin) / cacheLine;
    const uintptr_t lines = (reinterpret_cast<uintptr_t>(end) + cacheLine - 1) / cacheLine - first;
    const auto unused = std::find(range_.begin(), range_.end(), 0);
    if (unused != range_.end()) *unused = first * cacheLine + std::min(lines, cacheLine - 1);
  }
  template <class T>
  void add(const T &object) {
    add(&object, &object + 1);
  }

  /// Begins to fetch the note itself.
  [[gnu::always_inline]] void fetch() const { fetchLines(this, sizeof *this / cacheLine + 1); }
  /// Begins to fetch what is noted, in parts 0, 1 and 2, since the processor fetches only so much at once.
  [[gnu::always_inline]] void fetchPart(size_t part) const {
    for (size_t at = part * partSize; at < (part + 1) * partSize; ++at) {
      fetchLines(range_[at] / cacheLine * cacheLine, range_[at] % cacheLine);
    }
  }
  static constexpr size_t parts = 3;

 private:
  static constexpr size_t partSize = 5;
  std::array<uintptr_t, parts * partSize> range_{};  // each the address of a line, plus how many lines; 0: unused
};

}  // namespace Orb
