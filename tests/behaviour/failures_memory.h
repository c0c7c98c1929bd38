// Memory that runs out on command: for the library's allocations only, never for the host's or the test's.
#ifndef VORNIK_TESTS_BEHAVIOUR_FAILURES_MEMORY_H
#define VORNIK_TESTS_BEHAVIOUR_FAILURES_MEMORY_H

namespace vornik::behaviour {

enum class Shortage { kOneAllocation, kFromThenOn };

/// While it lives, the library's nth allocation fails, counted from 1; and so do all later ones if the
/// shortage is to last. One at a time.
class MemoryShortage {
 public:
  MemoryShortage(int nth, Shortage shortage);
  ~MemoryShortage();
  MemoryShortage(const MemoryShortage&) = delete;
  MemoryShortage& operator=(const MemoryShortage&) = delete;

  /// Allocations that failed so far.
  int failures() const;
};

}  // namespace vornik::behaviour

#endif  // VORNIK_TESTS_BEHAVIOUR_FAILURES_MEMORY_H
