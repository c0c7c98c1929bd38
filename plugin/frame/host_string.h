// Host strings from bytes.
#ifndef VORNIK_FRAME_HOST_STRING_H
#define VORNIK_FRAME_HOST_STRING_H

#include <cstdint>

#include "plugin/frame/host_interface.h"

namespace vornik {

/// Hosts from this version on declare a string's encoding when they build it.
inline constexpr double kFirstHostBuildingWithEncoding = 2012.0;

/// A new host string of `count` bytes of text in the given encoding; one reference for the caller, or null
/// (the empty string) for null or no bytes, for 2^31 bytes or more, and when the host cannot build it. UTF-16
/// text becomes a UTF-8 string; single-byte text that is plain ASCII is declared as ASCII.
REALstringStruct* REALBuildUnicodeString(const void* data, std::int64_t count,
                                         std::uint32_t encoding) noexcept;

}  // namespace vornik

#endif  // VORNIK_FRAME_HOST_STRING_H
