// The keys that operations run over.
#ifndef VORNIK_BENCH_KEYS_H
#define VORNIK_BENCH_KEYS_H

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "fmt/format.h"

namespace vornik::bench {

/// The same keys for every operation, each in an order of its own.
template <typename Key>
struct Workload {
  std::vector<Key> inserted, read, removed;
  std::vector<Key> absent;  ///< as many others of the same sort
  std::vector<Key> beyond;  ///< as many greater than all the others; none for texts
  std::mt19937_64 random{42};

  std::size_t size() const { return inserted.size(); }
  void shuffle() {
    for (auto* keys : {&inserted, &read, &removed, &absent, &beyond}) {
      std::shuffle(keys->begin(), keys->end(), random);
    }
  }
  /// New orders where there are so few keys that the processor would learn the old ones by heart.
  void shuffleFew() {
    if (size() <= 10'000) shuffle();
  }
};

using Integers = Workload<std::int64_t>;
using Texts = Workload<std::string>;

/// The numbers from 0 on, or random ones of 62 bits. All that is absent is beyond where they are dense.
inline Integers makeIntegers(std::size_t size, bool dense) {
  Integers load;
  const auto fill = [&](std::vector<std::int64_t>& keys, std::int64_t from) {
    keys.resize(size);
    for (std::size_t i = 0; i < size; ++i) {
      keys[i] = dense ? from + static_cast<std::int64_t>(i) : static_cast<std::int64_t>(load.random()) >> 2;
    }
  };
  fill(load.inserted, 0);
  load.read = load.removed = load.inserted;
  fill(load.absent, static_cast<std::int64_t>(size));
  load.beyond = load.absent;
  if (!dense) {
    constexpr std::int64_t kBeyond = std::int64_t{1} << 62;
    for (std::int64_t& key : load.beyond) key = (key & (kBeyond - 1)) | kBeyond;
  }
  load.shuffle();
  return load;
}

enum class TextShape { kCustomer, kUrl };

inline std::string textKey(TextShape shape, std::size_t number) {
  constexpr const char* kSections[] = {"books", "music", "garden", "kitchen",
                                       "toys",  "shoes", "travel", "office"};
  if (shape == TextShape::kCustomer) return fmt::format("customer {}", number);
  return fmt::format("https://www.example.org/catalogue/{}/item-{}.html", kSections[number * 7 % 8], number);
}

inline Texts makeTexts(std::size_t size, TextShape shape) {
  Texts load;
  for (std::size_t i = 0; i < size; ++i) {
    load.inserted.push_back(textKey(shape, i));
    load.absent.push_back(textKey(shape, size + i));
  }
  load.read = load.removed = load.inserted;
  load.shuffle();
  return load;
}

}  // namespace vornik::bench

#endif  // VORNIK_BENCH_KEYS_H
