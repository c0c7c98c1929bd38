// Memory that runs out on command: for the library's allocations only, never for the host's or the test's.
#ifndef VORNIK_TESTS_BEHAVIOUR_FAILURES_MEMORY_H
#define VORNIK_TESTS_BEHAVIOUR_FAILURES_MEMORY_H

namespace vornik::behaviour {

enum class Shortage { kOneAllocation, kFromThenOn };

/// From now on the library's nth allocation fails, counted from 1; and so do all later ones if the shortage
/// is to last.
void limitMemory(int nth, Shortage shortage);
/// Ends that; how many allocations failed.
int unlimitMemory();

}  // namespace vornik::behaviour

#endif  // VORNIK_TESTS_BEHAVIOUR_FAILURES_MEMORY_H
