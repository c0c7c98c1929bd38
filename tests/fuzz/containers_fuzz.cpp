// What script code can do, by an input's bytes, in any host: operations on containers that a model knows the
// answers of, or any at all, with failures, destructors and code of dictionaries in the middle of them. Then
// no more is known than that nothing crashes, the books are even, and a container is what it was after an
// exception.
//
// VORNIK_FUZZ_TRACE=1 prints the operations. The library starts anew with every input.
#include <array>
#include <cstdlib>
#include <optional>

#include "tests/fuzz/fresh_library.h"
#include "tests/fuzz/input.h"
#include "tests/support/failures_memory.h"
#include "tests/support/model.h"

namespace vornik::fuzz {
namespace {

using namespace vornik::behaviour;
using TypeKind = host::DeclaredType::Kind;

/// What the library may keep for later when nothing is left of all containers: the list of blocks and one
/// spare block of each of its tables of positions.
constexpr std::size_t kMostKept = 44;
constexpr int kDeepestNesting = 4;
constexpr std::size_t kMostElements = 12;

std::uint64_t allSteps = 0;

HostOptions hostOptions(Input& input) {
  static constexpr std::optional<double> kVersions[] = {2024.01, 2012.0,  {},      2011.03, 2012.011,
                                                        2013.0,  2013.03, 2013.04, 2019.02};
  HostOptions options;
  const std::uint8_t switches = input.byte();
  if ((switches & 1) != 0) options.version = input.among(kVersions);
  options.inRuntime = (switches & 2) != 0;
  options.instancesRunConstructor = (switches & 4) != 0;
  if ((switches & 8) != 0) options.arrayLayout = HostOptions::ArrayLayout::kOther;
  options.instanceGap = (switches & 16) != 0 ? 8 : 64;
  return options;
}

/// Any service but those that count references, or the books could not come out even.
const std::string& serviceName(Input& input) {
  static const Texts names = [] {
    Texts all;
    for (const auto& [name, calls] : Host::current().calls()) {
      if (name.find("ock") == std::string::npos && name.find("Dispose") == std::string::npos)
        all.push_back(name);
    }
    return all;
  }();
  return names[input.word() % names.size()];
}

/// Of a container's class, or of an iterator's; of the end of the list for everything else.
const ClassFacts* factsOf(const Value& value) {
  if (!std::holds_alternative<host::ObjectRef>(value.held()) || value.isNil()) return kClasses.end();
  const std::string name = Host::current().className(value);
  return std::find_if(kClasses.begin(), kClasses.end(), [&](const ClassFacts& facts) {
    return name == facts.name || name == facts.iterator();
  });
}
bool isContainer(const Value& value) {
  const ClassFacts* const facts = factsOf(value);
  return facts != kClasses.end() && Host::current().className(value) == facts->name;
}

/// The entries as a walk meets them, forwards and back alike; nothing for an object without a container, or
/// where the host makes no iterators. They are not held, so that they can go.
std::optional<Texts> walk(const Value& container) {
  Host& host = Host::current();
  const ClassFacts& facts = *factsOf(container);
  const auto entry = [&](const Value& at) {
    return identity(host.call(at, "Key")) + (facts.isMap() ? identity(host.call(at, "Value")) : "");
  };
  try {
    const Value at = host.call(container, "first"), end = host.call(container, "last");
    if (at.isNil() || end.isNil()) return {};
    const auto count = static_cast<std::size_t>(host.get(container, "Count").integer());
    Texts forwards, back;
    for (; host.call(at, "isNotEqual", {end}).boolean(); host.call(at, "MoveNext")) {
      if (forwards.size() == count) fault("a walk goes on behind Count");
      forwards.push_back(entry(at));
    }
    if (forwards.size() != count) fault("a walk ends before Count");
    if (!facts.ordered) return forwards;
    for (std::size_t i = 0; i < count; ++i) {
      host.call(at, "MovePrev");
      back.push_back(entry(at));
    }
    if (!std::equal(forwards.begin(), forwards.end(), back.rbegin()))
      fault("a walk back meets other entries");
    return forwards;
  } catch (const host::ScriptException&) {
    return {};
  }
}

/// Plays any script. What it holds lies in slots; destructors of script objects and code of dictionaries play
/// on in the middle of a step.
///
/// Two containers that hold each other would never go. So one may hold only such as are of classes that come
/// later; and what is copied into one is of its own class, or was made for that and holds no container.
class Player {
 public:
  explicit Player(Input& input) : input_(input) {
    const std::uint8_t switches = input_.byte();
    checksAlways_ = (switches & 1) == 0;
    if ((switches & 6) == 6) host_.withhold(serviceName(input_));
  }

