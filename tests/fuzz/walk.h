// What must hold of a container whatever was done to it, looked at through the functions that script code
// would call.
#ifndef VORNIK_TESTS_FUZZ_WALK_H
#define VORNIK_TESTS_FUZZ_WALK_H

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "host/host.h"
#include "tests/support/class_facts.h"

namespace vornik::fuzz {

/// Ends the process with a message, which is how a fuzzer takes note.
[[noreturn]] void fault(const std::string& what);

/// Key and value of every entry in the order of iteration: numbers, or the addresses of what is held.
using Contents = std::vector<std::pair<std::uint64_t, std::uint64_t>>;

/// Which keys that a walk meets must also be found: the host's comparison without regard to case is no order
/// over texts that it cannot read.
enum class Findable { kNone, kCaseSensitive, kAll };

/// Walks containers of one class.
class Walker {
 public:
  Walker(host::Host& host, const behaviour::ClassFacts& facts);

  /// Walks forwards and back, and holds both against each other, Count and the order of Integer keys. Keys
  /// that are Variants need not be found. Nothing for an object without a container, or where the host makes
  /// no iterators. Every entry has a position afterwards.
  std::optional<Contents> walk(const host::Value& container, Findable findable) const;

 private:
  REALproc function(const std::string& className, const char* method, std::size_t parameters) const;
  std::uint64_t taken(REALproc getter, behaviour::Kind kind, REALobjectStruct* iterator) const;
  host::Value iteratorBy(REALproc getter, const host::Value& container) const;

  host::Host& host_;
  const behaviour::ClassFacts& facts_;
  REALproc first_, last_, countKey_, moveNext_, movePrevious_, key_, value_, isNotEqual_;
};

}  // namespace vornik::fuzz

#endif  // VORNIK_TESTS_FUZZ_WALK_H
