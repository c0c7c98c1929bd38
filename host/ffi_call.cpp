#include "host/ffi_call.h"

#include <ffi.h>

#include <cstring>
#include <stdexcept>
#include <vector>

#include "host/state.h"

namespace vornik::host {
namespace {

ffi_type* ffiType(DeclaredType::Kind kind, bool isArray) {
  if (isArray) return &ffi_type_pointer;
  switch (kind) {
    case DeclaredType::Kind::kNone:
      return &ffi_type_void;
    case DeclaredType::Kind::kInteger:
      return &ffi_type_sint64;
    case DeclaredType::Kind::kBoolean:
      return &ffi_type_uint8;
    case DeclaredType::Kind::kDouble:
      return &ffi_type_double;
    case DeclaredType::Kind::kString:
    case DeclaredType::Kind::kVariant:
    case DeclaredType::Kind::kObject:
      return &ffi_type_pointer;
  }
  throw std::invalid_argument("callFunction: unknown kind of type");
}

}  // namespace

std::uint64_t callFunction(REALproc function, const void* object, std::span<const RawArgument> arguments,
                           DeclaredType::Kind result, bool resultIsArray) {
  const Boundary preparing(false);
  std::vector<ffi_type*> types{&ffi_type_pointer};
  std::vector<void*> values{&object};
  // libffi reads each value in its declared width at the address given. A Boolean is the first byte of its
  // word, as every platform in question is little-endian.
  std::vector<std::uint64_t> words;
  words.reserve(arguments.size());
  for (const RawArgument& argument : arguments) {
    if (argument.kind == DeclaredType::Kind::kNone) {
      throw std::invalid_argument("callFunction: argument without a type");
    }
    types.push_back(ffiType(argument.kind, argument.isArray));
    values.push_back(&words.emplace_back(argument.bits));
  }

  ffi_cif interface;
  if (ffi_prep_cif(&interface, FFI_DEFAULT_ABI, static_cast<unsigned>(types.size()),
                   ffiType(result, resultIsArray), types.data()) != FFI_OK) {
    throw std::invalid_argument("callFunction: the call cannot be prepared");
  }
  // Results narrower than a word are widened to one, so one word holds any of them.
  static_assert(sizeof(ffi_arg) == sizeof(std::uint64_t));
  std::uint64_t returned = 0;
  const Boundary calling(true);
  ffi_call(&interface, function, &returned, values.data());
  return result == DeclaredType::Kind::kBoolean && !resultIsArray ? returned & 0xFF : returned;
}

}  // namespace vornik::host
