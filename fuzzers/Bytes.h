/// The fuzzer's bytes as a row of choices.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <span>

namespace Fuzz {

/// Reads from the front, so that what comes later keeps its meaning when a byte is changed. Used up, it says 0.
class Bytes {
 public:
  Bytes(const uint8_t *data, size_t size) : left_(data, size) {}

  bool empty() const { return left_.empty(); }
  uint8_t u8() {
    if (left_.empty()) return 0;
    const uint8_t first = left_.front();
    left_ = left_.subspan(1);
    return first;
  }
  uint16_t u16() {
    const uint8_t high = u8();
    return static_cast<uint16_t>(high << 8 | u8());
  }
  /// 0 to count - 1; count is at most 256.
  uint32_t upTo(size_t count) { return static_cast<uint32_t>(u8() % count); }
  /// True for one value of `count`.
  bool oneIn(size_t count) { return upTo(count) == count - 1; }
  std::span<const uint8_t> take(size_t size) {
    const auto taken = left_.first(std::min(size, left_.size()));
    left_ = left_.subspan(taken.size());
    return taken;
  }
  std::span<const uint8_t> rest() { return take(left_.size()); }

 private:
  std::span<const uint8_t> left_;
};

/// Ends the run as a finding, with a text, unless that is empty.
inline void expectNothing(const std::string &wrong) {
  if (wrong.empty()) return;
  std::cerr << wrong << std::endl;
  std::abort();
}

}  // namespace Fuzz
