// Long random runs over containers of every class against a model: the order of keys, which of them are the
// same, what iterators are good for. Texts come in many encodings, with zeros and illegal bytes in them and
// long common beginnings; Variants in every type.
//
// The run over the ordered Integer map has 300,000 operations, or as many as VORNIK_OPERATIONS says; every
// other class has about 20,000.
#include <cstdlib>
#include <random>

#include "tests/support/container_test.h"
#include "tests/support/model.h"

namespace vornik::behaviour {
namespace {

struct Differential : ContainerTest {
  void run(std::span<const KeySort> sorts, std::size_t keys, std::size_t iterators, long operations) {
    std::mt19937 random(20);
    const auto below = [&](std::size_t bound) { return random() % bound; };
    compareWithModel({GetParam(), sorts, keys, iterators, below}, [&] { return operations-- > 0; });
  }
};
VORNIK_FOR_CLASSES(Differential, anyClass);

TEST_P(Differential, AnswersLikeItsModel) {
  const bool isMain = facts().name == std::string_view("IntegerToIntegerOrderedMapQZR");
  const char* const chosen = std::getenv("VORNIK_OPERATIONS");
  if (isMain) return run(kKeySorts, 300, 256, chosen != nullptr ? std::atol(chosen) : 300'000);
  const bool oneSortEach = facts().ordered && facts().key == kAny;
  for (const std::size_t keys : {20u, facts().ordered ? 700u : 150u}) {
    if (!oneSortEach) run(std::span(kKeySorts).first(9), keys, 100, 10'000);
    for (const KeySort& sort : kKeySorts) {
      if (oneSortEach) run({&sort, 1}, keys, 100, &sort < &kKeySorts[2] ? 4'000 : 1'000);
    }
  }
}

}  // namespace
}  // namespace vornik::behaviour
