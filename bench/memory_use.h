// What the process's memory is used for, as far as the system tells. GNU C library and Linux; elsewhere
// nothing is known.
#ifndef VORNIK_BENCH_MEMORY_USE_H
#define VORNIK_BENCH_MEMORY_USE_H

#include <cstddef>
#include <optional>

namespace vornik::bench {

/// Merges what earlier subjects left behind in the heap, so that the next one does not pay for it; keeps the
/// memory, so that no subject pays for getting it from the system again.
void settleHeap();

/// Bytes that are allocated now, the allocator's own headers and rounding included.
std::optional<std::size_t> allocatedBytes();

/// Resident bytes: how many more there were at most since this object was made than when it was made. Gives
/// the heap's free memory back to the system first.
class ResidentPeak {
 public:
  ResidentPeak();
  std::optional<std::size_t> growth() const;

 private:
  std::optional<std::size_t> before_;
};

}  // namespace vornik::bench

#endif  // VORNIK_BENCH_MEMORY_USE_H
