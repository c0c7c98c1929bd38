// Any script against all classes, in any host. The library starts anew with every input.
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <stdexcept>

#include "tests/fuzz/fresh_library.h"
#include "tests/fuzz/player.h"
#include "tests/support/failures_memory.h"

namespace vornik::fuzz {
namespace {

/// What the library may keep for later when nothing is left of all containers: the list of blocks and one
/// spare block of each of its tables of positions.
constexpr std::size_t kMostKept = 44;

std::uint64_t allSteps = 0;

struct Outcome {
  std::uint64_t digest = 0;
  bool repeats = false;
};

template <typename Load>
Outcome play(const std::uint8_t* data, std::size_t size, Load load) {
  Input input(data, size);
  host::Host host(hostOptions(input));
  try {
    load(host);
  } catch (const std::runtime_error&) {
    return {};  // a host that lacks what registration needs
  }
  Player player(host, input);
  player.run();
  allSteps += player.steps();
  return {player.digest(), player.repeats()};
}

}  // namespace
}  // namespace vornik::fuzz

using namespace vornik::fuzz;

/// Ahead of the first input, so that the fuzzer knows the library's code from the beginning.
static FreshLibrary& theLibrary() {
  static FreshLibrary library(VORNIK_PLUGIN_PATH);
  return library;
}

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  theLibrary();
  vornik::behaviour::countLibraryMemory();
  return std::atexit([] { std::printf("steps: %llu\n", static_cast<unsigned long long>(allSteps)); });
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  [[maybe_unused]] const Outcome outcome =
      play(data, size, [](auto& host) { host.enter(*theLibrary().entry()); });
  if (vornik::behaviour::libraryAllocations() > kMostKept) fault("the library keeps memory");
#ifdef VORNIK_REPLAY
  // After all the inputs before it, this one still sees what it sees in a library that was never used. Copies
  // of the library stay mapped, so not for ever.
  static int comparisons = 0;
  if (!outcome.repeats || ++comparisons > 100) return 0;
  const Outcome first = play(data, size, [](auto& host) { host.load(VORNIK_PLUGIN_PATH); });
  if (outcome.digest != first.digest) fault("the library was not as good as new");
#endif
  return 0;
}
