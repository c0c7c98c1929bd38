// Calls of registered functions, whose shapes are known only from their declarations.
#ifndef VORNIK_HOST_FFI_CALL_H
#define VORNIK_HOST_FFI_CALL_H

#include <cstdint>
#include <span>

#include "host/declaration.h"
#include "plugin/frame/host_interface.h"

namespace vornik::host {

/// One argument as the calling convention sees it: Integer as itself, Boolean in the low byte, Double as
/// its bit pattern, everything else (strings, objects, variants, arrays) as an address. References are
/// not touched.
struct RawArgument {
  DeclaredType::Kind kind = DeclaredType::Kind::kNone;
  bool isArray = false;
  std::uint64_t bits = 0;
};

/// Calls function(object, arguments...) and returns its result, encoded like an argument; 0 for kNone. A
/// Boolean result is the byte as returned, so that the caller can see one that is neither 0 nor 1.
/// std::invalid_argument for an argument of kind kNone. Exceptions must not come out of the function.
std::uint64_t callFunction(REALproc function, const void* object, std::span<const RawArgument> arguments,
                           DeclaredType::Kind result, bool resultIsArray);

}  // namespace vornik::host

#endif  // VORNIK_HOST_FFI_CALL_H