  /// Plays to the end of the input and lets go of everything.
  void run() {
    while (!input_.empty()) step();
    ending_ = true;
    for (const Value& slot : slots_) {
      if (isContainer(slot)) walk(slot);
    }
    for (Value& slot : slots_) slot = nullptr;
  }

 private:
  void step() {
    static constexpr void (Player::*kSteps[])() = {
        &Player::create,  &Player::create,  &Player::put,         &Player::put,
        &Player::put,     &Player::put,     &Player::put,         &Player::callAny,
        &Player::callAny, &Player::callAny, &Player::callAny,     &Player::callAny,
        &Player::release, &Player::release, &Player::removeRange, &Player::misfortune};
    ++allSteps;
    ++steps_;
    ++depth_;
    (this->*input_.among(kSteps))();
    --depth_;
  }
  void nestedStep() {
    if (!ending_ && depth_ < kDeepestNesting) step();
  }

  /// Runs one operation of the script on `subject`, under the misfortune that is due. An operation that
  /// raises leaves its container as it was; the exceptions are constructors, and operations in the middle of
  /// which other steps were played.
  template <typename Operation>
  void attempt(const std::string& name, const Value& subject, Operation operation) {
    const bool watches = checksAlways_ && depth_ == 1 && isContainer(subject);
    const auto before = watches ? walk(subject) : std::nullopt;
    const std::uint64_t stepsBefore = steps_;
    const auto misfortune = std::exchange(misfortune_, {});
    if (traces_) std::fprintf(stderr, "%*s%s of %s\n", 2 * depth_, "", name.c_str(), show(subject).c_str());
    if (misfortune.begin) misfortune.begin();
    std::string exception;
    try {
      operation();
    } catch (const std::runtime_error& error) {  // a host exception, or a mistake of the script
      exception = error.what();
    }
    if (misfortune.end) misfortune.end();
    if (traces_ && !exception.empty()) std::fprintf(stderr, "%*s-> %s\n", 2 * depth_, "", exception.c_str());
    if (!watches) return;
    const auto after = walk(subject);
    if (exception.empty() || !before || stepsBefore != steps_ || host::sameName(name, "Constructor")) return;
    if (after != before) fault(name + " raised, and the container is not what it was");
  }

  // ---- Steps

  void create() {
    const ClassFacts& facts = input_.among(kClasses);
    if (input_.oneIn(16)) return keep(host_.instantiate(facts.name));
    std::vector<const host::Declaration*> constructors;
    for (const auto& method : host_.findClass(facts.name)->methods) {
      if (host::sameName(method.declaration.name, "Constructor")) constructors.push_back(&method.declaration);
    }
    if (constructors.empty()) return;
    const Values given = arguments(*input_.among(constructors), &facts);
    attempt("create", {}, [&] { keep(host_.create(facts.name, given)); });
  }

  /// What most scripts do most: an entry.
  void put() {
    const Value container = anyContainer();
    if (container.isNil()) return create();
    const ClassFacts& facts = *factsOf(container);
    for (std::size_t count = input_.oneIn(4) ? 8 : 1; count > 0; --count) {
      const Value key = any(facts.key, &facts), value = any(facts.value, &facts);
      attempt("entry", container, [&] { add(facts, container, key, value); });
    }
  }

