// Eight bytes of a text as a number, so that most texts are compared as numbers are.
//
// A group of texts keeps what all of them begin with once, as its prefix; the head of a text is what follows
// there. Heads order as the texts do, byte for byte, and two that differ decide. One that takes in the text's
// end (it has a zero byte) decides also where two are the same.
#ifndef VORNIK_VALUES_TEXT_HEADS_H
#define VORNIK_VALUES_TEXT_HEADS_H

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace vornik {

using TextHead = std::uint64_t;

/// What all texts of a group begin with, up to a bound: texts that have more in common have the same head.
struct TextPrefix {
  static constexpr std::size_t kRoom = 111;
  std::uint8_t length = 0;
  char bytes[kRoom];

  TextPrefix() = default;
  /// The longest for a text that is alone in its group.
  explicit TextPrefix(std::string_view text) noexcept
      : length(static_cast<std::uint8_t>(std::min(text.size(), kRoom))) {
    std::copy_n(text.data(), length, bytes);
  }
  std::string_view text() const { return {bytes, length}; }
  void shorten(std::size_t to) { length = static_cast<std::uint8_t>(to); }

  friend bool operator==(const TextPrefix& a, const TextPrefix& b) { return a.text() == b.text(); }
};

/// How many bytes two texts have in common at their beginning.
inline std::size_t commonLength(std::string_view a, std::string_view b) {
  return static_cast<std::size_t>(std::mismatch(a.begin(), a.end(), b.begin(), b.end()).first - a.begin());
}

/// The head of a text without zero bytes from `offset` on, which it reaches; zeros stand for what it does
/// not have.
inline TextHead headOf(std::string_view text, std::size_t offset) {
  unsigned char bytes[8] = {};
  std::copy_n(text.data() + offset, std::min(text.size() - offset, sizeof bytes), bytes);
  TextHead head = 0;
  for (const unsigned char byte : bytes) head = head << 8 | byte;
  return head;
}

/// The head behind a prefix for the same text behind its first `length` bytes. Needs the stored bytes alone.
inline TextHead headBehindShorter(TextHead head, const TextPrefix& prefix, std::size_t length) {
  const std::size_t more = std::min(prefix.length - length, sizeof head);
  if (more == 0) return head;
  const TextHead front = headOf({prefix.bytes + length, more}, 0);
  return more == sizeof head ? front : front | head >> (8 * more);
}

/// Whether the text ends within the head.
constexpr bool reachesEnd(TextHead head) {
  constexpr TextHead kOnes = 0x0101010101010101;
  return ((head - kOnes) & ~head & (kOnes << 7)) != 0;
}

}  // namespace vornik

#endif  // VORNIK_VALUES_TEXT_HEADS_H
