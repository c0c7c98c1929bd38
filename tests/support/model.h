// Two containers of one class and a model of each, which knows nothing of the library: every answer is
// compared. Iterators are held across every change, so that entries go, and their memory is used again, under
// iterators that have to know it.
#ifndef VORNIK_TESTS_SUPPORT_MODEL_H
#define VORNIK_TESTS_SUPPORT_MODEL_H

#include <functional>
#include <span>

#include "tests/support/class_facts.h"

namespace vornik::behaviour {

/// What Variant keys hold. Those of one sort have an order; hash classes tell the first nine apart.
struct KeySort {
  VariantType type;
  bool isUnsigned = false;
};
inline constexpr std::array kKeySorts{
    KeySort{kVariantString},      KeySort{kVariantText},       KeySort{kVariantInt32},
    KeySort{kVariantInt64},       KeySort{kVariantSingle},     KeySort{kVariantDouble},
    KeySort{kVariantColor},       KeySort{kVariantCurrency},   KeySort{kVariantBoolean},
    KeySort{kVariantInt32, true}, KeySort{kVariantInt64, true}};

struct ModelRun {
  Subject subject;
  std::span<const KeySort> sorts;  ///< of Variant keys
  std::size_t keys, iterators;     ///< how many different ones
  /// A number below the one that is given, at most 256: a random one, or what a fuzzer's bytes say.
  std::function<std::size_t(std::size_t)> below;
};

/// One of the keys.
Value modelKey(const ModelRun& run);

/// Runs operations as long as there are some. std::logic_error, with the number and the name of the
/// operation, when an answer is not what the model says.
void compareWithModel(const ModelRun& run, const std::function<bool()>& goesOn);

}  // namespace vornik::behaviour

#endif  // VORNIK_TESTS_SUPPORT_MODEL_H
