// Moving objects by their bytes.
#ifndef VORNIK_STRUCTURES_RELOCATION_H
#define VORNIK_STRUCTURES_RELOCATION_H

#include <type_traits>

namespace vornik {

/// What may be moved by copying its bytes and forgetting the original, since nothing depends on where it lies.
/// A type of which the compiler cannot tell says so itself, with a constant kTriviallyRelocatable.
template <typename Type>
concept TriviallyRelocatable = std::is_trivially_copyable_v<Type> || Type::kTriviallyRelocatable;

}  // namespace vornik

#endif  // VORNIK_STRUCTURES_RELOCATION_H
