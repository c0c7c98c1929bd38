// Put in front of every file of a build with mutants: the switch that chooses one of them at run time.
//
//   VORNIK_MUTANT=NUMBER         that mutant is the code; without it, the code is what was written
//   VORNIK_MUTANTS_REACHED=FILE  none is; the byte of each one that is reached becomes 1, also where the
//                                process crashes
//
// What the compiler evaluates stays as it was written.
#if !defined(VORNIK_MUTATION_MUTANT_H) && __cplusplus >= 202002L  // not where CMake tries the compiler
#define VORNIK_MUTATION_MUTANT_H

#include <fcntl.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vornik {

/// Each loaded copy of the library has its own, set before anything else in it runs.
struct MutantSwitch {
  static constexpr int kNone = -1;
  static constexpr int kRecord = -2;

  int chosen = kNone;
  unsigned char* reached = nullptr;

  void set() noexcept {
    if (const char* const number = getenv("VORNIK_MUTANT")) chosen = atoi(number);
    const char* const path = getenv("VORNIK_MUTANTS_REACHED");
    if (path == nullptr || reached != nullptr) return;
    const int file = open(path, O_RDWR);
    struct stat status = {};
    if (file < 0 || fstat(file, &status) != 0) abort();
    void* const mapped =
        mmap(nullptr, static_cast<size_t>(status.st_size), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    if (mapped == MAP_FAILED) abort();
    close(file);
    reached = static_cast<unsigned char*>(mapped);
    chosen = kRecord;
  }
};
inline constinit MutantSwitch mutantSwitch;
[[gnu::constructor(101)]] static inline void setMutantSwitch() noexcept {
  mutantSwitch.set();
}

[[gnu::always_inline]] constexpr bool mutant(int number) noexcept {
  if (__builtin_is_constant_evaluated()) return false;
  if (mutantSwitch.chosen == MutantSwitch::kRecord) [[unlikely]]
    mutantSwitch.reached[number] = 1;
  return mutantSwitch.chosen == number;
}

}  // namespace vornik

#endif
