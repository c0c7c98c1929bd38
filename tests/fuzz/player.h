// A script made of an input's bytes: each step is one thing that script code can do.
#ifndef VORNIK_TESTS_FUZZ_PLAYER_H
#define VORNIK_TESTS_FUZZ_PLAYER_H

#include <array>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <string>
#include <unordered_map>
#include <vector>

#include "tests/fuzz/input.h"
#include "tests/fuzz/walk.h"

namespace vornik::fuzz {

/// What the host of an input is like, by its first bytes.
host::HostOptions hostOptions(Input& input);

/// Plays an input against the library in a host. What the script holds lies in slots; destructors of script
/// objects and code of dictionaries play on in the middle of a step.
///
/// Two containers that hold each other would never go. So everything has a level, a container may hold only
/// what lies on deeper ones, and what comes out of a container lies on its level.
class Player {
 public:
  Player(host::Host& host, Input& input);
  ~Player();

  /// Plays to the end of the input and lets go of everything.
  void run();

  std::uint64_t steps() const { return steps_; }
  /// Whether what the script sees depends on nothing but the input.
  bool repeats() const { return !objects_ && !addressesCount_; }
  /// Of everything that the script saw: the same for every run of the same input.
  std::uint64_t digest() const { return digest_; }

 private:
  using Value = host::Value;
  using Level = std::uint8_t;
  static constexpr Level kDeepest = 255;

  void step();
  void nestedStep();
  template <typename Operation>
  void attempt(const std::string& name, const Value& subject, Operation operation);
  void note(const std::string& seen);
  void check(std::size_t slot);

  void create();
  void put();
  void removeRange();
  void callAny();
  void assignAny();
  void misfortune();
  void handleArrayOrDictionary();

  Value& anySlot() { return slots_[input_.below(slots_.size())]; }
  Value anyContainer();
  const Value* slotOfClass(const std::string& className);
  std::vector<Value> arguments(const host::Declaration& declaration, const Value& self);
  Value argument(const host::DeclaredType& type, const Value& self);
  Value integer();
  Value text();
  Value variant(Level holder);
  Value scriptObject();
  Value array(host::DeclaredType::Kind kind);
  void keep(Value value, Level level);

  Level levelOf(const Value& value) const;
  void setLevel(const Value& value, Level level);
  const Walker* walkerOf(const Value& value);

  host::Host& host_;
  Input& input_;
  std::array<Value, 24> slots_;
  /// By address: an object that is made anew gets its level at once, or it would have that of one that
  /// is gone.
  std::unordered_map<const void*, Level> levels_;
  std::unordered_map<std::string, Walker> walkers_;
  struct Misfortune {
    std::function<void()> begin, end;
  };
  Misfortune misfortune_;  ///< of the next operation
  bool checksAlways_;      ///< and not at the end alone, since a walk gives every entry a position
  bool objects_;           ///< also as keys, whose order is that of their addresses
  Findable findable() const {
    return failed_ ? Findable::kNone : oddTexts_ ? Findable::kCaseSensitive : Findable::kAll;
  }

  bool addressesCount_ = false;  ///< where variants of several types are ordered
  bool oddTexts_ = false;        ///< some that the host may not be able to read
  bool failed_ = false;  ///< a service or an allocation, since the beginning: texts may not be what they were
  bool ending_ = false;
  const bool traces_ = std::getenv("VORNIK_FUZZ_TRACE") != nullptr;  ///< every operation, on standard error
  int depth_ = 0;
  std::uint64_t steps_ = 0;
  std::uint64_t digest_ = 0xCBF29CE484222325;
};

}  // namespace vornik::fuzz

#endif  // VORNIK_TESTS_FUZZ_PLAYER_H
