#include "bench/memory_use.h"

#include <fstream>
#include <string>

#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace vornik::bench {
namespace {

#ifdef __GLIBC__
/// A line of the process's status, in bytes.
std::optional<std::size_t> status(const std::string& field) {
  std::ifstream file("/proc/self/status");
  for (std::string word; file >> word;) {
    std::size_t kibibytes = 0;
    if (word == field && file >> kibibytes) return kibibytes * 1024;
  }
  return std::nullopt;
}
#endif

}  // namespace

#ifdef __GLIBC__

// Setting any parameter merges the freed blocks.
void settleHeap() {
  mallopt(M_TRIM_THRESHOLD, 1 << 30);
}

std::optional<std::size_t> allocatedBytes() {
  const struct mallinfo2 info = mallinfo2();
  return info.uordblks + info.hblkhd;
}

ResidentPeak::ResidentPeak() {
  // The C library keeps freed blocks up to a size that it learns from earlier ones, so that the peak would
  // hang on what was measured before; arrays of a container's size shall go back at once, always.
  mallopt(M_MMAP_THRESHOLD, 128 << 10);
  malloc_trim(0);
  std::ofstream file("/proc/self/clear_refs");
  if (file << 5 << std::flush) before_ = status("VmRSS:");  // the peak begins anew from here
}

std::optional<std::size_t> ResidentPeak::growth() const {
  const auto peak = status("VmHWM:");
  if (!before_ || !peak) return std::nullopt;
  return *peak > *before_ ? *peak - *before_ : 0;
}

#else

void settleHeap() {}
std::optional<std::size_t> allocatedBytes() {
  return std::nullopt;
}
ResidentPeak::ResidentPeak() = default;
std::optional<std::size_t> ResidentPeak::growth() const {
  return std::nullopt;
}

#endif

}  // namespace vornik::bench
