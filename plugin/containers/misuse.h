// Uses of iterators that no container can serve, and the exceptions they raise.
#ifndef VORNIK_CONTAINERS_MISUSE_H
#define VORNIK_CONTAINERS_MISUSE_H

#include "plugin/frame/errors.h"

namespace vornik {

/// The entry was removed, or its container cleared, rebuilt or destroyed.
inline void raiseStaleIterator() {
  RaiseException("RuntimeException", "Iterator is no longer valid");
}
/// The position belongs to another object.
inline void raiseForeignIterator() {
  RaiseException("RuntimeException", "Iterator belongs to another container");
}
/// Reading, removing or stepping on from the end position.
inline void raiseAtEnd() {
  RaiseException("OutOfBoundsException", "Iterator is at the end position");
}
/// Stepping back from the first entry, or from the end of an empty container.
inline void raiseAtFirst() {
  RaiseException("OutOfBoundsException", "Iterator is at the first position");
}
/// A range whose end cannot be reached from its start.
inline void raiseReversedRange() {
  RaiseException("OutOfBoundsException", "last does not follow first");
}

}  // namespace vornik

#endif  // VORNIK_CONTAINERS_MISUSE_H
