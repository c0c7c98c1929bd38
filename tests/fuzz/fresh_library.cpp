#include "tests/fuzz/fresh_library.h"

#include <dlfcn.h>
#include <elf.h>
#include <link.h>

#include <bit>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>

#include "tests/support/failures_memory.h"

namespace vornik::fuzz {
namespace {

std::string contentsOf(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

template <typename Record>
const Record& recordAt(const std::string& contents, std::size_t offset) {
  if (offset + sizeof(Record) > contents.size()) throw std::runtime_error("the library's file is too short");
  return *reinterpret_cast<const Record*>(contents.data() + offset);
}

// The sanitizer keeps redzones between variables, which are copied along; it must not watch that.
#if defined(__clang__)
#define VORNIK_UNWATCHED [[clang::no_sanitize("address")]]
#else
#define VORNIK_UNWATCHED
#endif
VORNIK_UNWATCHED void copyFrom(std::span<volatile std::uint64_t> words, std::uint64_t* to) {
  for (std::size_t i = 0; i < words.size(); ++i) to[i] = words[i];
}
VORNIK_UNWATCHED void copyTo(std::span<volatile std::uint64_t> words, const std::uint64_t* from) {
  for (std::size_t i = 0; i < words.size(); ++i) words[i] = from[i];
}

}  // namespace

FreshLibrary::FreshLibrary(const std::filesystem::path& file) {
  void* const library = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) throw std::runtime_error(dlerror());
  entry_ = reinterpret_cast<Entry*>(dlsym(library, "REALPluginMain"));
  link_map* mapped = nullptr;
  if (entry_ == nullptr || dlinfo(library, RTLD_DI_LINKMAP, &mapped) != 0) {
    throw std::runtime_error("no library of ours: " + file.string());
  }
  const std::string contents = contentsOf(file);
  const auto& header = recordAt<Elf64_Ehdr>(contents, 0);
  const auto section = [&](std::size_t index) -> const Elf64_Shdr& {
    return recordAt<Elf64_Shdr>(contents, header.e_shoff + index * header.e_shentsize);
  };
  for (std::size_t i = 0; i < header.e_shnum; ++i) {
    const std::string_view name = contents.data() + section(header.e_shstrndx).sh_offset + section(i).sh_name;
    if (name != ".data" && name != ".bss") continue;
    auto* const begin = std::bit_cast<std::uint64_t*>(mapped->l_addr + section(i).sh_addr);
    sections_.push_back({{begin, section(i).sh_size / sizeof *begin}, {}});
    sections_.back().original.resize(sections_.back().words.size());
    copyFrom(sections_.back().words, sections_.back().original.data());
  }
  if (sections_.empty()) throw std::runtime_error("no data sections in " + file.string());
}

FreshLibrary::Entry* FreshLibrary::entry() {
  for (const Section& section : sections_) copyTo(section.words, section.original.data());
  behaviour::freeLibraryMemory();
  return entry_;
}

}  // namespace vornik::fuzz
