// The bytes of one input, read from the front. Whoever asks for more than there is gets zeros, so that every
// input means something.
#ifndef VORNIK_TESTS_FUZZ_INPUT_H
#define VORNIK_TESTS_FUZZ_INPUT_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <string>

#include "plugin/frame/host_interface.h"

namespace vornik::fuzz {

inline constexpr std::uint32_t kEncodings[] = {
    kEncodingUTF8,    kEncodingASCII,   kEncodingUTF16, kEncodingMacRoman,      kEncodingISOLatin1,
    kEncodingUTF16BE, kEncodingUTF16LE, kEncodingUTF32, kEncodingWindowsLatin1, kEncodingUTF32BE,
    kEncodingUTF32LE, kEncodingUnknown, 0x1234};

/// Ends the process with a message, which is how a fuzzer takes note.
[[noreturn]] inline void fault(const std::string& what) {
  std::fprintf(stderr, "fault: %s\n", what.c_str());
  std::abort();
}

class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size) : rest_(data, size) {}

  bool empty() const { return rest_.empty(); }
  std::uint8_t byte() {
    if (rest_.empty()) return 0;
    const std::uint8_t first = rest_.front();
    rest_ = rest_.subspan(1);
    return first;
  }
  /// A number below `count`, which is at most 256 and not 0.
  std::size_t below(std::size_t count) { return byte() % count; }
  bool oneIn(std::size_t count) { return below(count) == count - 1; }
  std::uint64_t word() {
    std::uint64_t word = 0;
    for (int i = 0; i < 8; ++i) word = word << 8 | byte();
    return word;
  }
  std::string bytes(std::size_t count) {
    count = std::min(count, rest_.size());
    std::string bytes(rest_.begin(), rest_.begin() + static_cast<std::ptrdiff_t>(count));
    rest_ = rest_.subspan(count);
    return bytes;
  }
  template <typename Range>
  const auto& among(const Range& range) {
    return *std::next(std::begin(range), static_cast<std::ptrdiff_t>(below(std::size(range))));
  }

 private:
  std::span<const std::uint8_t> rest_;
};

}  // namespace vornik::fuzz

#endif  // VORNIK_TESTS_FUZZ_INPUT_H
