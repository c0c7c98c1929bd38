// Memory that runs out on command: for the library's allocations only, never for the host's or the test's.
#ifndef VORNIK_TESTS_SUPPORT_FAILURES_MEMORY_H
#define VORNIK_TESTS_SUPPORT_FAILURES_MEMORY_H

#include <cstddef>

namespace vornik::behaviour {

enum class Shortage { kOneAllocation, kFromThenOn };

/// From now on the library's nth allocation fails, counted from 1; and so do all later ones if the shortage
/// is to last.
void limitMemory(int nth, Shortage shortage);
/// Ends that; how many allocations failed.
int unlimitMemory();

/// From now on what the library allocates and has not given back yet is kept account of.
void countLibraryMemory();
/// How many allocations of the library's are not given back, since the last call of the next one.
std::size_t libraryAllocations();
/// Frees them all, for a library that has forgotten about them.
void freeLibraryMemory();

}  // namespace vornik::behaviour

#endif  // VORNIK_TESTS_SUPPORT_FAILURES_MEMORY_H
