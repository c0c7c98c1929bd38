// The library as it is right after it was loaded, again for every input: what one input leaves behind must
// not decide what the next one finds.
#ifndef VORNIK_TESTS_FUZZ_FRESH_LIBRARY_H
#define VORNIK_TESTS_FUZZ_FRESH_LIBRARY_H

#include <cstddef>
#include <filesystem>
#include <span>
#include <vector>

#include "plugin/frame/host_interface.h"

namespace vornik::fuzz {

/// A library that is loaded once and put back as often as wanted. All that it can write is the data of its
/// file (.data and .bss) and what it allocates; the counters of coverage lie in sections of their own and go
/// on. std::runtime_error when the file cannot be loaded or read.
class FreshLibrary {
 public:
  explicit FreshLibrary(const std::filesystem::path& file);

  using Entry = void(REALresolver);
  /// The entry point of the library, with all its data as it was after loading and its memory given back.
  Entry* entry();

 private:
  struct Section {
    std::span<volatile std::uint64_t> words;
    std::vector<std::uint64_t> original;
  };
  std::vector<Section> sections_;
  Entry* entry_ = nullptr;
};

}  // namespace vornik::fuzz

#endif  // VORNIK_TESTS_FUZZ_FRESH_LIBRARY_H
