#include "tests/behaviour/failures_memory.h"

#include <cstdlib>
#include <cstring>
#include <new>

#include "host/host.h"

namespace vornik::behaviour {
namespace {

struct {
  int untilFailure = 0;  // 0: none is due
  bool lasts = false;
  int failures = 0;
} shortage;

void* allocate(std::size_t size, std::size_t alignment = 0) noexcept {
  if (shortage.untilFailure != 0 && host::Host::insidePlugin()) {
    if (shortage.untilFailure == 1) {
      if (!shortage.lasts) shortage.untilFailure = 0;
      ++shortage.failures;
      return nullptr;
    }
    --shortage.untilFailure;
  }
  if (size == 0) size = 1;
  void* const memory = alignment == 0
                           ? std::malloc(size)
                           : std::aligned_alloc(alignment, (size + alignment - 1) / alignment * alignment);
  // Nobody may rely on what new memory holds.
  return memory != nullptr ? std::memset(memory, 0xA5, size) : nullptr;
}

void* allocateOrThrow(std::size_t size, std::size_t alignment = 0) {
  void* memory = allocate(size, alignment);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

}  // namespace

void limitMemory(int nth, Shortage kind) {
  shortage = {nth, kind == Shortage::kFromThenOn, 0};
}
int unlimitMemory() {
  shortage.untilFailure = 0;
  return shortage.failures;
}

}  // namespace vornik::behaviour

using vornik::behaviour::allocate;
using vornik::behaviour::allocateOrThrow;

// The library's allocation functions are these too: it takes them from the executable, which exports them.
// clang-format off
#define VORNIK_ALLOCATION_FUNCTIONS(form)                                                                  \
  void* operator new form(std::size_t size) { return allocateOrThrow(size); }                              \
  void* operator new form(std::size_t size, std::align_val_t alignment) {                                  \
    return allocateOrThrow(size, static_cast<std::size_t>(alignment));                                     \
  }                                                                                                        \
  void* operator new form(std::size_t size, const std::nothrow_t&) noexcept { return allocate(size); }     \
  void operator delete form(void* memory) noexcept { std::free(memory); }                                  \
  void operator delete form(void* memory, std::size_t) noexcept { std::free(memory); }                     \
  void operator delete form(void* memory, const std::nothrow_t&) noexcept { std::free(memory); }           \
  void operator delete form(void* memory, std::align_val_t) noexcept { std::free(memory); }                \
  void operator delete form(void* memory, std::size_t, std::align_val_t) noexcept { std::free(memory); }
// clang-format on
VORNIK_ALLOCATION_FUNCTIONS()
VORNIK_ALLOCATION_FUNCTIONS([])
