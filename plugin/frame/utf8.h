// What counts as UTF-8.
#ifndef VORNIK_FRAME_UTF8_H
#define VORNIK_FRAME_UTF8_H

#include <algorithm>
#include <cstdint>

namespace vornik {

/// The number of bytes of the character that `text`, of `count` bytes and not empty, begins with; 0 when it
/// begins with none: no overlong form, no surrogate, none past U+10FFFF.
inline std::int64_t utf8CharacterLength(const std::uint8_t* text, std::int64_t count) noexcept {
  const std::uint8_t lead = text[0];
  if (lead < 0x80) return 1;
  if (lead < 0xC2 || lead > 0xF4) return 0;
  const std::int64_t length = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
  if (length > count) return 0;
  const std::uint8_t least = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
  const std::uint8_t greatest = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
  if (text[1] < least || text[1] > greatest) return 0;
  const auto continues = [](std::uint8_t byte) { return (byte & 0xC0) == 0x80; };
  return std::all_of(text + 2, text + length, continues) ? length : 0;
}

}  // namespace vornik

#endif  // VORNIK_FRAME_UTF8_H
