// Conversion between the text encodings that host strings can be declared in.
#ifndef VORNIK_HOST_ENCODINGS_H
#define VORNIK_HOST_ENCODINGS_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vornik::host {

/// Whether the text is made of single bytes that mean ASCII below 0x80.
bool isByteEncoding(std::uint32_t encoding);

/// Code units in this machine's byte order; nothing for an encoding that the host does not know. Text of
/// unknown encoding (kEncodingUnknown) is read as Mac Roman. Malformed input becomes U+FFFD.
std::optional<std::u16string> decode(std::string_view bytes, std::uint32_t encoding);

/// Characters that the encoding lacks become its substitution character. Wide encodings get no
/// byte-order mark.
std::optional<std::string> encode(std::u16string_view units, std::uint32_t encoding);

/// Case-insensitive order of two texts by their folded code points: -1, 0 or 1.
int compareFolded(std::u16string_view a, std::u16string_view b);

}  // namespace vornik::host

#endif  // VORNIK_HOST_ENCODINGS_H