  /// What takes two iterators of one container, in order: too rare to come by itself.
  void removeRange() {
    const Value container = anyContainer();
    if (container.isNil()) return create();
    std::size_t kept = input_.below(16), removed = input_.below(64);
    attempt("Remove", container, [&] {
      const Value first = host_.call(container, "first"), end = host_.call(container, "last");
      const auto advance = [&](const Value& at, std::size_t steps) {
        while (steps-- > 0 && !host_.call(at, "isEqual", {end}).boolean()) host_.call(at, "MoveNext");
      };
      advance(first, kept);
      const Value last = host_.call(container, "first");
      advance(last, kept + removed);
      host_.call(container, "Remove", {first, last});
    });
  }

  void callAny() {
    const Value self = anySlot();
    const ClassFacts* const facts = factsOf(self);
    if (facts == kClasses.end()) return;
    const host::RegisteredClass& type = *host_.findClass(host_.className(self));
    const std::size_t number = input_.byte();
    if (number < type.properties.size()) {
      return attempt("property", self, [&] { host_.get(self, type.properties[number].name); });
    }
    const host::RegisteredMethod& method = type.methods[number % type.methods.size()];
    const std::string& name = method.declaration.name;
    const Values given = arguments(method.declaration, facts);
    if (method.setter == nullptr || input_.oneIn(2))
      return attempt(name, self, [&] { keep(host_.call(self, name, given)); });
    const Value value = argument(method.declaration.result, facts);
    attempt(name + " =", self, [&] { host_.assign(self, name, given, value); });
  }

  void release() { anySlot() = input_.oneIn(2) ? Value() : Value(anySlot()); }

  /// One operation while a service fails, or on little memory.
  void misfortune() {
    const int nth = 1 + static_cast<int>(input_.below(24));
    const bool lasts = input_.oneIn(3);
    if (input_.oneIn(2)) {
      const auto shortage = lasts ? Shortage::kFromThenOn : Shortage::kOneAllocation;
      misfortune_ = {[=] { limitMemory(nth, shortage); }, [] { unlimitMemory(); }};
    } else {
      const std::string& service = serviceName(input_);
      const std::uint64_t failures = lasts ? ~std::uint64_t{0} : 1;
      misfortune_ = {[=, this] { host_.failFrom(service, static_cast<std::uint64_t>(nth), failures); },
                     [&, this] { host_.failFrom(service, 0); }};
    }
    input_.oneIn(2) ? put() : callAny();
    misfortune_ = {};
  }

  // ---- Values

  Value& anySlot() { return slots_[input_.below(slots_.size())]; }
  /// Those of the slots, from one on, that satisfies a predicate; or nil.
  template <typename Predicate>
  Value slotWhere(Predicate predicate) {
    std::rotate(slots_.begin(), slots_.begin() + static_cast<int>(input_.below(slots_.size())), slots_.end());
    const auto found = std::find_if(slots_.begin(), slots_.end(), predicate);
    return found == slots_.end() ? Value() : *found;
  }
  Value anyContainer() { return slotWhere(isContainer); }
  /// The old one goes, and may play, when the new one is in place.
  void keep(Value value) {
    if (std::holds_alternative<host::ObjectRef>(value.held())) anySlot() = std::move(value);
  }

  Values arguments(const host::Declaration& declaration, const ClassFacts* holder) {
    Values values;
    for (const auto& parameter : declaration.parameters) values.push_back(argument(parameter.type, holder));
    return values;
  }
  Value argument(const host::DeclaredType& type, const ClassFacts* holder) {
    const Kind kind = type.kind == TypeKind::kInteger ? kInt : type.kind == TypeKind::kString ? kText : kAny;
    if (type.kind == TypeKind::kBoolean) return input_.oneIn(2);
    if (type.kind != TypeKind::kObject && !type.isArray) return any(kind, holder);
    if (input_.oneIn(8)) return nullptr;
    if (type.isArray) {
      Values elements;
      for (std::size_t count = input_.below(kMostElements); count > 0; --count) elements.push_back(any(kind));
      return host_.array(kind == kInt    ? kArrayOfIntegers
                         : kind == kText ? kArrayOfStrings
                                         : kArrayOfVariants,
                         elements);
    }
    if (host::sameName(type.name, "Dictionary")) return dictionary();
    const Value held = slotWhere([&](const Value& slot) {
      return factsOf(slot) != kClasses.end() && host::sameName(host_.className(slot), type.name);
    });
    return held.isNil() && input_.oneIn(2) ? host_.instantiate(type.name) : held;
  }
  Value dictionary() {
    const bool raises = input_.oneIn(8);
    Value made = host_.dictionary("Talkative", [this, raises] {
      nestedStep();
      if (raises && input_.oneIn(4)) throw host::ScriptException("RuntimeException", "from a dictionary", 0);
    });
    for (std::size_t count = input_.below(kMostElements); count > 0; --count) {
      const Value key = any(input_.oneIn(2) ? kText : kAny), value = any(kAny);
      host_.setEntry(made, key, value);
    }
    return made;
  }
  /// What goes into a container of a class.
  Value any(Kind kind, const ClassFacts* holder = kClasses.end()) {
    const std::size_t choice = kind == kInt || kind == kNone ? 0 : input_.below(8);
    if (kind == kText && choice == 7) {  // one by one, since compilers read arguments in orders of their own
      const std::uint32_t encoding = input_.among(kEncodings);
      return host_.string(input_.bytes(input_.below(20)), encoding);
    }
    if (kind == kAny && choice == 5)
      return slotWhere([&](const Value& slot) { return isContainer(slot) && factsOf(slot) > holder; });
    if (kind == kAny && choice == 6) return host_.scriptObject("Silent");
    if (kind == kAny && choice == 7) return host_.scriptObject("Mischievous", [this] { nestedStep(); });
    static const ClassFacts* const kHolders[] = {&kClasses[0], &kClasses[0], &kClasses[8], &kClasses[14]};
    return modelKey({{kHolders[static_cast<std::size_t>(kind)]}, kKeySorts, 64, 0, [this](std::size_t bound) {
                       return input_.below(bound);
                     }});
  }

  struct Misfortune {
    std::function<void()> begin, end;
  };

  Host& host_ = Host::current();
  Input& input_;
  std::array<Value, 24> slots_;
  Misfortune misfortune_;  ///< of the next operation
  bool checksAlways_;      ///< and not at the end alone, since a walk gives every entry a position
  bool ending_ = false;
  const bool traces_ = std::getenv("VORNIK_FUZZ_TRACE") != nullptr;
  int depth_ = 0;
  std::uint64_t steps_ = 0;
};

/// The same operations and the same model as in the long random runs.
void playAgainstModel(Input& input) {
  const ClassFacts& facts = input.among(kClasses);
  const Subject subject{&facts, !facts.hasCaseChoice() || input.oneIn(2)};
  const std::span<const KeySort> sorts(kKeySorts);
  const std::size_t sort = input.below(sorts.size());
  compareWithModel({subject, facts.ordered ? sorts.subspan(sort, 1) : sorts.first(9), 64, 8,
                    [&](std::size_t bound) { return input.below(bound); }},
                   [&] { return allSteps += !input.empty(), !input.empty(); });
}

/// Ahead of the first input, so that the fuzzer knows the library's code from the beginning.
FreshLibrary& theLibrary() {
  static FreshLibrary library(VORNIK_PLUGIN_PATH);
  return library;
}

}  // namespace
}  // namespace vornik::fuzz

using namespace vornik::fuzz;

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  theLibrary();
  countLibraryMemory();
  return std::atexit([] { std::printf("steps: %llu\n", static_cast<unsigned long long>(allSteps)); });
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  const bool hasModel = input.oneIn(4);
  Host host(hasModel ? HostOptions{} : hostOptions(input));
  host.enter(*theLibrary().entry());
  hasModel ? playAgainstModel(input) : Player(input).run();
  const auto leftovers = host.leftovers();
  if (!leftovers.empty()) fault("left over: " + leftovers.front());
  if (libraryAllocations() > kMostKept) fault("the library keeps memory");
  return 0;
}
